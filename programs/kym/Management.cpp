#include "Management.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "base/platform/Terminal.h"
#include "kym/SystemInfo.h"

#include "programs/common/Departments.h"
#include "programs/common/Progress.h"
#include "programs/common/Text.h"

namespace {

struct Request {
    std::string department;
    std::optional<std::string> newName;
    std::string description;
    std::string type;
    bool confirmed = false;
};

void requireKnownType(const Kym::ConfigurationManager& manager, const std::string& type) {
    const std::vector<std::string>& types = manager.availableTypes();
    if (!type.empty() && std::find(types.begin(), types.end(), type) == types.end()) {
        throw std::runtime_error("There is no type " + quoted(type) + ". There are: " + joined(types) + ".");
    }
}

/// A new department is made in a directory of a fixed name, and gets its own at the end.
constexpr const char* nameOfNew = "change_me";

void requireFree(Kym::ConfigurationManager& manager, const std::string& name) {
    if (manager.configurationByName(name)) {
        const std::string remedy =
            "\nUnless somebody is just creating a department, give it its name with kym rename change_me "
            "NAME, or "
            "delete it with kym delete change_me.";
        throw std::runtime_error("There is a department " + quoted(name) + " already." +
                                 (name == nameOfNew ? remedy : ""));
    }
    const std::string obstacle = Departments::obstacleTo(name);
    if (!obstacle.empty()) {
        throw std::runtime_error(obstacle);
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
    if (request.newName) {
        Departments::requireUsableName(*request.newName);
        requireFree(manager, *request.newName);
    }
    requireKnownType(manager, request.type);
    requireFree(manager, nameOfNew);
    {
        const Progress progress("Unpacking the version files");
        manager.createConfiguration();
    }
    const int row = manager.numberOfRowsInList() - 1;
    try {
        describe(*manager.configuration(row), request);
        manager.renameConfiguration(row, request.newName.value_or(nameOfNew));
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

void renameDepartment(const Request& request) {
    const std::string& newName = request.newName.value();
    Departments departments;
    Departments::requireUsableName(newName);
    const int row = departments.rowOf(request.department);
    if (newName == request.department) {
        std::cout << "The department " << quoted(newName) << " has that name already.\n";
        return;
    }
    departments.manager().renameConfiguration(row, newName);
    std::cout << "Renamed the department " << quoted(request.department) << " to " << quoted(newName)
              << ".\n";
    departments.tellWhoRefersTo(request.department, newName, std::cout);
}

void confirmDeletion(const Kym::Configuration& department) {
    if (!Base::Platform::inputIsTerminal()) {
        throw std::runtime_error("Deleting the department " + quoted(department.name()) +
                                 " must be confirmed: give --yes, or run the command on a terminal.");
    }
    std::cerr << "Delete the department " << quoted(department.name()) << " with everything in "
              << printable(nativeText(department.path())) << "? Type yes to delete: " << std::flush;
    std::string answer;
    if (!std::getline(std::cin, answer) || answer != "yes") {
        throw std::runtime_error("Nothing was deleted.");
    }
}

void deleteDepartment(const Request& request) {
    Departments departments;
    const int row = departments.rowOf(request.department);
    departments.tellWhoRefersTo(request.department, "NAME", std::cerr);
    if (!request.confirmed) {
        confirmDeletion(*departments.manager().configuration(row));
    }
    {
        const Progress progress("Deleting the department");
        departments.manager().deleteConfiguration(row);
    }
    std::cout << "Deleted the department " << quoted(request.department) << ".\n";
}

void prepareDepartment(const Request& request) {
    Departments departments;
    const int row = departments.rowOf(request.department);
    const Kym::Configuration& department = *departments.manager().configuration(row);
    const bool isPrepared = department.isUpdated() && department.isWin64Updated();
    if (!isPrepared) {
        const Progress progress("Unpacking the version files");
        departments.manager().prepareConfiguration(row);
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
