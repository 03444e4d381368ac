#include "Listing.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "Choice.h"
#include "programs/common/Departments.h"
#include "programs/common/Json.h"
#include "programs/common/Table.h"
#include "programs/common/Text.h"

namespace {

struct Request {
    std::string department;
    bool all = false;
    bool json = false;
};

void listDepartments(const Request& request) {
    std::vector<Row> rows = {{"NAME", "TYPE", "DESCRIPTION"}};
    if (request.all) {
        rows.front().emplace_back("STATE");
    }
    Json list = Json::array();
    for (const Kym::Configuration& department : Departments().list(request.all)) {
        rows.push_back({department.name(), department.type, department.description});
        if (request.all) {
            rows.back().emplace_back(department.isUpdated() ? "" : "not prepared");
        }
        list.add(Json::object({{"name", department.name()},
                               {"type", department.type},
                               {"description", department.description},
                               {"commonDepartment", department.commonDepartment},
                               {"prepared", department.isUpdated()},
                               {"directory", nativeText(department.path())}}));
    }
    if (request.json) {
        std::cout << Json::object({{"departments", list}}).document();
    } else {
        writeTable(std::cout, rows);
    }
}

void listApplications(const Request& request) {
    Departments departments;
    std::vector<Kym::ConfigApplication> applications =
        departments.applicationsOf(departments.find(request.department), request.all);
    std::stable_sort(applications.begin(), applications.end());
    std::vector<Row> rows = {{"ID", "DESCRIPTION", "CATEGORY", "FROM"}};
    if (request.all) {
        rows.front().emplace_back("STATE");
    }
    Json list = Json::array();
    for (const Kym::ConfigApplication& application : applications) {
        rows.push_back({application.applicationId, application.description, application.category,
                        application.mConfigurationName});
        if (request.all) {
            rows.back().emplace_back(application.disableApplication ? "disabled" : "");
        }
        list.add(Json::object({{"id", application.applicationId},
                               {"description", application.description},
                               {"category", application.category},
                               {"from", application.mConfigurationName},
                               {"program", application.program},
                               {"arguments", application.arguments},
                               {"disabled", application.disableApplication},
                               {"customized", !application.disableCustomization}}));
    }
    if (request.json) {
        std::cout << Json::object({{"department", request.department}, {"applications", list}}).document();
    } else {
        writeTable(std::cout, rows);
    }
}

}  // namespace

void addListingCommands(CLI::App& program) {
    const auto request = std::make_shared<Request>();
    CLI::App* departments = program.add_subcommand(
        "departments", "List the departments that are prepared for the present release");
    departments->add_flag("--all", request->all, "Those too that are not prepared");
    addJson(*departments, request->json);
    departments->callback([request] { listDepartments(*request); });
    departments->footer("Example:\n  kym departments --json");

    CLI::App* applications = program.add_subcommand("applications", "List the applications of a department");
    applications->add_option("DEPARTMENT", request->department, "Name of a department")->required();
    applications->add_flag("--all", request->all, "Those too that are disabled");
    addJson(*applications, request->json);
    applications->callback([request] { listApplications(*request); });
    applications->footer(
        "Those of the installation, of the plugins, of the common department and its own, as the department "
        "shows them.\n\n"
        "Example:\n  kym applications design --all");
}
