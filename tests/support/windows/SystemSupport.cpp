#include "tests/support/SystemSupport.h"

#include <stdexcept>
#include <stdlib.h>
#include <windows.h>

namespace Support {
namespace {

void check(LSTATUS status, const std::string& key) {
    if (status != ERROR_SUCCESS) {
        throw std::runtime_error("HKEY_LOCAL_MACHINE\\" + key + ": error " + std::to_string(status));
    }
}

std::intptr_t open(const boost::filesystem::path& file, DWORD share) {
    const HANDLE handle = ::CreateFileW(file.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING,
                                        FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        throw std::runtime_error(file.string() + " cannot be opened");
    }
    return reinterpret_cast<std::intptr_t>(handle);
}

}  // namespace

const bool onWindows = true;

void writeLocalMachineText(const std::string& key, const std::string& valueName, const std::string& text) {
    check(::RegSetKeyValueA(HKEY_LOCAL_MACHINE, key.c_str(), valueName.c_str(), REG_SZ, text.c_str(),
                            static_cast<DWORD>(text.size() + 1)),
          key);
}

void deleteLocalMachineKey(const std::string& key) {
    check(::RegDeleteTreeA(HKEY_LOCAL_MACHINE, key.c_str()), key);
}

void useTimeZone(const std::string& rules) {
    ::_putenv_s("TZ", rules.c_str());
}

Unprivileged::Unprivileged() : mUser(0) {}

Unprivileged::~Unprivileged() = default;

Held::Held(const boost::filesystem::path& file) : mHandle(open(file, FILE_SHARE_READ | FILE_SHARE_WRITE)) {}

Held::~Held() {
    ::CloseHandle(reinterpret_cast<HANDLE>(mHandle));
}

Unreadable::Unreadable(const boost::filesystem::path& file) : mFile(file), mHandle(open(file, 0)) {}

Unreadable::~Unreadable() {
    ::CloseHandle(reinterpret_cast<HANDLE>(mHandle));
}

}  // namespace Support
