#include "Choice.h"

#include <CLI/CLI.hpp>

#include "kym/Launcher.h"

void addChoice(CLI::App& command, Choice& choice, const std::string& suffix) {
    command.add_option("DEPARTMENT" + suffix, choice.department, "Name of a department")->required();
    command
        .add_option("APPLICATION" + suffix, choice.application,
                    "IDENTIFIER or CONFIGURATION:IDENTIFIER, as \"kym applications\" lists them")
        ->required();
    command
        .add_option("--work-directory" + suffix, choice.workDirectory,
                    "Name of a work directory of the department; the user's profile directory otherwise")
        ->type_name("NAME");
}

void addJson(CLI::App& command, bool& json) {
    command.add_flag("--json", json, "Write JSON, for programs to read; what is no UTF-8 is refused");
}

Launchable::Launchable(Departments& departments, const Choice& choice) {
    Kym::Configuration& chosen = departments.find(choice.department);
    department = &chosen;
    common = departments.commonOf(chosen);
    application = departments.findApplication(chosen, choice.application);
    if (!choice.workDirectory.empty()) {
        workDirectory = &Departments::findWorkDirectory(chosen, choice.workDirectory);
    }
}

Kym::LaunchPlan Launchable::plan() const {
    return Kym::Launcher().plan(*department, common, application, workDirectory);
}
