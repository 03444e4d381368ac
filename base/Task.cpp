#include "base/Task.h"

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
    const auto holdsNul = [](const boost::filesystem::path& path) {
        return path.native().find(boost::filesystem::path::value_type()) !=
               boost::filesystem::path::string_type::npos;
    };
    if (holdsNul(mProgram) || holdsNul(mDirectory)) {
        fail("the path of the program or of the working directory holds a NUL");
    }
    Platform::ProcessStart start;
    start.program = Platform::fullPath(mProgram);
    if (FileManager::isDirectory(start.program)) {
        fail("it is a directory");
    }
    const std::string program = start.program.string();
    const bool isBatchFile = CommandLine::isBatchFile(program);
    if (!mDirectory.empty()) {
        start.directory = Platform::fullPath(mDirectory);
    }
    if (isBatchFile) {
        const auto directory = mDirectory.empty() ? FileManager::workDirectory() : start.directory;
        if (FileManager::nativeText(directory.string()).starts_with("\\\\")) {
            fail("no batch file can start in the working directory " + FileManager::native(directory) +
                 ", which does not begin with a drive letter");
        }
        if (!FileManager::exists(start.program)) {
            fail("there is no such batch file");
        }
    }
    if (!mDirectory.empty() && !FileManager::isDirectory(start.directory)) {
        fail("the working directory " + FileManager::native(mDirectory) +
             (FileManager::isMissing(start.directory) ? " does not exist" : " is not a directory"));
    }
    try {
        if (isBatchFile) {
            start.program = Platform::batchInterpreter();
            start.commandLine = CommandLine::batchCommandLine(start.program.string(), program, mArguments);
        } else {
            start.commandLine = CommandLine::programCommandLine(program, mArguments);
        }
        if (mEnvironment) {
            start.environment = CommandLine::environmentBlock(*mEnvironment);
        }
    } catch (const TaskError& error) {
        fail(error.what());
    }
    if (const auto reason = Platform::startProcess(start)) {
        fail(*reason);
    }
}

}  // namespace Base
