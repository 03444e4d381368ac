#pragma once

#include <optional>
#include <string>

#include <boost/filesystem/path.hpp>

/// The system's side of starting a program.
namespace Base::Platform {

struct ProcessStart {
    boost::filesystem::path program;            ///< the whole path of the file; it is searched nowhere
    std::string commandLine;                    ///< UTF-8
    boost::filesystem::path directory;          ///< empty: the one of this process
    std::optional<std::u16string> environment;  ///< an environment block; none: the one of this process
};

/// Starts the program without a handle of this process and without waiting for it. Nothing when it was
/// started, else the system's reason.
std::optional<std::string> startProcess(const ProcessStart& start);

/// The absolute path that the system makes of a path. Windows drops the dots and blanks at its end.
boost::filesystem::path fullPath(const boost::filesystem::path& path);

/// The program that runs batch files; empty where the system has none.
boost::filesystem::path batchInterpreter();

}  // namespace Base::Platform
