// The layered merge and the environment that it gives. A line of an input is a variable, NAME=VALUE, an empty
// line begins the next layer: the results are those of the plain rules, and what is explained is what is
// given.
#include <algorithm>

#include <boost/regex.hpp>

#include "kym/EnvironmentMap.h"
#include "kym/LaunchPlan.h"
#include "kym/LaunchRecord.h"
#include "kym/VariableList.h"

#include "bench/Transcription.h"
#include "fuzz/Fuzz.h"

namespace {

using Fuzz::require;
using Transcription::Variables;

/// A name is a part of an expression. One that repeats parts could take for ever, in the plain rules too.
bool isTooCostly(const std::string& name) {
    return name.find_first_of("*+?{") != name.npos;
}

std::vector<Variables> layersOf(std::string_view input) {
    std::vector<Variables> layers(1);
    for (const std::string& line : Fuzz::split(input, '\n')) {
        const Fuzz::Variable variable = Fuzz::variableOf(line);
        if (line.empty()) {
            layers.emplace_back();
        } else if (!isTooCostly(variable.name)) {
            layers.back().emplace_back(variable.name, variable.value);
            layers.back().back().comment = std::to_string(layers.size());
            layers.back().back().type = static_cast<Kym::PlatformType>(layers.size() % 3);
        }
    }
    return layers;
}

template <typename Call>
std::string complaintOf(const Call& call) {
    try {
        call();
        return "";
    } catch (const boost::regex_error&) {
        return "expression";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

void checkEqual(const Kym::VariableList& list, const Variables& expected) {
    require(list.entries().size() == expected.size(), "the list has as many variables");
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const Kym::VariableList::Entry& entry = list.entries()[i];
        require(entry.name == expected[i].name && *entry.comment == expected[i].comment &&
                    entry.type == expected[i].type && entry.value == expected[i].value,
                "a variable is merged as the rules say",
                expected[i].name + '=' + expected[i].value + ", not " + std::string(entry.value));
    }
}

/// The steps of a variable end with its value, which its paths make up where it is a list of them. When a
/// variable fails, `environment` ends with the one before it, and no list in it is cleaned.
void checkExplained(const std::vector<Variables>& layers,
                    const std::map<std::string, std::string>& environment, bool failed) {
    Kym::LaunchRecord record;
    Kym::VariableList list(&record);
    for (const Variables& layer : layers) {
        list.mergeLayered(layer);
    }
    std::map<std::string, std::string> explained;
    Kym::fillEnvironmentMap(std::move(list), explained);
    for (const auto& [name, value] : environment) {
        require((failed && Kym::LaunchPlan::isPathList(name)) || explained.at(name) == value,
                "explaining changes no value", name);
    }
    std::size_t told = 0;
    using Change = Kym::VariableExplanation::Change;
    for (const auto& variable : std::move(record).explanations(explained)) {
        const std::string value = variable.value.value_or("");
        std::string last, paths;
        for (const auto& step : variable.steps) {
            last = step.change == Change::withoutEffect || step.change == Change::failed ? last : step.value;
        }
        for (const auto& path : variable.paths) {
            paths += path.dropped ? "" : (paths.empty() ? "" : ";") + path.text;
        }
        require(last == value, "the last step gives the value",
                variable.name + '=' + value + ", not " + last);
        require(!variable.value || !Kym::LaunchPlan::isPathList(variable.name) || paths == value,
                "the paths make up the list", value + ", not " + paths);
        told += variable.value.has_value();
    }
    require(told == explained.size() && (failed || told == environment.size()),
            "every variable is explained");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input = Fuzz::textOf(data, size);
    if (std::count(input.begin(), input.end(), '$') > 16) {
        return 0;  // the plain rules would take too long
    }
    const std::vector<Variables> layers = layersOf(input);
    Kym::VariableList list;
    Variables expected;
    const std::string complaint = complaintOf([&] {
        for (const Variables& layer : layers) {
            list.mergeLayered(layer);
        }
    });
    if (complaint.find(" refers to itself ") != complaint.npos) {
        return 0;  // the plain rules know no bounds
    }
    const auto takesLong = [](const Kym::VariableList::Entry& entry) { return entry.value.size() > 20'000; };
    if (std::any_of(list.entries().begin(), list.entries().end(), takesLong)) {
        return 0;
    }
    const std::string expectedComplaint = complaintOf([&] {
        for (const Variables& layer : layers) {
            for (const Kym::EnvironmentVariable& variable : layer) {
                Transcription::mergeLayered(variable, expected);
            }
        }
    });
    require(complaint == expectedComplaint, "names that are no expressions are refused", complaint);
    if (!complaint.empty()) {
        return 0;
    }
    checkEqual(list, expected);

    std::map<std::string, std::string> environment;
    std::map<std::string, std::string> expectedEnvironment;
    const std::string failure = complaintOf([&] { Kym::fillEnvironmentMap(std::move(list), environment); });
    if (failure.find(" gives more than ") != failure.npos) {
        return 0;
    }
    Transcription::Input all;
    all.layers = layers;
    const std::string expectedFailure =
        complaintOf([&] { expectedEnvironment = Transcription::buildEnvironment(all); });
    require(failure.empty() == expectedFailure.empty(), "what cannot be expanded is refused",
            failure + expectedFailure);
    require(!failure.empty() || environment == expectedEnvironment, "the environment is what the rules give",
            input);
    checkExplained(layers, environment, !failure.empty());
    return 0;
}
