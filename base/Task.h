#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "base/BaseException.h"

namespace Base {

/// A program that could not be started. The message names the program and the system's reason.
class TaskError : public BaseException {
  public:
    using BaseException::BaseException;
    ~TaskError() override;
};

/// Starts a program and leaves it alone: nobody waits for it, and destroying the task does not stop it.
///
/// The child inherits no handle, and a console program gets a console of its own. Each argument arrives byte
/// for byte (texts are UTF-8): a program receives them by the rules of `CommandLineToArgvW`, a batch file
/// (.bat, .cmd) through `cmd.exe` with quoting that keeps every character from being interpreted; an argument
/// that cannot be passed safely is refused. The program is the file of that path and searched nowhere else.
/// Offered on Windows only: elsewhere every start is a `TaskError`.
class Task {
  public:
    Task();

    /// Starts the program at once.
    Task(const boost::filesystem::path& program, const std::vector<std::string>& arguments);

    void setLaunchPath(const boost::filesystem::path& program);
    const boost::filesystem::path& launchPath() const;
    void setArguments(const std::vector<std::string>& arguments);
    void setCurrentDirectoryPath(const boost::filesystem::path& directory);

    /// The complete environment of the child, in place of the inherited one. An entry without a name is left
    /// out.
    void setEnvironment(const std::map<std::string, std::string>& environment);

    /// Starts the program and returns; `TaskError` when it cannot be started, when the working directory is
    /// none, and for a batch file when it is a network path (\\SERVER\SHARE) or a verbatim one (\\?\), this
    /// process's own included: `cmd.exe` would run the batch file in another directory without an error.
    void launch();

  private:
    boost::filesystem::path mProgram;
    std::vector<std::string> mArguments;
    boost::filesystem::path mDirectory;  // empty: the one of this process
    std::optional<std::map<std::string, std::string>> mEnvironment;
};

}  // namespace Base
