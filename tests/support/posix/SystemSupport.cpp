#include "tests/support/SystemSupport.h"

#include <stdexcept>
#include <stdlib.h>
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

Unreadable::Unreadable(const fs::path& file) : mFile(file) {
    fs::rename(mFile, mFile.string() + ".aside");
    fs::create_symlink(mFile, mFile);
}

Unreadable::~Unreadable() {
    fs::rename(mFile.string() + ".aside", mFile);
}

}  // namespace Support
