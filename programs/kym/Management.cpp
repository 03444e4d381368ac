#include "Management.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/filesystem/operations.hpp>

#include "kym/SystemInfo.h"

#include "programs/Terminal.h"
#include "programs/common/Departments.h"
#include "programs/common/Progress.h"

namespace {

struct Request {
    std::string department;
    std::string newName;
    std::string description;
    std::string type;
    bool confirmed = false;
};

std::string quoted(const std::string& text) {
    return '"' + text + '"';
}

void requireNoBlank(const std::string& name) {
    if (name.find_first_of(" \t\n\v\f\r") != std::string::npos) {
        throw std::runtime_error(quoted(name) + " cannot be the name of a department: it holds a blank.");
    }
}

void requireKnownType(const Kym::ConfigurationManager& manager, const std::string& type) {
    const std::vector<std::string>& types = manager.availableTypes();
    if (!type.empty() && std::find(types.begin(), types.end(), type) == types.end()) {
        throw std::runtime_error("There is no type " + quoted(type) +
                                 ". There are: " + boost::join(types, ", ") + ".");
    }
}

void describe(Kym::Configuration& department, const Request& request) {
    if (!request.description.empty()) {
        department.description = request.description;
    }
    if (!request.type.empty()) {
        department.type = request.type;
    }
    department.setNeedsSaving(true);
    department.save();
}

void createDepartment(const Request& request) {
    Departments departments;
    Kym::ConfigurationManager& manager = departments.manager();
    requireNoBlank(request.newName);
    requireKnownType(manager, request.type);
    if (!request.newName.empty() && manager.configurationByName(request.newName)) {
        throw std::runtime_error("There is a department " + quoted(request.newName) + " already.");
    }
    {
        const Progress progress("Unpacking the version files");
        manager.createConfiguration();
    }
    const int row = manager.numberOfRowsInList() - 1;
    try {
        describe(*manager.configuration(row), request);
        if (!request.newName.empty()) {
            manager.renameConfiguration(row, request.newName);
        }
    } catch (...) {
        try {
            manager.deleteConfiguration(row);
        } catch (const std::exception& error) {
            std::cerr << "kym: " << error.what() << '\n';
        }
        throw;
    }
    std::cout << "Created the department " << quoted(manager.configuration(row)->name()) << ".\n";
}

/// Departments that name another as their common department are not changed with it.
void tellWhoRefersTo(const std::string& name, Kym::ConfigurationManager& manager) {
    for (int row = 0; row < manager.numberOfRowsInList(); ++row) {
        const Kym::Configuration& department = *manager.configuration(row);
        if (department.commonDepartment == name) {
            std::cout << "The department " << quoted(department.name()) << " still names " << quoted(name)
                      << " as its common department.\n";
        }
    }
}

void renameDepartment(const Request& request) {
    Departments departments;
    requireNoBlank(request.newName);
    departments.manager().renameConfiguration(departments.rowOf(request.department), request.newName);
    std::cout << "Renamed the department " << quoted(request.department) << " to " << quoted(request.newName)
              << ".\n";
    tellWhoRefersTo(request.department, departments.manager());
}

void confirmDeletion(const Kym::Configuration& department) {
    if (!inputIsTerminal()) {
        throw std::runtime_error("Deleting the department " + quoted(department.name()) +
                                 " must be confirmed: give --yes, or run the command on a terminal.");
    }
    std::cerr << "Delete the department " << quoted(department.name()) << " with everything in "
              << department.path().make_preferred().string() << "? Type yes to delete: " << std::flush;
    std::string answer;
    if (!std::getline(std::cin, answer) || answer != "yes") {
        throw std::runtime_error("Nothing was deleted.");
    }
}

void deleteDepartment(const Request& request) {
    Departments departments;
    const int row = departments.rowOf(request.department);
    if (!request.confirmed) {
        confirmDeletion(*departments.manager().configuration(row));
    }
    {
        const Progress progress("Deleting the department");
        departments.manager().deleteConfiguration(row);
    }
    std::cout << "Deleted the department " << quoted(request.department) << ".\n";
    tellWhoRefersTo(request.department, departments.manager());
}

/// What this run made of it goes away when it cannot be completed.
void makeVersionDirectory(Kym::Configuration& department) {
    const bool isNew = !department.isUpdated();
    const Progress progress("Unpacking the version files");
    if (isNew) {
        department.createNXVersionDirectory();
    }
    try {
        department.createWin64VersionDirectory();
    } catch (...) {
        boost::system::error_code ignored;
        if (isNew) {
            boost::filesystem::remove_all(department.versionPath(), ignored);
        }
        throw;
    }
}

void prepareDepartment(const Request& request) {
    Departments departments;
    Kym::Configuration& department =
        *departments.manager().configuration(departments.rowOf(request.department));
    const bool isPrepared = department.isUpdated() && department.isWin64Updated();
    if (!isPrepared) {
        makeVersionDirectory(department);
    }
    std::cout << "The department " << quoted(request.department) << " is prepared for the release "
              << quoted(Kym::SystemInformation().CadVersionDirectory) << (isPrepared ? " already.\n" : ".\n");
}

}  // namespace

void addManagementCommands(CLI::App& program) {
    const auto request = std::make_shared<Request>();
    const auto add = [&](const char* name, const char* text, void (*action)(const Request&)) {
        CLI::App* command = program.add_subcommand(name, text);
        command->callback([request, action] { action(*request); });
        return command;
    };
    const auto addDepartment = [&request](CLI::App* command) {
        command->add_option("DEPARTMENT", request->department, "Name of a department")->required();
    };

    CLI::App* create =
        add("create", "Create a department, prepared for the present release", createDepartment);
    create->add_option("NAME", request->newName, "Its name; \"change_me\" when none is given");
    create->add_option("--description", request->description, "What lists show of it")->type_name("TEXT");
    create->add_option("--type", request->type, "Common, Development, Production (unless given) or Test")
        ->type_name("TYPE");

    create->footer("Example:\n  kym create gears --description \"Design of gearboxes\" --type Production");

    CLI::App* rename = add("rename", "Give a department another name", renameDepartment);
    addDepartment(rename);
    rename->add_option("NEW", request->newName, "The new name")->required();

    rename->footer("Example:\n  kym rename gears gearboxes");

    CLI::App* remove =
        add("delete", "Delete a department with all its files, of all releases", deleteDepartment);
    addDepartment(remove);
    remove->add_flag("--yes", request->confirmed, "Do not ask");

    remove->footer("Example:\n  kym delete gearboxes --yes");

    CLI::App* prepare = add(
        "prepare", "Make a department's version directory for the present release, with its 64-bit layout",
        prepareDepartment);
    addDepartment(prepare);
    prepare->footer("Example:\n  kym prepare gearboxes");
}
