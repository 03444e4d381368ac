#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "base/platform/Export.h"

namespace Kym {

/// What a launch does, computed once: showing a launch and starting it use the same value, so that what is
/// shown is what is started.
struct LaunchPlan {
    boost::filesystem::path executable;  ///< exists and may be executed
    std::vector<std::string> arguments;  ///< each as the program receives it

    /// The directory in which the program starts; empty when it starts in the launcher's own.
    std::string workingDirectory;

    /// The complete environment of the program, name to value.
    std::map<std::string, std::string> environment;

    /// Temporary files older than this many days are removed before the start; nothing: none are.
    std::optional<std::uint32_t> cleanupDays;

    /// The command line: the executable and the arguments, separated by single blanks.
    KYM_EXPORT std::string commandString() const;

    /// Whether a variable of that name holds a list of paths, with ";" between them.
    KYM_EXPORT static bool isPathList(const std::string& name);
};

}  // namespace Kym
