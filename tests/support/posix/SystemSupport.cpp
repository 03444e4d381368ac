#include "tests/support/SystemSupport.h"

#include <stdexcept>

namespace Support {

const bool isWindows = false;

void writeLocalMachineText(const std::string&, const std::string&, const std::string&) {
    throw std::runtime_error("this system has no registry");
}

void deleteLocalMachineKey(const std::string&) {
    throw std::runtime_error("this system has no registry");
}

}  // namespace Support
