#include "Commands.h"

#include <algorithm>
#include <ostream>
#include <vector>

#include "kym/Launcher.h"

#include "programs/common/Departments.h"
#include "programs/common/Table.h"

namespace {

Kym::LaunchPlan planOf(const Choice& choice) {
    Departments departments;
    Kym::Configuration& department = departments.find(choice.department);
    const Kym::ConfigApplication application = departments.findApplication(department, choice.application);
    const Kym::WorkDirectory* workDirectory =
        choice.workDirectory.empty() ? nullptr
                                     : &Departments::findWorkDirectory(department, choice.workDirectory);
    return Kym::Launcher().plan(department, departments.commonOf(department), application, workDirectory);
}

}  // namespace

void listDepartments(std::ostream& out) {
    std::vector<Row> rows = {{"NAME", "TYPE", "DESCRIPTION"}};
    for (const Kym::Configuration& department : Departments().list()) {
        rows.push_back({department.name(), department.type, department.description});
    }
    writeTable(out, rows);
}

void listApplications(std::ostream& out, const std::string& department) {
    Departments departments;
    std::vector<Kym::ConfigApplication> applications =
        departments.applicationsOf(departments.find(department));
    std::stable_sort(applications.begin(), applications.end());
    std::vector<Row> rows = {{"ID", "DESCRIPTION", "CATEGORY", "FROM"}};
    for (const Kym::ConfigApplication& application : applications) {
        rows.push_back({application.applicationId, application.description, application.category,
                        application.mConfigurationName});
    }
    writeTable(out, rows);
}

void showLaunch(std::ostream& out, const Choice& choice) {
    const Kym::LaunchPlan plan = planOf(choice);
    out << "Command line:\n    " << plan.commandString() << "\n\nArguments:\n";
    for (const std::string& argument : plan.arguments) {
        out << "    " << argument << '\n';
    }
    out << "\nWorking directory:\n    " << plan.workingDirectory << "\n\nEnvironment:\n";
    for (const auto& [name, value] : plan.environment) {
        out << "    " << name << '=' << value << '\n';
    }
}

void launch(std::ostream& out, const Choice& choice) {
    const Kym::LaunchPlan plan = planOf(choice);
    Kym::Launcher().launch(plan);
    out << "Started " << plan.commandString() << '\n';
}
