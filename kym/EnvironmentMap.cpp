#include "kym/EnvironmentMap.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include <boost/unordered/unordered_flat_map.hpp>

#include "base/Environment.h"
#include "base/Text.h"
#include "kym/CharacterClass.h"
#include "kym/LaunchText.h"
#include "kym/Loggers.h"
#include "kym/VariableList.h"

using Base::log::LoggerStream;

namespace Kym {

namespace {

using Entry = VariableList::Entry;

/// An entry to be put in the order of the names, with some bytes of its name behind the first eight. Names of
/// variables begin alike, so that comparing them part by part costs less than comparing them whole.
struct NamedEntry {
    static constexpr std::size_t partCount = 2;
    std::array<std::uint64_t, partCount> parts;
    Entry* entry;
};

/// Eight bytes from `start` on, as a number in whose order they stand; behind the end of the name, zeros.
std::uint64_t partOf(std::string_view name, std::size_t start) {
    std::array<unsigned char, 8> bytes{};
    if (name.size() >= start + bytes.size()) {
        std::memcpy(bytes.data(), name.data() + start, bytes.size());
    } else if (name.size() > start) {
        std::memcpy(bytes.data(), name.data() + start, name.size() - start);
    }
    const auto at = [&](std::size_t place) { return std::uint64_t{bytes[place]} << (56 - 8 * place); };
    return at(0) | at(1) | at(2) | at(3) | at(4) | at(5) | at(6) | at(7);
}

using Entries = std::vector<NamedEntry>::iterator;

/// Puts entries whose names agree in what comes before the part `number` in the order of the names.
void sortByName(Entries first, Entries last, std::size_t number) {
    if (number == NamedEntry::partCount) {
        std::sort(first, last, [](const NamedEntry& left, const NamedEntry& right) {
            return left.entry->name < right.entry->name;
        });
        return;
    }
    const auto before = [number](const NamedEntry& left, const NamedEntry& right) {
        return left.parts[number] < right.parts[number];
    };
    if (!std::is_sorted(first, last, before)) {
        std::sort(first, last, before);
    }
    while (first != last) {
        const auto end = std::find_if(first, last, [&](const NamedEntry& other) {
            return other.parts[number] != first->parts[number];
        });
        if (end - first > 1) {
            sortByName(first, end, number + 1);
        }
        first = end;
    }
}

bool hasValidName(const Entry& entry) {
    return entry.plainName ? isLetter(entry.name.front()) : isValidVariableName(entry.name);
}

bool isSet(const Entry& entry) {
    return !entry.value.empty() && hasValidName(entry);
}

/// The entries that make the environment, in the order of the names.
std::vector<Entry*> effectiveEntries(VariableList& variables) {
    if (verboseLogger().isOn()) {
        for (const Entry& entry : variables.entries()) {
            LoggerStream(verboseLogger()) << "variable name = " << entry.name << std::endl
                                          << (hasValidName(entry) ? "VALID" : "INVALID") << std::endl;
        }
    }
    boost::unordered_flat_map<std::uint64_t, std::vector<NamedEntry>> groups;  // of names that begin alike
    std::size_t count = 0;
    for (Entry& entry : variables.entries()) {
        if (!entry.overruled && isSet(entry)) {
            groups[partOf(entry.name, 0)].push_back(
                {{partOf(entry.name, 8), partOf(entry.name, 16)}, &entry});
            ++count;
        }
    }
    std::vector<std::uint64_t> beginnings;
    beginnings.reserve(groups.size());
    for (const auto& [beginning, group] : groups) {
        beginnings.push_back(beginning);
    }
    std::sort(beginnings.begin(), beginnings.end());
    std::vector<Entry*> order;
    order.reserve(count);
    for (const std::uint64_t beginning : beginnings) {
        std::vector<NamedEntry>& group = groups[beginning];
        sortByName(group.begin(), group.end(), 0);
        for (const NamedEntry& named : group) {
            order.push_back(named.entry);
        }
    }
    return order;
}

/// The names, among entries that make an environment, of those with which an entry that was set later shares
/// its name but for the case of letters.
std::vector<std::string> supersededNames(const std::vector<Entry*>& order, const VariableList& list) {
    std::vector<std::string> superseded;
    std::map<std::string, const Entry*> latest;  // by the name in upper case
    const auto add = [&](const std::string& name, const Entry& entry) {
        const auto [place, isFirst] = latest.try_emplace(name, &entry);
        if (isFirst) {
            return;
        }
        const Entry& other = *place->second;
        superseded.emplace_back(entry.turn > other.turn ? other.name : entry.name);
        place->second = entry.turn > other.turn ? &entry : &other;
    };
    for (const Entry* const entry : order) {
        if (!entry->smallLetters) {
            continue;  // two such names differ in more than case
        }
        std::string name(entry->name);
        std::transform(name.begin(), name.end(), name.begin(), toUpper);
        const Entry* const sameInUpperCase = list.last(name);
        if (!latest.contains(name) && sameInUpperCase && isSet(*sameInUpperCase)) {
            add(name, *sameInUpperCase);
        }
        add(name, *entry);
    }
    return superseded;
}

void recordInvalidNames(const VariableList& variables, LaunchRecord& record) {
    for (const Entry& entry : variables.entries()) {
        if (!entry.overruled && !hasValidName(entry)) {
            record.dropped(entry.name, LaunchRecord::Change::invalidName);
        }
    }
}

[[noreturn]] void throwFailure(const Entry& entry, const std::exception& error) {
    throw std::runtime_error(Base::Text::readableLines("Error expanding variable '" +
                                                       std::string(entry.name) + "'.\n" + error.what()));
}

}  // namespace

std::vector<std::string> fillEnvironmentMap(VariableList&& variables,
                                            std::map<std::string, std::string>& env) {
    const std::vector<Entry*> order = effectiveEntries(variables);
    std::vector<std::string> superseded = supersededNames(order, variables);
    LaunchRecord* const record = variables.record();
    if (record) {
        recordInvalidNames(variables, *record);
    }

    logInfo("Evaluating the completed environment");
    const auto lookup = [&](std::string_view name) -> std::optional<std::string_view> {
        const Entry* const entry = variables.last(name);
        return entry && isSet(*entry) ? std::optional(entry->value) : std::nullopt;
    };
    std::optional<Base::Environment::Expander> expander(std::in_place, lookup);
    std::vector<std::map<std::string, std::string>::value_type*> pathLists;
    const bool verbose = verboseLogger().isOn();
    constexpr std::size_t sizeLimit = std::size_t{64} << 20U;
    std::size_t size = 0;
    for (Entry* const next : order) {
        Entry& entry = *next;
        std::string value = entry.ownText ? std::move(*entry.ownText) : std::string(entry.value);
        if (verbose) {
            LoggerStream(verboseLogger())
                << "  Expanding variable " << entry.name << "=" << value << std::endl;
        }
        try {
            if (entry.mayRefer) {
                expander->expandVariable(entry.name, value);
            }
            size += value.size();
            if (size > sizeLimit) {
                throw std::runtime_error("The environment grows beyond " + std::to_string(sizeLimit) +
                                         " bytes.");
            }
        } catch (const Base::Environment::ExpansionError& error) {
            if (!record) {
                throwFailure(entry, error);
            }
            record->failed(entry.name, error.what());
            expander.emplace(lookup);
        } catch (const std::exception& error) {
            throwFailure(entry, error);
        }
        if (record) {
            record->evaluated(entry.name, LaunchRecord::Change::expanded, value);
        }
        normalizeSeparators(value);
        if (record) {
            record->evaluated(entry.name, LaunchRecord::Change::separators, value);
        }
        // In the order of the names, each is put at the end of the map without a search.
        auto& finished = *env.emplace_hint(env.end(), entry.name, std::move(value));
        entry.value = finished.second;
        if (isPathVariable(entry.name)) {
            pathLists.push_back(&finished);
        }
    }

    logInfo("Removing duplicate paths from PATH variables");
    for (const auto* const list : pathLists) {
        if (record) {
            record->tracePaths(list->first, env);
        }
    }
    for (auto* const list : pathLists) {
        list->second = cleanPathList(list->second);
        if (record) {
            record->evaluated(list->first, LaunchRecord::Change::cleaned, list->second);
        }
    }
    return superseded;
}

}  // namespace Kym
