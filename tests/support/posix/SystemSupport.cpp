#include "tests/support/SystemSupport.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>

namespace Support {
namespace {

namespace fs = boost::filesystem;

void become(uid_t user) {
    if (::seteuid(user) != 0) {
        throw std::runtime_error("the user cannot be changed");
    }
}

void limitFileSize(rlim_t bytes) {
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(bytes, limit.rlim_max);
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

}  // namespace

const bool onWindows = false;

void useTimeZone(const std::string& rules) {
    ::setenv("TZ", rules.c_str(), 1);
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

Unprivileged::Unprivileged() : State([user = ::geteuid()] { become(user); }) {
    if (::geteuid() == 0) {
        become(65534);
    }
}

Held::Held(const fs::path& file)
    : State([directory = file.parent_path(), before = fs::status(file.parent_path()).permissions()] {
          fs::permissions(directory, before);
      }) {
    fs::permissions(file.parent_path(),
                    fs::remove_perms | fs::owner_write | fs::group_write | fs::others_write);
}

FullDisk::FullDisk(const fs::path&) : State([] { limitFileSize(RLIM_INFINITY); }) {
    std::signal(SIGXFSZ, SIG_IGN);
    limitFileSize(100);
}

Unreadable::Unreadable(const fs::path& file) : State([file] { fs::rename(file.string() + ".aside", file); }) {
    fs::rename(file, file.string() + ".aside");
    fs::create_symlink(file, file);
}

Process::Process(const fs::path& program, const std::vector<std::string>& arguments) {
    std::vector<char*> texts = {const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments) {
        texts.push_back(const_cast<char*>(argument.c_str()));
    }
    texts.push_back(nullptr);
    pid_t child = 0;
    if (::posix_spawn(&child, program.c_str(), nullptr, nullptr, texts.data(), environ) != 0) {
        throw std::runtime_error(program.string() + " cannot be started");
    }
    mHandle = child;
}

Process::~Process() {
    if (mHandle != 0) {
        ::kill(static_cast<pid_t>(mHandle), SIGKILL);
        wait();
    }
}

int Process::wait() {
    int status = 0;
    ::waitpid(static_cast<pid_t>(mHandle), &status, 0);
    mHandle = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace Support
