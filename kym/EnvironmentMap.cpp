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
    std::uint32_t group;
};

/// The entries whose names begin with the same eight bytes.
struct Group {
    std::uint64_t beginning;
    std::ptrdiff_t size;
    std::ptrdiff_t end;  // of those that have found their place
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

/// The entries in the order of their names. First each group gets its place, then each entry in its group.
std::vector<Entry*> inOrder(const std::vector<NamedEntry>& entries, std::vector<Group>& groups) {
    std::vector<Group*> sortedGroups;
    sortedGroups.reserve(groups.size());
    for (Group& group : groups) {
        sortedGroups.push_back(&group);
    }
    std::sort(sortedGroups.begin(), sortedGroups.end(),
              [](const Group* left, const Group* right) { return left->beginning < right->beginning; });
    std::ptrdiff_t begin = 0;
    for (Group* const group : sortedGroups) {
        group->end = begin;
        begin += group->size;
    }
    std::vector<NamedEntry> sorted(entries.size());
    for (const NamedEntry& entry : entries) {
        sorted[static_cast<std::size_t>(groups[entry.group].end++)] = entry;
    }
    for (const Group& group : groups) {
        sortByName(sorted.begin() + (group.end - group.size), sorted.begin() + group.end, 0);
    }
    std::vector<Entry*> order;
    order.reserve(sorted.size());
    for (const NamedEntry& next : sorted) {
        order.push_back(next.entry);
    }
    return order;
}

/// The entries that make the environment, in the order of the names.
std::vector<Entry*> effectiveEntries(VariableList& variables) {
    if (verboseLogger().isOn()) {
        for (const Entry& entry : variables.entries()) {
            LoggerStream(verboseLogger()) << "variable name = " << entry.name << std::endl
                                          << (hasValidName(entry) ? "VALID" : "INVALID") << std::endl;
        }
    }
    std::vector<NamedEntry> found;
    found.reserve(variables.entries().size());
    std::vector<Group> groups;
    boost::unordered_flat_map<std::uint64_t, std::uint32_t> numbers;  // of groups, by the beginning
    for (Entry& entry : variables.entries()) {
        if (entry.overruled || !isSet(entry)) {
            continue;
        }
        const std::uint64_t beginning = partOf(entry.name, 0);
        const auto number = static_cast<std::uint32_t>(groups.size());
        const auto [known, isNew] = numbers.try_emplace(beginning, number);
        if (isNew) {
            groups.push_back({beginning, 0, 0});
        }
        ++groups[known->second].size;
        found.push_back({{partOf(entry.name, 8), partOf(entry.name, 16)}, &entry, known->second});
    }
    return inOrder(found, groups);
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
    using Base::Environment::Expander;
    const auto lookup = [&](std::string_view name) -> std::optional<Expander::Value> {
        const Entry* const entry = variables.last(name);
        return entry && isSet(*entry) ? std::optional(Expander::Value{entry->value, !entry->mayRefer})
                                      : std::nullopt;
    };
    std::optional<Expander> expander(std::in_place, lookup);
    // What the expander has gone through before the separators of a finished value were put right shows in
    // values whose own separators stay. Those are expanded by one that has met only what has not changed
    // since.
    std::optional<Expander> fresh;
    bool anyPutRight = false;
    std::vector<std::map<std::string, std::string>::value_type*> pathLists;
    const bool verbose = verboseLogger().isOn();
    constexpr std::size_t sizeLimit = std::size_t{64} << 20U;
    std::size_t size = 0;
    for (Entry* const next : order) {
        Entry& entry = *next;
        if (verbose) {
            LoggerStream(verboseLogger())
                << "  Expanding variable " << entry.name << "=" << entry.value << std::endl;
        }
        std::string value;
        try {
            if (entry.mayRefer && entry.value.find('$') != std::string_view::npos) {
                std::string_view expansion = expander->expandVariable(entry.name, entry.value);
                if (anyPutRight && keepsSeparators(expansion)) {
                    if (!fresh) {
                        fresh.emplace(lookup);
                    }
                    expansion = fresh->expandVariable(entry.name, entry.value);
                }
                value = expansion;
            } else {
                value = entry.ownText ? std::move(*entry.ownText) : std::string(entry.value);
            }
            entry.mayRefer = false;
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
            value = entry.value;
            expander.emplace(lookup);
            fresh.reset();
        } catch (const std::exception& error) {
            throwFailure(entry, error);
        }
        if (record) {
            record->evaluated(entry.name, LaunchRecord::Change::expanded, value);
        }
        if (normalizeSeparators(value)) {
            anyPutRight = true;
            if (fresh && fresh->hasMet(entry.name)) {
                fresh.reset();
            }
        }
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
