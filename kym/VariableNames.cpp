#include "kym/VariableNames.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

#include "kym/CharacterClass.h"

namespace Kym {

namespace {

/// An entry to be put in the order of the names, with the part of the name that is being compared.
struct NamedEntry {
    std::uint64_t part;
    const VariableList::Entry* entry;
};
constexpr std::size_t partSize = sizeof(NamedEntry::part);

/// The bytes from `start` on, as a number in whose order they stand; behind the end of the name, zeros.
std::uint64_t partOf(std::string_view name, std::size_t start) {
    std::uint64_t part = 0;
    for (std::size_t i = start; i < start + partSize; ++i) {
        part = part << 8U | (i < name.size() ? static_cast<unsigned char>(name[i]) : 0U);
    }
    return part;
}

/// Puts entries whose names agree up to `start` in the order of the names, and those of one name in the order
/// of the list. Names of variables begin alike, so that comparing them part by part costs less than comparing
/// them whole.
void sortByName(std::vector<NamedEntry>::iterator first, std::vector<NamedEntry>::iterator last,
                std::size_t start) {
    constexpr std::size_t usualLength = 64;
    if (start >= usualLength) {
        std::sort(first, last, [](const NamedEntry& left, const NamedEntry& right) {
            const int difference = left.entry->name.compare(right.entry->name);
            return difference != 0 ? difference < 0 : left.entry < right.entry;
        });
        return;
    }
    bool namesGoOn = false;
    bool partsDiffer = false;
    for (auto named = first; named != last; ++named) {
        named->part = partOf(named->entry->name, start);
        namesGoOn = namesGoOn || named->entry->name.size() > start;
        partsDiffer = partsDiffer || named->part != first->part;
    }
    if (partsDiffer || !namesGoOn) {
        std::sort(first, last, [](const NamedEntry& left, const NamedEntry& right) {
            return left.part != right.part ? left.part < right.part : left.entry < right.entry;
        });
    }
    while (namesGoOn && first != last) {
        const auto end =
            std::find_if(first, last, [&](const NamedEntry& other) { return other.part != first->part; });
        if (end - first > 1) {
            sortByName(first, end, start + partSize);
        }
        first = end;
    }
}

bool isUpperCase(std::string_view name) {
    return std::all_of(name.begin(), name.end(), [](char c) { return toUpper(c) == c; });
}

std::string upperCase(std::string_view name) {
    std::string result(name);
    std::transform(result.begin(), result.end(), result.begin(), toUpper);
    return result;
}

}  // namespace

std::vector<const VariableList::Entry*> inOrderOfNames(const std::vector<const VariableList::Entry*>& list) {
    std::vector<NamedEntry> order;
    order.reserve(list.size());
    for (const VariableList::Entry* entry : list) {
        order.push_back({0, entry});
    }
    sortByName(order.begin(), order.end(), 0);
    std::vector<const VariableList::Entry*> result;
    result.reserve(order.size());
    for (const NamedEntry& named : order) {
        result.push_back(named.entry);
    }
    return result;
}

std::vector<std::string> supersededNames(const std::vector<VariableList::Entry>& list,
                                         const std::map<std::string, std::string>& env) {
    // Only a name with a small letter can differ from another one in nothing but case, and few have one.
    std::map<std::string, std::string, std::less<>> last;  // by the name in upper case
    for (const VariableList::Entry& entry : list) {
        if (!isUpperCase(entry.name)) {
            last.emplace(upperCase(entry.name), std::string());
        }
    }
    const auto find = [&](std::string_view name) {
        return isUpperCase(name) ? last.find(name) : last.find(upperCase(name));
    };
    for (const VariableList::Entry& entry : list) {
        const auto place = find(entry.name);
        if (place != last.end() && env.contains(std::string(entry.name))) {
            place->second = entry.name;
        }
    }
    std::vector<std::string> superseded;
    for (const auto& [name, value] : env) {
        const auto place = find(name);
        if (place != last.end() && place->second != name) {
            superseded.push_back(name);
        }
    }
    return superseded;
}

}  // namespace Kym
