#include "base/Task.h"

#include <boost/filesystem/operations.hpp>

#include "base/CommandLine.h"
#include "base/FileManager.h"
#include "base/platform/Process.h"

namespace Base {

TaskError::~TaskError() = default;

Task::Task() = default;

Task::Task(const boost::filesystem::path& program, const std::vector<std::string>& arguments)
    : mProgram(program), mArguments(arguments) {
    launch();
}

void Task::setLaunchPath(const boost::filesystem::path& program) {
    mProgram = program;
}

const boost::filesystem::path& Task::launchPath() const {
    return mProgram;
}

void Task::setArguments(const std::vector<std::string>& arguments) {
    mArguments = arguments;
}

void Task::setCurrentDirectoryPath(const boost::filesystem::path& directory) {
    mDirectory = directory;
}

void Task::setEnvironment(const std::map<std::string, std::string>& environment) {
    mEnvironment = environment;
}

void Task::launch() {
    if (mProgram.empty()) {
        throw TaskError("No program was named to be started.");
    }
    const auto fail = [&](const std::string& reason) {
        throw TaskError("Program " + FileManager::native(mProgram) + " could not be started: " + reason);
    };
    boost::system::error_code error;
    const auto holdsNul = [](const boost::filesystem::path& path) {
        return path.native().find(boost::filesystem::path::value_type()) !=
               boost::filesystem::path::string_type::npos;
    };
    if (holdsNul(mProgram) || holdsNul(mDirectory)) {
        fail("the path of the program or of the working directory holds a NUL");
    }
    Platform::ProcessStart start;
    start.program = Platform::fullPath(mProgram);
    if (boost::filesystem::is_directory(start.program, error)) {
        fail("it is a directory");
    }
    if (!mDirectory.empty()) {
        start.directory = Platform::fullPath(mDirectory);
        const auto type = boost::filesystem::status(start.directory, error).type();
        if (type == boost::filesystem::file_not_found) {
            fail("the working directory " + FileManager::native(mDirectory) + " does not exist");
        }
        if (type != boost::filesystem::directory_file) {
            fail("the working directory " + FileManager::native(mDirectory) + " is not a directory");
        }
    }
    const std::string program = start.program.string();
    if (CommandLine::isBatchFile(program)) {
        if (!boost::filesystem::is_regular_file(start.program, error)) {
            fail("there is no such batch file");
        }
        start.program = Platform::batchInterpreter();
        start.commandLine = CommandLine::batchCommandLine(start.program.string(), program, mArguments);
    } else {
        start.commandLine = CommandLine::programCommandLine(program, mArguments);
    }
    if (mEnvironment) {
        start.environment = CommandLine::environmentBlock(*mEnvironment);
    }
    if (const auto reason = Platform::startProcess(start)) {
        fail(*reason);
    }
}

}  // namespace Base
