#include "tests/support/SystemSupport.h"

#include <stdlib.h>

namespace Support {

const bool onWindows = false;

void writeLocalMachineText(const std::string&, const std::string&, const std::string&) {}

void deleteLocalMachineKey(const std::string&) {}

void useTimeZone(const std::string& rules) {
    ::setenv("TZ", rules.c_str(), 1);
}

}  // namespace Support
