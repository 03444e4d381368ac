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

/// Starts the program without waiting for it. Nothing when it was started, else the system's reason.
///
/// The program inherits nothing but the directory and the environment, where these are not given. A console
/// program gets a console of its own, as it gets one from a launcher that has none: in the console of this
/// process it would end with it (Ctrl+C, a closed window) and keep open the pipe to which this process
/// writes. A program with windows is started the same way and gets no console.
std::optional<std::string> startProcess(const ProcessStart& start);

/// The absolute path that the system makes of a path. Windows drops the dots and blanks at its end.
boost::filesystem::path fullPath(const boost::filesystem::path& path);

/// The program that runs batch files; empty where the system has none.
boost::filesystem::path batchInterpreter();

}  // namespace Base::Platform
