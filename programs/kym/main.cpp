#include <exception>
#include <iostream>
#include <stdexcept>

#include <CLI/CLI.hpp>

#include "Clean.h"
#include "Commands.h"
#include "Management.h"

namespace {

constexpr int failed = 1;
constexpr int misused = 2;

constexpr const char* footer =
    R"(APPLICATION is an identifier, as "applications" lists it. When several layers have an application of that
identifier, the department's own is meant, then its common department's, then a plugin's, then the
installation's; CONFIGURATION:IDENTIFIER, as in "Base KYM:nx", names one exactly.

KYM_BASE_DIR names the installation and KYM_UGSITE_DIR the directory of the departments.

Exit status: 0 on success, 1 when something failed (the reason is on standard error), 2 for wrong usage.)";

void addChoice(CLI::App& command, Choice& choice) {
    command.add_option("DEPARTMENT", choice.department, "Name of a department")->required();
    command.add_option("APPLICATION", choice.application, "IDENTIFIER or CONFIGURATION:IDENTIFIER")
        ->required();
    command
        .add_option("--work-directory", choice.workDirectory,
                    "Name of a work directory of the department; the user's profile directory otherwise")
        ->type_name("NAME");
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App program("Shows the departments of a CAD site and their applications, and starts these.", "kym");
    program.require_subcommand(1);
    program.allow_windows_style_options(false);
    program.footer(footer);

    Choice choice;
    program.add_subcommand("departments", "List the departments that are prepared for the present release")
        ->callback([] { listDepartments(std::cout); });
    CLI::App* applications = program.add_subcommand("applications", "List the applications of a department");
    applications->add_option("DEPARTMENT", choice.department, "Name of a department")->required();
    applications->callback([&choice] { listApplications(std::cout, choice.department); });
    CLI::App* show = program.add_subcommand("show", "Show what a launch would do; start nothing");
    addChoice(*show, choice);
    show->callback([&choice] { showLaunch(std::cout, choice); });
    CLI::App* start = program.add_subcommand("launch", "Start an application and do not wait for it");
    addChoice(*start, choice);
    start->callback([&choice] { launch(std::cout, choice); });

    addCleanCommand(program);
    addManagementCommands(program);

    try {
        program.parse(argc, argv);
        if (!std::cout.flush()) {
            throw std::runtime_error("The output could not be written.");
        }
        return 0;
    } catch (const CLI::Success& help) {
        return program.exit(help);
    } catch (const CLI::ParseError& error) {
        std::cerr << "kym: " << error.what() << "\nRun kym --help for the usage.\n";
        return misused;
    } catch (const std::exception& error) {
        std::cerr << "kym: " << error.what() << '\n';
        return failed;
    }
}
