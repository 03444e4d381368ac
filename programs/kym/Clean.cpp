#include "Clean.h"

#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <boost/filesystem/path.hpp>

#include "kym/Launcher.h"

#include "Choice.h"
#include "programs/common/Departments.h"
#include "programs/common/Json.h"

namespace {

namespace fs = boost::filesystem;

struct Request {
    std::string department;
    bool dryRun = false;
    bool json = false;
};

void writeJson(const std::vector<Kym::StaleFile>& files, bool removed) {
    Json list = Json::array();
    for (const Kym::StaleFile& file : files) {
        list.add(Json::object({{"path", fs::path(file.path).make_preferred().string()},
                               {"days", static_cast<std::uint64_t>(file.age)}}));
    }
    std::cout << Json::object({{"removed", removed}, {"files", list}}).document();
}

void write(const Kym::Configuration& department, const std::vector<Kym::StaleFile>& files, bool removed) {
    if (!department.doFileCleanup) {
        std::cout << "The department \"" << department.name() << "\" asks for no cleanup.\n";
        return;
    }
    for (const Kym::StaleFile& file : files) {
        std::cout << (removed ? "Removed " : "Would remove ") << fs::path(file.path).make_preferred().string()
                  << " which is " << file.age << " days old.\n";
    }
    if (files.empty()) {
        std::cout << "No file is older than " << department.cleanupDays << " days.\n";
    }
}

void clean(const Request& request) {
    Departments departments;
    const Kym::Configuration& department =
        *departments.manager().configuration(departments.rowOf(request.department));
    const Kym::Launcher launcher;
    const std::vector<Kym::StaleFile> files = launcher.staleFiles(department);
    if (!request.dryRun) {
        launcher.removeLogFiles(department);
    }
    if (request.json) {
        writeJson(files, !request.dryRun);
    } else {
        write(department, files, !request.dryRun);
    }
}

}  // namespace

void addCleanCommand(CLI::App& program) {
    const auto request = std::make_shared<Request>();
    CLI::App* command = program.add_subcommand(
        "clean", "Remove the old temporary files that a launch from a department would remove");
    command->add_option("DEPARTMENT", request->department, "Name of a department")->required();
    command->add_flag("--dry-run", request->dryRun, "Only tell which ones");
    addJson(*command, request->json);
    command->footer("Example:\n  kym clean design --dry-run");
    command->callback([request] { clean(*request); });
}
