#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <boost/unordered/unordered_flat_set.hpp>

#include "kym/EnvironmentVariable.h"

namespace Kym {

/// The growing list of variables of an environment, with an index by name, so that merging a variable costs
/// the same however long the list is. It must be the only writer of the vector that it was made for. Where a
/// name stands more than once, merges meet the first.
class VariableList {
  public:
    explicit VariableList(std::vector<EnvironmentVariable>& target);
    VariableList(const VariableList&) = delete;
    VariableList& operator=(const VariableList&) = delete;

    /// The layered merge: replaces value and comment of the variable of that name, or appends the variable. A
    /// reference to the variable's own name in the new value stands for the earlier value. A name that makes
    /// no valid regular expression throws `boost::regex_error`.
    void mergeLayered(const EnvironmentVariable& variable);

    /// The plain merge of a variable that a store derives from its settings: replaces the whole record or
    /// appends it. A variable without a name or without a value is skipped.
    void mergePlain(const EnvironmentVariable& variable);

    /// Appends without looking for an earlier variable of that name.
    void append(EnvironmentVariable variable);

    /// The first variable of that name; null when there is none. Valid until the list grows. Its name must
    /// stay.
    EnvironmentVariable* find(std::string_view name);

    /// Makes room for that many more variables.
    void reserve(std::size_t more);

    const std::vector<EnvironmentVariable>& variables() const { return mTarget; }

  private:
    // The index holds positions, and looks the names up in the vector: a view of a short name would not
    // survive the growth of the vector.
    struct NameHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view name) const { return std::hash<std::string_view>()(name); }
        std::size_t operator()(std::uint32_t position) const { return (*this)((*list)[position].name); }
        const std::vector<EnvironmentVariable>* list;
    };
    struct NameEqual {
        using is_transparent = void;
        bool operator()(std::uint32_t left, std::uint32_t right) const {
            return (*list)[left].name == (*list)[right].name;
        }
        bool operator()(std::string_view name, std::uint32_t position) const {
            return (*list)[position].name == name;
        }
        bool operator()(std::uint32_t position, std::string_view name) const {
            return (*list)[position].name == name;
        }
        const std::vector<EnvironmentVariable>* list;
    };

    std::vector<EnvironmentVariable>& mTarget;
    boost::unordered_flat_set<std::uint32_t, NameHash, NameEqual> mFirst;
};

/// The new value of a layered merge: `value` with every $NAME and ${NAME} of its own name replaced by
/// `current`. The name is part of a regular expression and `current`, with its backslashes doubled, is the
/// replacement text of a regular-expression substitution, in which "$1", "$&" and "$$" have their usual
/// meaning.
std::string substituteOwnName(const std::string& name, const std::string& value, const std::string& current);

}  // namespace Kym
