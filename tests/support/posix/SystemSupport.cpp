#include "tests/support/SystemSupport.h"

#include <csignal>
#include <fstream>
#include <stdexcept>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>

namespace Support {
namespace {

namespace fs = boost::filesystem;

void become(std::intptr_t user) {
    if (::seteuid(static_cast<uid_t>(user)) != 0) {
        throw std::runtime_error("the user cannot be changed");
    }
}

}  // namespace

const bool onWindows = false;

void writeLocalMachineText(const std::string&, const std::string&, const std::string&) {}

void deleteLocalMachineKey(const std::string&) {}

void useTimeZone(const std::string& rules) {
    ::setenv("TZ", rules.c_str(), 1);
}

Unprivileged::Unprivileged() : mUser(::geteuid()) {
    if (mUser == 0) {
        become(65534);
    }
}

Unprivileged::~Unprivileged() {
    become(mUser);
}

Held::Held(const fs::path& file)
    : mDirectory(file.parent_path()), mHandle(fs::status(mDirectory).permissions()) {
    fs::permissions(mDirectory, fs::remove_perms | fs::owner_write | fs::group_write | fs::others_write);
}

Held::~Held() {
    fs::permissions(mDirectory, static_cast<fs::perms>(mHandle));
}

Process::Process(const fs::path& program, const std::vector<std::string>& arguments) {
    std::vector<const char*> texts = {program.c_str()};
    for (const std::string& argument : arguments) {
        texts.push_back(argument.c_str());
    }
    texts.push_back(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        ::execv(program.c_str(), const_cast<char* const*>(texts.data()));
        ::_exit(127);
    }
    if (child < 0) {
        throw std::runtime_error(program.string() + " cannot be started");
    }
    mHandle = child;
}

Process::~Process() {
    kill();
}

bool Process::isRunning() {
    if (mHandle != 0 && ::waitpid(static_cast<pid_t>(mHandle), &mStatus, WNOHANG) != 0) {
        mHandle = 0;
    }
    return mHandle != 0;
}

void Process::kill() {
    if (mHandle != 0) {
        ::kill(static_cast<pid_t>(mHandle), SIGKILL);
        wait();
    }
}

int Process::wait() {
    if (mHandle != 0) {
        ::waitpid(static_cast<pid_t>(mHandle), &mStatus, 0);
        mHandle = 0;
    }
    return WIFEXITED(mStatus) ? WEXITSTATUS(mStatus) : -1;
}

FullDisk::FullDisk(const fs::path&) {
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    mBefore = static_cast<std::intptr_t>(limit.rlim_cur);
    limit.rlim_cur = 100;
    std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

FullDisk::~FullDisk() {
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = static_cast<rlim_t>(mBefore);
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

std::size_t peakMemory() {
    std::ifstream status("/proc/self/status");  // getrusage also counts the process that started this one
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) {
            return std::stoul(line.substr(6)) * 1024;
        }
    }
    throw std::runtime_error("the system does not tell the memory of this process");
}

Unreadable::Unreadable(const fs::path& file) : mFile(file) {
    fs::rename(mFile, mFile.string() + ".aside");
    fs::create_symlink(mFile, mFile);
}

Unreadable::~Unreadable() {
    fs::rename(mFile.string() + ".aside", mFile);
}

}  // namespace Support
