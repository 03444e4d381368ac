#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Kym {

/// How one variable of a launch comes to its value: plain values, computed by the same steps as the launch.
struct VariableExplanation {
    enum class Change {
        set,            ///< it had no value before
        extended,       ///< the new value holds the earlier one
        replaced,       ///< the earlier value is gone
        removed,        ///< given an empty value, which unsets it
        withoutEffect,  ///< merged into an earlier entry of that name, behind which another one counts
        invalidName,    ///< no program gets a variable of such a name
        expanded,       ///< references to variables gave way to their values
        separators,     ///< slashes became backslashes
        cleaned,        ///< a list of paths was put in order, and its duplicates were dropped
        failed,         ///< a reference cannot be expanded, which ends a launch
        superseded,     ///< Windows takes it for another one, whose name differs in the case of letters only
    };

    struct Step {
        Change change;
        std::string layer;  ///< that made the change; empty for what is done when all are merged
        std::string file;   ///< of the settings it stands in, or the registry key; empty when there is none
        std::string value;  ///< after the change; without effect: what it would be; failed: the reason
    };

    /// One path of a list, in the order of the list before duplicates were dropped.
    struct Path {
        std::string text;
        std::string layer;  ///< the last one that had a hand in it
        std::string file;
        bool dropped;  ///< stands further in front already
    };

    std::string name;
    std::vector<Step> steps;
    std::vector<Path> paths;           ///< of a variable that is set and holds a list of paths; else empty
    std::optional<std::string> value;  ///< what the program gets; nothing: no such variable
};

}  // namespace Kym
