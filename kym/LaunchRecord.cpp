#include "kym/LaunchRecord.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

#include "base/Environment.h"
#include "base/FileManager.h"
#include "kym/LaunchText.h"

namespace Kym {

namespace {

constexpr std::size_t sizeLimit = std::size_t{256} << 20U;

// Each part is looked for in the whole list. Where that would take too long, all parts are told as one.
constexpr std::size_t workLimit = sizeLimit;

}  // namespace

void LaunchRecord::beginLayer(const char* name) {
    mLayer = name;
    mFile.clear();
}

void LaunchRecord::from(const boost::filesystem::path& file) {
    mFile = Base::FileManager::native(file);
}

LaunchRecord::History& LaunchRecord::historyOf(std::string_view name) {
    const auto found = mHistories.find(name);
    if (found != mHistories.end()) {
        return found->second;
    }
    History& added = mHistories[std::string(name)];
    added.explanation.name = name;
    return added;
}

void LaunchRecord::checkSize(const History& history, std::size_t added) {
    mSize += added;
    if (mSize > sizeLimit) {
        throw std::runtime_error("The explanation of the environment grows beyond " +
                                 std::to_string(sizeLimit) + " bytes at the variable " +
                                 history.explanation.name + ".");
    }
}

void LaunchRecord::addStep(History& history, Change change, std::string_view value) {
    checkSize(history, value.size());
    const bool ofLayer = change <= Change::withoutEffect;
    history.explanation.steps.push_back(
        {change, ofLayer ? mLayer : "", ofLayer ? mFile : "", std::string(value)});
}

void LaunchRecord::merged(std::string_view name, std::size_t place, std::string_view value,
                          const Inherited& inherited, bool counts) {
    History& history = historyOf(name);
    const std::size_t step = history.explanation.steps.size();
    Merged& entry = history.entries[place];
    const std::size_t earlierLength =
        std::accumulate(entry.parts.begin(), entry.parts.end(), std::size_t{0},
                        [](std::size_t length, const Part& part) { return length + part.length; });
    Parts changed;
    const auto add = [&changed](const Part& part) {
        if (!changed.empty() && changed.back().step == part.step) {
            changed.back().length += part.length;
        } else if (part.length != 0) {
            changed.push_back(part);
        }
    };
    std::size_t copied = 0;
    for (const auto& [begin, end] : inherited) {
        add({begin - copied, step});
        if (end - begin == earlierLength) {
            std::for_each(entry.parts.begin(), entry.parts.end(), add);
        } else {
            add({end - begin, step});  // what an expression has made of the earlier value
        }
        copied = end;
    }
    add({value.size() - copied, step});
    checkSize(history, changed.size() * sizeof(Part));
    entry = {std::move(changed), step};

    if (!counts) {
        addStep(history, Change::withoutEffect, value);
        return;
    }
    const bool holdsEarlier = std::any_of(inherited.begin(), inherited.end(),
                                          [](const auto& range) { return range.first != range.second; });
    addStep(history,
            value.empty()           ? Change::removed
            : history.value.empty() ? Change::set
            : holdsEarlier          ? Change::extended
                                    : Change::replaced,
            value);
    history.entry = place;
    history.merged = history.value = value;
}

void LaunchRecord::evaluated(std::string_view name, Change change, const std::string& value) {
    History& history = historyOf(name);
    if (history.value != value) {
        addStep(history, change, value);
        history.value = value;
    }
}

void LaunchRecord::failed(std::string_view name, const std::string& reason) {
    addStep(historyOf(name), Change::failed, reason);
}

void LaunchRecord::dropped(std::string_view name, Change change) {
    History& history = historyOf(name);
    addStep(history, change, "");
    history.explanation.paths.clear();
}

/// Each part is expanded on its own. Where that does not give the value, a reference crosses two of them, and
/// the last step brought it all.
LaunchRecord::Parts LaunchRecord::expandedParts(const History& history, const Environment& environment,
                                                const std::string& expanded) {
    const Merged& merged = history.entries.at(history.entry);
    Parts whole = {{expanded.size(), merged.step}};
    const std::size_t work = merged.parts.size() * expanded.size();
    if (work > workLimit - mWork) {
        return whole;
    }
    mWork += work;
    Parts parts;
    std::string together;
    try {
        std::size_t begin = 0;
        for (const Part& part : merged.parts) {
            std::string text = history.merged.substr(begin, part.length);
            begin += part.length;
            Base::Environment::expandEnvVariables(text, environment);
            parts.push_back({text.size(), part.step});
            together += text;
            if (together.size() > expanded.size()) {
                return whole;
            }
        }
    } catch (const Base::Environment::ExpansionError&) {
        together.clear();
    }
    normalizeSeparators(together);
    return together == expanded ? parts : whole;
}

void LaunchRecord::tracePaths(const std::string& name, const Environment& environment) {
    History& history = historyOf(name);
    const std::string& value = environment.at(name);
    const Parts parts = expandedParts(history, environment, value);

    struct Place {
        std::size_t end;  // in the list whose separators are put right
        std::size_t step;
    };
    std::vector<Place> places;
    std::size_t end = 0;
    for (const Part& part : parts) {
        end += part.length;
        places.push_back({separatedPaths(std::string_view(value).substr(0, end)).size(), part.step});
    }
    for (const CleanedPath& path : cleanedPaths(value)) {
        std::size_t step = 0;
        std::size_t begin = 0;
        for (const Place& place : places) {
            if (std::max(begin, path.begin) < std::min(place.end, path.end)) {
                step = std::max(step, place.step);
            }
            begin = place.end;
        }
        const VariableExplanation::Step& by = history.explanation.steps.at(step);
        history.explanation.paths.push_back({path.text, by.layer, by.file, path.repeated});
    }
}

std::vector<VariableExplanation> LaunchRecord::explanations(const Environment& environment) && {
    std::vector<VariableExplanation> result;
    for (auto& [name, history] : mHistories) {
        const auto found = environment.find(name);
        if (found != environment.end()) {
            history.explanation.value = found->second;
        }
        result.push_back(std::move(history.explanation));
    }
    return result;
}

}  // namespace Kym
