#include "Launching.h"

#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>
#include <boost/filesystem/exception.hpp>

#include "kym/Launcher.h"
#include "kym/SystemInfo.h"

#include "Choice.h"
#include "programs/common/Json.h"
#include "programs/common/Text.h"

namespace {

struct Request {
    Choice choice;
    bool json = false;
};

using Environment = std::map<std::string, std::string>;

void show(const Request& request) {
    Departments departments;
    const Kym::LaunchPlan plan = Launchable(departments, request.choice).plan();
    if (request.json) {
        std::cout << Json::object(
                         {{"commandLine", plan.commandString()},
                          {"executable", nativeText(plan.executable)},
                          {"arguments", Json::array(plan.arguments)},
                          {"workingDirectory", plan.workingDirectory},
                          {"cleanupDays", plan.cleanupDays ? Json(std::uint64_t{*plan.cleanupDays}) : Json()},
                          {"environment", Json::object({plan.environment.begin(), plan.environment.end()})}})
                         .document();
        return;
    }
    if (plan.cleanupDays) {
        std::cout << "Before the start:\n    Temporary files older than " << *plan.cleanupDays
                  << " days are removed; kym clean " << wordFor(request.choice.department)
                  << " --dry-run lists them.\n\n";
    }
    std::cout << "Command line:\n    " << printable(plan.commandString()) << "\n\nArguments:\n";
    for (const std::string& argument : plan.arguments) {
        std::cout << "    " << printable(argument) << '\n';
    }
    std::cout << "\nWorking directory:\n    " << printable(plan.workingDirectory) << "\n\nEnvironment:\n";
    for (const auto& [name, value] : plan.environment) {
        std::cout << "    " << printable(name + '=' + value) << '\n';
    }
}

void launch(const Request& request) {
    Departments departments;
    const Kym::LaunchPlan plan = Launchable(departments, request.choice).plan();
    try {
        Kym::Launcher().launch(plan);
    } catch (const boost::filesystem::filesystem_error& error) {
        const std::string advice =
            "\nNothing was started: old temporary files are removed first. Close the program that holds the "
            "file, or remove it by hand. To start without removing any, run kym-configure put ";
        throw std::runtime_error(error.what() + advice +
                                 wordFor("department/" + request.choice.department + "/doFileCleanup") +
                                 " False");
    }
    std::cout << "Started " << printable(plan.commandString()) << '\n';
}

/// The variable whose value may have changed in a check, in the environment before and after it.
struct Outcome {
    std::string name;
    const std::string* before;
    const std::string* after;
};

Json orNull(const std::string* text) {
    return text ? Json(*text) : Json();
}

void tell(const Outcome& outcome) {
    std::cout << printable(outcome.name);
    if (!outcome.after) {
        std::cout << (outcome.before
                          ? " names nothing that exists and is not set: " + printable(*outcome.before)
                          : " is not set.");
    } else if (outcome.after->empty()) {
        std::cout << (outcome.before && !outcome.before->empty()
                          ? " names nothing that has a short form: " + printable(*outcome.before)
                          : " is not set.");
    } else {
        std::cout << '=' << printable(*outcome.after);
        if (outcome.before && *outcome.before != *outcome.after) {
            std::cout << "\n    short for " << printable(*outcome.before);
        }
    }
    std::cout << '\n';
}

/// Without an application, the environment is the one that the department gives to any.
void check(const Request& request) {
    Departments departments;
    Kym::Configuration& department = departments.find(request.choice.department);
    Kym::ConfigApplication application;
    if (!request.choice.application.empty()) {
        application = departments.findApplication(department, request.choice.application);
    }
    const Kym::Launcher launcher;
    Environment before;
    launcher.buildEnvVarMap(department, departments.commonOf(department), application, before);
    Environment after = before;
    const std::string install = Kym::SystemInformation().CadInstallPathVariable;
    try {
        launcher.checkCadEnvironment(after);
    } catch (const std::exception& error) {
        const std::string advice =
            install.empty() ? "kym-configure put system/CadInstallPathVariable NAME to name it."
                            : "kym explain " + wordFor(request.choice.department) + ' ' +
                                  (request.choice.application.empty() ? "APPLICATION"
                                                                      : wordFor(request.choice.application)) +
                                  ' ' + install + " to see where its value comes from.";
        throw std::runtime_error(std::string(error.what()) + "\nRun " + advice);
    }

    const auto in = [](const Environment& environment, const std::string& name) {
        const auto found = environment.find(name);
        return found == environment.end() ? nullptr : &found->second;
    };
    Json variables = Json::array();
    if (!request.json) {
        std::cout << "The CAD system is installed.\n";
    }
    for (const std::string& name : {install, std::string("UGII_ROOT_DIR"), std::string("UGII_LIB1")}) {
        const Outcome outcome{name, in(before, name), in(after, name)};
        if (request.json) {
            variables.add(Json::object(
                {{"name", name}, {"before", orNull(outcome.before)}, {"after", orNull(outcome.after)}}));
        } else {
            tell(outcome);
        }
    }
    if (request.json) {
        std::cout
            << Json::object({{"department", request.choice.department}, {"variables", variables}}).document();
    }
}

}  // namespace

void addLaunchingCommands(CLI::App& program) {
    const auto request = std::make_shared<Request>();
    CLI::App* showing = program.add_subcommand("show", "Show what a launch would do; start nothing");
    addChoice(*showing, request->choice);
    addJson(*showing, request->json);
    showing->callback([request] { show(*request); });
    showing->footer("Example:\n  kym show design nx --work-directory Parts");

    CLI::App* starting = program.add_subcommand("launch", "Start an application and do not wait for it");
    addChoice(*starting, request->choice);
    starting->callback([request] { launch(*request); });
    starting->footer("Example:\n  kym launch design nx --work-directory Parts");

    CLI::App* checking = program.add_subcommand(
        "check", "Check that the environment of a department names a CAD system that is installed");
    checking->add_option("DEPARTMENT", request->choice.department, "Name of a department")->required();
    checking->add_option("APPLICATION", request->choice.application,
                         "In the environment of this application; in that of any when none is given");
    addJson(*checking, request->json);
    checking->callback([request] { check(*request); });
    checking->footer("Example:\n  kym check design");
}
