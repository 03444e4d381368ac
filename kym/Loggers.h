#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

#include "base/FileManager.h"
#include "base/log/LoggerStream.h"

namespace Kym {

/// "kym.info": one line per major step. "kym.verbose": the detail. Made on first use, destroyed at exit; the
/// stores, which live on, then get a logger that is off.
const Base::log::Logger& infoLogger();
const Base::log::Logger& verboseLogger();

template <typename Part>
const Part& logged(const Part& part) {
    return part;
}
inline std::string logged(const boost::filesystem::path& file) {
    return Base::FileManager::native(file);
}

/// Writes the parts of a line, paths in their native form, and the line's end; with the logger off, nothing
/// is formatted.
template <typename... Parts>
void logLine(const Base::log::Logger& logger, const Parts&... parts) {
    if (Base::log::LoggerStream line{logger}) {
        (line << ... << logged(parts)) << '\n';
    }
}
template <typename... Parts>
void logInfo(const Parts&... parts) {
    logLine(infoLogger(), parts...);
}
template <typename... Parts>
void logVerbose(const Parts&... parts) {
    logLine(verboseLogger(), parts...);
}

}  // namespace Kym
