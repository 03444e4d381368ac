#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <boost/unordered/unordered_flat_map.hpp>

#include "kym/EnvironmentVariable.h"
#include "kym/LaunchRecord.h"

namespace Kym {

/// The growing list of variables of an environment, indexed by name, so that merging a variable costs the
/// same however long the list is. Where a name stands more than once, merges meet the first.
///
/// The list does not copy what it can look at: the records that are merged, and those it starts from, must
/// outlive it and stay unchanged.
class VariableList {
  public:
    struct Entry {
        std::string_view name;
        std::string_view value;
        std::string* ownText;  ///< where the list holds the value itself; else null
        const std::string* comment;
        PlatformType type;
        std::uint32_t turn;  ///< of two entries, the one that was set later has the higher number
        bool plainName;      ///< word characters only, which mean themselves in an expression
        bool smallLetters;   ///< the name has some
        bool mayRefer;       ///< there may be a "$" in the value
        bool changed;        ///< differs from the record at this place that the list started from
        bool overruled;      ///< an entry of the same name was appended later
    };

    /// An empty list, with room for a usual environment.
    VariableList();

    /// Tells `record`, unless that is null, of every change.
    explicit VariableList(LaunchRecord* record);
    explicit VariableList(const std::vector<EnvironmentVariable>& start);
    VariableList(const VariableList&) = delete;
    VariableList& operator=(const VariableList&) = delete;

    /// The layered merge: replaces value and comment of the variable of that name, or appends the variable. A
    /// reference to the variable's own name in the new value stands for the earlier value. A name that makes
    /// no valid regular expression throws `boost::regex_error`; a value that refers to itself and grows
    /// beyond 1 MiB, or does so too often to be done in a second, throws `std::runtime_error`.
    void mergeLayered(const EnvironmentVariable& variable);
    void mergeLayered(const std::vector<EnvironmentVariable>& variables);

    /// The plain merge of a variable that a store derives from its settings: replaces the whole record or
    /// appends it. A variable without a name or without a value is skipped.
    void mergePlain(EnvironmentVariable variable);

    /// Appends without looking for an earlier variable of that name.
    void append(EnvironmentVariable&& variable);

    /// The value of the first variable of that name; nothing when there is none.
    std::optional<std::string_view> valueOf(std::string_view name) const;

    /// The last entry of that name; null when there is none.
    const Entry* last(std::string_view name) const;

    /// Replaces the value of the first variable of that name, which must be there.
    void setValue(std::string_view name, std::string&& value);

    /// Null when nobody wants to know how the variables come about.
    LaunchRecord* record() const { return mRecord; }

    const std::vector<Entry>& entries() const { return mEntries; }
    std::vector<Entry>& entries() { return mEntries; }

    /// Brings the vector that the list started from up to the list's state.
    void storeInto(std::vector<EnvironmentVariable>& variables) const;

  private:
    // A name with its hash, so that the index can grow without another look at the names.
    struct Key {
        std::string_view name;
        std::size_t hash;
        bool operator==(const Key& other) const { return hash == other.hash && name == other.name; }
    };
    struct KeyHash {
        std::size_t operator()(const Key& key) const { return key.hash; }
    };
    struct Places {
        std::uint32_t first;
        std::uint32_t last;
    };
    static Key keyOf(std::string_view name) { return {name, std::hash<std::string_view>()(name)}; }

    Entry& push(const EnvironmentVariable& record);
    void mergeLayered(const EnvironmentVariable& variable, bool verbose);
    void substitute(const EnvironmentVariable& variable, Entry& entry, LaunchRecord::Inherited* inherited);
    void tell(std::string_view name, std::size_t place, const LaunchRecord::Inherited& inherited) const;

    LaunchRecord* mRecord = nullptr;
    std::vector<Entry> mEntries;
    std::uint32_t mTurn = 0;
    boost::unordered_flat_map<Key, Places, KeyHash> mPlaces;
    std::pmr::monotonic_buffer_resource mMemory;
    std::pmr::deque<EnvironmentVariable> mRecords{&mMemory};  // what was handed over
    std::pmr::deque<std::string> mTexts{&mMemory};            // what substitution gave
};

/// Lets `merge` work on an indexed list of `target`, and stores the result there. When it throws, the target
/// is unchanged.
template <typename Merge>
void mergeIndexed(std::vector<EnvironmentVariable>& target, const Merge& merge) {
    VariableList list(target);
    merge(list);
    list.storeInto(target);
}

}  // namespace Kym
