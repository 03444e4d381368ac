#include "Explain.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "kym/LaunchExplanation.h"
#include "kym/Launcher.h"

#include "Choice.h"
#include "PathOrigins.h"
#include "programs/common/Json.h"
#include "programs/common/Text.h"

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
    return printable(file.empty() ? layer : layer + ", " + file);
}

void write(const Variable& variable, const std::vector<Variable>& all) {
    std::cout << printable(variable.name + (variable.value ? "=" + *variable.value : " is not set")) << '\n';
    for (const Variable::Step& step : variable.steps) {
        std::cout << "    " << wordsFor(step.change).text;
        if (!step.layer.empty()) {
            std::cout << ' ' << origin(step.layer, step.file);
        }
        std::cout << '\n';
        if (!step.value.empty()) {
            std::cout << "        " << printable(step.value) << '\n';
        }
    }
    if (!variable.paths.empty()) {
        std::cout << "    paths\n";
    }
    const auto origins = originsOfPaths(variable, all);
    for (std::size_t i = 0; i < variable.paths.size(); ++i) {
        const Variable::Path& path = variable.paths[i];
        std::cout << "        " << printable(path.text) << "\n            "
                  << (path.dropped ? "dropped as a duplicate; from " : "from ")
                  << origin(path.layer, path.file) << '\n';
        for (const PathOrigin& through : origins[i]) {
            std::cout << "            through " << printable(through.name) << ", set by "
                      << origin(through.layer, through.file) << '\n';
        }
    }
}

Json textOrNull(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

Json asJson(const Variable& variable, const std::vector<Variable>& all) {
    Json steps = Json::array();
    for (const Variable::Step& step : variable.steps) {
        steps.add(Json::object({{"change", wordsFor(step.change).name},
                                {"layer", textOrNull(step.layer)},
                                {"file", textOrNull(step.file)},
                                {"value", step.value}}));
    }
    Json paths = Json::array();
    const auto origins = originsOfPaths(variable, all);
    for (std::size_t i = 0; i < variable.paths.size(); ++i) {
        const Variable::Path& path = variable.paths[i];
        Json through = Json::array();
        for (const PathOrigin& each : origins[i]) {
            through.add(
                Json::object({{"name", each.name}, {"layer", each.layer}, {"file", textOrNull(each.file)}}));
        }
        paths.add(Json::object({{"path", path.text},
                                {"layer", path.layer},
                                {"file", textOrNull(path.file)},
                                {"through", through},
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
    const std::vector<Variable> all =
        Kym::Launcher().explain(*of.department, of.common, of.application, of.workDirectory);
    std::vector<Variable> asked;
    std::copy_if(all.begin(), all.end(), std::back_inserter(asked), [&](const Variable& variable) {
        return request.variable.empty() || variable.name == request.variable;
    });
    if (asked.empty()) {
        throw std::runtime_error("Nothing sets or removes the variable " + quoted(request.variable) +
                                 " in this launch. Names are told apart by letter case; those of the "
                                 "caller's environment are in upper case. Run kym explain " +
                                 wordFor(request.choice.department) + ' ' +
                                 wordFor(request.choice.application) + " to see all.");
    }
    if (request.json) {
        Json list = Json::array();
        for (const Variable& variable : asked) {
            list.add(asJson(variable, all));
        }
        std::cout << Json::object({{"variables", list}}).document();
        return;
    }
    for (const Variable& variable : asked) {
        write(variable, all);
        if (&variable != &asked.back()) {
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
        "brought it and through which variables.\n\n"
        "Example:\n  kym explain design nx PATH");
}
