#include "PathOrigins.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "programs/common/References.h"

namespace {

using Variable = Kym::VariableExplanation;
using Change = Variable::Change;
using Steps = std::vector<Variable::Step>;

/// The step that gave a variable the value with which its evaluation begins; null when it has none.
const Variable::Step* settingStep(const Variable& variable) {
    const auto decides = [](const Variable::Step& step) {
        return step.change < Change::withoutEffect || step.change == Change::invalidName;
    };
    const auto last = std::find_if(variable.steps.rbegin(), variable.steps.rend(), decides);
    const bool isSet = last != variable.steps.rend() && last->change < Change::removed;
    return isSet ? &*last : nullptr;
}

/// The value before a list of paths is put in order, which is the one that references stand for.
const std::string& evaluatedValue(const Variable& variable, const Variable::Step& setting) {
    const std::string* value = &setting.value;
    for (const Variable::Step& step : variable.steps) {
        if (step.change == Change::expanded || step.change == Change::separators) {
            value = &step.value;
        }
    }
    return *value;
}

/// A stretch of an evaluated value that stood in for a reference.
struct Stretch {
    std::size_t begin;
    std::size_t end;
    const Variable* variable;
};

bool isSeparator(char c) {
    return c == '\\' || c == '/';
}

bool isSameText(const std::string& left, const std::string& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return a == b || (isSeparator(a) && isSeparator(b)); });
}

/// Where the values of other variables stand in the evaluated value; none when that cannot be told.
std::vector<Stretch> stretchesOf(const std::string& merged, const std::string& evaluated,
                                 const std::vector<Variable>& variables) {
    std::vector<Stretch> stretches;
    std::string text;
    std::size_t copied = 0;
    for (const Reference& reference : referencesIn(merged)) {
        const auto found = std::lower_bound(
            variables.begin(), variables.end(), reference.name,
            [](const Variable& variable, const std::string& name) { return variable.name < name; });
        const bool isKnown = found != variables.end() && found->name == reference.name;
        if (const Variable::Step* step = isKnown ? settingStep(*found) : nullptr) {
            text.append(merged, copied, reference.begin - copied);
            const std::size_t begin = text.size();
            text += evaluatedValue(*found, *step);
            if (text.size() > evaluated.size()) {  // such as a value that grew too large to be expanded
                return {};
            }
            stretches.push_back({begin, text.size(), &*found});
            copied = reference.end;
        }
    }
    text.append(merged, copied);
    return isSameText(text, evaluated) ? stretches : std::vector<Stretch>();
}

/// The end, in the value, of a path that was cleaned and begins there at `begin`, which moves behind what the
/// cleaning took away: it only ever drops separators and quotes, or puts one separator for another.
std::size_t endOfPath(std::string_view value, std::string_view path, std::size_t& begin) {
    constexpr std::string_view removable = "\\/:;\"";
    const auto isCleaned = [](char c, char cleaned) {
        return c == cleaned || (isSeparator(c) && cleaned == '\\') || (c == ';' && cleaned == ':');
    };
    std::size_t at = begin;
    for (std::size_t place = 0; place < path.size(); ++place, ++at) {
        while (at < value.size() && !isCleaned(value[at], path[place])) {
            if (removable.find(value[at]) == std::string_view::npos) {
                return std::string_view::npos;
            }
            ++at;
        }
        begin = place == 0 ? at : begin;
    }
    return at > value.size() ? std::string_view::npos : at;
}

PathOrigin originOf(const Variable& variable, const std::string& path) {
    for (const Variable::Path& own : variable.paths) {
        if (own.text == path) {
            return {variable.name, own.layer, own.file};
        }
    }
    const Variable::Step& step = *settingStep(variable);
    return {variable.name, step.layer, step.file};
}

}  // namespace

std::vector<std::vector<PathOrigin>> originsOfPaths(const Variable& list,
                                                    const std::vector<Variable>& variables) {
    std::vector<std::vector<PathOrigin>> result(list.paths.size());
    const Variable::Step* const setting = settingStep(list);
    if (!setting) {
        return result;
    }
    const std::string& value = evaluatedValue(list, *setting);
    const std::vector<Stretch> stretches = stretchesOf(setting->value, value, variables);
    std::size_t begin = 0;
    for (std::size_t path = 0; path < result.size() && !stretches.empty(); ++path) {
        const std::size_t end = endOfPath(value, list.paths[path].text, begin);
        if (end == std::string::npos) {
            break;
        }
        for (const Stretch& stretch : stretches) {
            if (std::max(begin, stretch.begin) < std::min(end, stretch.end)) {
                result[path].push_back(originOf(*stretch.variable, list.paths[path].text));
            }
        }
        begin = std::min(value.find_first_of(":;", end), value.size());
    }
    return result;
}
