#include "Compare.h"

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include "Choice.h"
#include "programs/common/Json.h"
#include "programs/common/Text.h"

namespace {

struct Request {
    Choice first;
    Choice second;
    bool json = false;
};

using Value = std::optional<std::string>;
using Paths = std::vector<std::string>;

struct Difference {
    std::string name;
    Value first;
    Value second;
    bool isPathList = false;
    Paths removed;  // paths of the first list that the second lacks
    Paths added;
    Paths moved;  // of both, but in another order
};

Paths pathsOf(const Value& value) {
    Paths paths;
    if (value && !value->empty()) {
        boost::split(paths, *value, boost::is_any_of(";"));
    }
    return paths;
}

bool isWithoutDuplicates(const Paths& paths) {
    return std::set<std::string>(paths.begin(), paths.end()).size() == paths.size();
}

/// The elements of `from` that `other` lacks.
Paths without(const Paths& from, const Paths& other) {
    const std::set<std::string> known(other.begin(), other.end());
    Paths result;
    std::copy_if(from.begin(), from.end(), std::back_inserter(result),
                 [&](const std::string& path) { return !known.contains(path); });
    return result;
}

/// Of two orders of the same paths, those that do not keep a common order: as few as possible. What stays is
/// a longest run of paths whose places in the second list rise.
Paths movedBetween(const Paths& first, const Paths& second) {
    std::map<std::string, std::size_t> places;
    for (const std::string& path : second) {
        places.emplace(path, places.size());
    }
    std::vector<std::size_t> lastPlaces;  // the lowest place at which a rising run of that length can end
    std::vector<std::size_t> lengths;     // of the longest run that ends with each path
    for (const std::string& path : first) {
        const std::size_t place = places.at(path);
        const auto longer = std::lower_bound(lastPlaces.begin(), lastPlaces.end(), place);
        lengths.push_back(static_cast<std::size_t>(longer - lastPlaces.begin()) + 1);
        if (longer == lastPlaces.end()) {
            lastPlaces.push_back(place);
        } else {
            *longer = place;
        }
    }
    Paths moved;
    std::size_t wanted = lastPlaces.size();
    for (std::size_t i = first.size(); i-- > 0;) {
        if (wanted > 0 && lengths[i] == wanted) {  // of two such, the later one stands further in front
            --wanted;
        } else {
            moved.push_back(first[i]);
        }
    }
    std::reverse(moved.begin(), moved.end());
    return moved;
}

Difference compared(const std::string& name, Value first, Value second) {
    Difference result{name, std::move(first), std::move(second), false, {}, {}, {}};
    const Paths before = pathsOf(result.first);
    const Paths after = pathsOf(result.second);
    if (Kym::LaunchPlan::isPathList(name) && isWithoutDuplicates(before) && isWithoutDuplicates(after)) {
        result.isPathList = true;
        result.removed = without(before, after);
        result.added = without(after, before);
        result.moved = movedBetween(without(before, result.removed), without(after, result.added));
    }
    return result;
}

using Environment = std::map<std::string, std::string>;

std::vector<Difference> compared(const Environment& first, const Environment& second) {
    Environment names = first;
    names.insert(second.begin(), second.end());
    std::vector<Difference> result;
    for (const auto& [name, ignored] : names) {
        const auto before = first.find(name);
        const auto after = second.find(name);
        Value left = before == first.end() ? Value() : before->second;
        Value right = after == second.end() ? Value() : after->second;
        if (left != right) {
            result.push_back(compared(name, std::move(left), std::move(right)));
        }
    }
    return result;
}

/// What is not a variable and differs.
std::vector<Difference> compared(const Kym::LaunchPlan& first, const Kym::LaunchPlan& second) {
    std::vector<Difference> result;
    const auto add = [&](const char* name, const std::string& left, const std::string& right) {
        if (left != right) {
            result.push_back({name, left, right, false, {}, {}, {}});
        }
    };
    add("executable", nativeText(first.executable), nativeText(second.executable));
    for (std::size_t i = 0; i < std::max(first.arguments.size(), second.arguments.size()); ++i) {
        const Value left = i < first.arguments.size() ? Value(first.arguments[i]) : Value();
        const Value right = i < second.arguments.size() ? Value(second.arguments[i]) : Value();
        if (left != right) {
            result.push_back({"argument " + std::to_string(i + 1), left, right, false, {}, {}, {}});
        }
    }
    add("working directory", first.workingDirectory, second.workingDirectory);
    return result;
}

void write(const char* sign, const Paths& lines) {
    for (const std::string& line : lines) {
        std::cout << "    " << sign << ' ' << printable(line) << '\n';
    }
}

void write(const char* heading, const std::vector<Difference>& differences) {
    if (differences.empty()) {
        return;
    }
    std::cout << heading << '\n';
    for (const Difference& difference : differences) {
        std::cout << "  " << printable(difference.name) << '\n';
        if (difference.isPathList && difference.first && difference.second) {
            write("-", difference.removed);
            write("+", difference.added);
            write("~", difference.moved);
        } else {
            write("-", difference.first ? Paths{*difference.first} : Paths());
            write("+", difference.second ? Paths{*difference.second} : Paths());
        }
    }
}

Json asJson(const std::vector<Difference>& differences) {
    Json list = Json::array();
    for (const Difference& difference : differences) {
        Json each = Json::object({{"name", difference.name},
                                  {"first", difference.first ? Json(*difference.first) : Json()},
                                  {"second", difference.second ? Json(*difference.second) : Json()}});
        if (difference.isPathList) {
            each.add("removed", Json::array(difference.removed));
            each.add("added", Json::array(difference.added));
            each.add("moved", Json::array(difference.moved));
        }
        list.add(each);
    }
    return list;
}

void compare(const Request& request) {
    Departments departments;
    const Kym::LaunchPlan first = Launchable(departments, request.first).plan();
    const Kym::LaunchPlan second = Launchable(departments, request.second).plan();
    const std::vector<Difference> command = compared(first, second);
    const std::vector<Difference> variables = compared(first.environment, second.environment);
    if (request.json) {
        std::cout
            << Json::object({{"command", asJson(command)}, {"variables", asJson(variables)}}).document();
        return;
    }
    if (command.empty() && variables.empty()) {
        std::cout << "The two launches are the same.\n";
    }
    write("Command:", command);
    write("Variables:", variables);
}

}  // namespace

void addCompareCommand(CLI::App& program) {
    const auto request = std::make_shared<Request>();
    CLI::App* command =
        program.add_subcommand("diff", "Show how the second of two launches differs from the first");
    addChoice(*command, request->first);
    addChoice(*command, request->second, "2");
    addJson(*command, request->json);
    command->callback([request] { compare(*request); });
    command->footer(
        "\"-\" is what only the first has, \"+\" what only the second has, \"~\" a path that stands "
        "elsewhere in the list.\n\n"
        "Example:\n  kym diff design nx test nx");
}
