#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include <boost/unordered/unordered_flat_map.hpp>

#include "kym/EnvironmentVariable.h"

namespace Kym {

/// The growing list of variables of an environment, with an index by name, so that merging a variable costs the
/// same however long the list is. It changes the vector that it was made for and must be its only writer.
/// Where a name stands more than once, merges meet the first.
class VariableList {
  public:
    explicit VariableList(std::vector<EnvironmentVariable>& target);

    /// The layered merge: replaces the value of the variable of that name, where a self-reference stands for
    /// the earlier value, or appends. A name that is no valid part of a regular expression throws
    /// `boost::regex_error`.
    void mergeLayered(const EnvironmentVariable& variable);

    /// The plain merge of a derived variable: replaces the whole record or appends it; one without a name or a
    /// value is skipped. `replacing` and the indentation of the lines are the caller's wording in the log.
    void mergePlain(const EnvironmentVariable& variable);

    /// Appends without looking for an earlier variable of that name.
    void append(EnvironmentVariable variable);

    bool contains(std::string_view name) const;

  private:
    EnvironmentVariable* find(std::string_view name);

    std::vector<EnvironmentVariable>& mTarget;
    // Keyed by the hash of the name; the vector holds the names themselves, which move when it grows.
    boost::unordered_flat_map<std::uint64_t, std::uint32_t> mFirst;
};

}  // namespace Kym
