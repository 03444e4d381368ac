#include "Explain.h"

#include <array>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "kym/LaunchExplanation.h"
#include "kym/Launcher.h"

#include "Choice.h"
#include "programs/common/Json.h"

namespace {

using Variable = Kym::VariableExplanation;

struct Request {
    Choice choice;
    std::string variable;  // empty: all
    bool json = false;
};

struct Words {
    const char* name;  // in JSON
    const char* text;
};

Words wordsFor(Variable::Change change) {
    static constexpr std::array<Words, 11> words = {{
        {"set", "set by"},
        {"extended", "extended by"},
        {"replaced", "replaced by"},
        {"removed", "removed by"},
        {"without effect", "given without effect, as a later entry counts, by"},
        {"invalid name", "left out: programs get no variable of such a name"},
        {"expanded", "references expanded"},
        {"separators", "slashes turned into backslashes"},
        {"cleaned", "path list put in order, duplicates dropped"},
        {"failed", "cannot be expanded, so that nothing can be launched"},
        {"superseded", "left out: a name that differs in letter case only was set later"},
    }};
    return words.at(static_cast<std::size_t>(change));
}

std::string origin(const std::string& layer, const std::string& file) {
    return file.empty() ? layer : layer + ", " + file;
}

void write(const Variable& variable) {
    std::cout << variable.name << (variable.value ? "=" + *variable.value : " is not set") << '\n';
    for (const Variable::Step& step : variable.steps) {
        std::cout << "    " << wordsFor(step.change).text;
        if (!step.layer.empty()) {
            std::cout << ' ' << origin(step.layer, step.file);
        }
        std::cout << '\n';
        if (!step.value.empty()) {
            std::cout << "        " << step.value << '\n';
        }
    }
    if (!variable.paths.empty()) {
        std::cout << "    paths\n";
    }
    for (const Variable::Path& path : variable.paths) {
        std::cout << "        " << path.text << "\n            "
                  << (path.dropped ? "dropped as a duplicate; from " : "from ")
                  << origin(path.layer, path.file) << '\n';
    }
}

Json textOrNull(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

Json asJson(const Variable& variable) {
    Json steps = Json::array();
    for (const Variable::Step& step : variable.steps) {
        steps.add(Json::object({{"change", wordsFor(step.change).name},
                                {"layer", textOrNull(step.layer)},
                                {"file", textOrNull(step.file)},
                                {"value", step.value}}));
    }
    Json paths = Json::array();
    for (const Variable::Path& path : variable.paths) {
        paths.add(Json::object({{"path", path.text},
                                {"layer", path.layer},
                                {"file", textOrNull(path.file)},
                                {"dropped", path.dropped}}));
    }
    return Json::object({{"name", variable.name},
                         {"value", variable.value ? Json(*variable.value) : Json()},
                         {"steps", steps},
                         {"paths", paths}});
}

void explain(const Request& request) {
    Departments departments;
    const Launchable of(departments, request.choice);
    std::vector<Variable> variables =
        Kym::Launcher().explain(*of.department, of.common, of.application, of.workDirectory);
    if (!request.variable.empty()) {
        std::erase_if(variables, [&](const Variable& variable) { return variable.name != request.variable; });
        if (variables.empty()) {
            throw std::runtime_error("Nothing sets or removes the variable \"" + request.variable +
                                     "\" in this launch. Names are told apart by letter case; those of the "
                                     "caller's environment are in upper case. Run kym explain " +
                                     wordFor(request.choice.department) + ' ' +
                                     wordFor(request.choice.application) + " to see all.");
        }
    }
    if (request.json) {
        Json list = Json::array();
        for (const Variable& variable : variables) {
            list.add(asJson(variable));
        }
        std::cout << Json::object({{"variables", list}}).document();
        return;
    }
    for (const Variable& variable : variables) {
        write(variable);
        if (&variable != &variables.back()) {
            std::cout << '\n';
        }
    }
}

}  // namespace

void addExplainCommand(CLI::App& program) {
    const auto request = std::make_shared<Request>();
    CLI::App* command = program.add_subcommand("explain", "Tell where the variables of a launch come from");
    addChoice(*command, request->choice);
    command->add_option("VARIABLE", request->variable, "Only this one");
    addJson(*command, request->json);
    command->callback([request] { explain(*request); });
    command->footer(
        "For each variable: which layer and which file set, extended, replaced or removed it, with the value "
        "after\n"
        "that, and what became of the value when all layers were merged; for each path of a list, who "
        "brought it.\n\n"
        "Example:\n  kym explain design nx PATH");
}
