#include "base/platform/Registry.h"

namespace Base::Platform {

std::string localMachineText(const std::string& /*key*/, const std::string& /*valueName*/) {
    return {};
}

}  // namespace Base::Platform
