#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "kym/LaunchExplanation.h"

namespace Kym {

/// Takes down how the variables of an environment come about while it is built. Whoever builds one tells the
/// record, if there is one, what was done; nothing is decided here. `std::runtime_error` when that grows
/// beyond all bounds.
class LaunchRecord {
  public:
    using Change = VariableExplanation::Change;
    using Environment = std::map<std::string, std::string>;

    /// The parts of a new value, from one offset to another, that are the earlier value.
    using Inherited = std::vector<std::pair<std::size_t, std::size_t>>;

    /// Begins a layer, whose changes come from no file until `from` names one.
    void beginLayer(const char* name);
    void from(const boost::filesystem::path& file);

    /// An entry, of several of one name known by its place in the list, has got a value. `counts`: no entry
    /// of that name stands behind it.
    void merged(std::string_view name, std::size_t place, std::string_view value, const Inherited& inherited,
                bool counts);

    /// The value was evaluated; no step when that changed nothing.
    void evaluated(std::string_view name, Change change, const std::string& value);

    /// The value could not be evaluated, for that reason.
    void failed(std::string_view name, const std::string& reason);

    /// No program gets this variable.
    void dropped(std::string_view name, Change change);

    /// Follows the parts of a path list through its expansion and its cleaning. `environment` is expanded,
    /// and no list in it is cleaned.
    void tracePaths(const std::string& name, const Environment& environment);

    /// The variables by name; those of them that `environment` holds have a value.
    std::vector<VariableExplanation> explanations(const Environment& environment) &&;

  private:
    struct Part {
        std::size_t length;
        std::size_t step;  // the one that brought it
    };
    using Parts = std::vector<Part>;  // none of them empty, and no two of one step side by side
    struct Merged {
        Parts parts;
        std::size_t step = 0;  // the latest
    };
    struct History {
        VariableExplanation explanation;
        std::map<std::size_t, Merged> entries;
        std::size_t entry = 0;  // the one that counts
        std::string merged;     // its value before it is evaluated
        std::string value;      // the present one
    };

    Parts expandedParts(const History& history, const Environment& environment, const std::string& expanded);
    History& historyOf(std::string_view name);
    void addStep(History& history, Change change, std::string_view value);
    void checkSize(const History& history, std::size_t added);

    std::map<std::string, History, std::less<>> mHistories;
    std::string mLayer;
    std::string mFile;
    std::size_t mSize = 0;  // of all that was taken down, in bytes
    std::size_t mWork = 0;  // for the parts of lists, in bytes that are looked through
};

}  // namespace Kym
