#include "Clean.h"

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "kym/Launcher.h"

#include "programs/common/Departments.h"

namespace {

struct Request {
    std::string department;
    bool dryRun = false;
};

void clean(const Request& request) {
    Departments departments;
    const Kym::Configuration& department =
        *departments.manager().configuration(departments.rowOf(request.department));
    if (!department.doFileCleanup) {
        std::cout << "The department \"" << request.department << "\" asks for no cleanup.\n";
        return;
    }
    const Kym::Launcher launcher;
    std::vector<Kym::StaleFile> files = launcher.staleFiles(department);
    if (!request.dryRun) {
        launcher.removeLogFiles(department);
    }
    for (Kym::StaleFile& file : files) {
        std::cout << (request.dryRun ? "Would remove " : "Removed ") << file.path.make_preferred().string()
                  << " which is " << file.age << " days old.\n";
    }
    if (files.empty()) {
        std::cout << "No file is older than " << department.cleanupDays << " days.\n";
    }
}

}  // namespace

void addCleanCommand(CLI::App& program) {
    const auto request = std::make_shared<Request>();
    CLI::App* command = program.add_subcommand(
        "clean", "Remove the old temporary files that a launch from a department would remove");
    command->add_option("DEPARTMENT", request->department, "Name of a department")->required();
    command->add_flag("--dry-run", request->dryRun, "Only tell which ones");
    command->callback([request] { clean(*request); });
}
