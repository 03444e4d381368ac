#include "tests/support/SystemSupport.h"

namespace Support {

const bool onWindows = false;

void writeLocalMachineText(const std::string&, const std::string&, const std::string&) {}

void deleteLocalMachineKey(const std::string&) {}

}  // namespace Support
