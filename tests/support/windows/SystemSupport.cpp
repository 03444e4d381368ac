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

}  // namespace Support
