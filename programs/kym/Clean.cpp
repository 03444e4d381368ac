#include "Clean.h"

#include <cstdint>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "kym/Launcher.h"

#include "Choice.h"
#include "programs/common/Departments.h"
#include "programs/common/Json.h"
#include "programs/common/Text.h"

namespace {

using Files = std::vector<Kym::StaleFile>;

struct Request {
    std::string department;
    bool dryRun = false;
    bool json = false;
};

std::string asJson(const Kym::Configuration& department, const Files& files, bool removed) {
    Json list = Json::array();
    for (const Kym::StaleFile& file : files) {
        list.add(
            Json::object({{"path", nativeText(file.path)}, {"days", static_cast<std::uint64_t>(file.age)}}));
    }
    return Json::object({{"cleanup", department.doFileCleanup}, {"removed", removed}, {"files", list}})
        .document();
}

std::string asText(const Kym::Configuration& department, const Files& files, bool removed) {
    if (!department.doFileCleanup) {
        return "The department " + quoted(department.name()) + " asks for no cleanup.\n";
    }
    std::string text;
    for (const Kym::StaleFile& file : files) {
        text += (removed ? "Removed " : "Would remove ") + printable(nativeText(file.path)) + " which is " +
                std::to_string(file.age) + " days old.\n";
    }
    return text.empty() ? "No file is older than " + std::to_string(department.cleanupDays) + " days.\n"
                        : text;
}

void clean(const Request& request) {
    Departments departments;
    const Kym::Configuration& department =
        *departments.manager().configuration(departments.rowOf(request.department));
    auto* const as = request.json ? &asJson : &asText;
    const Kym::Launcher launcher;
    if (request.dryRun || request.json) {  // what JSON cannot carry is refused before anything is removed
        const std::string planned = as(department, launcher.staleFiles(department), false);
        if (request.dryRun) {
            std::cout << planned;
            return;
        }
    }
    Files removed;
    try {
        launcher.removeLogFiles(department, [&](const Kym::StaleFile& file) { removed.push_back(file); });
    } catch (const std::exception& error) {
        if (request.json || !removed.empty()) {
            std::cout << as(department, removed, true);
        }
        throw std::runtime_error(
            error.what() + std::string("\nThe cleanup ended there. Close the program that holds the file, or "
                                       "remove it by hand, and clean again."));
    }
    std::cout << as(department, removed, true);
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
