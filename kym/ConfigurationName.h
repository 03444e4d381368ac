#pragma once

#include <string>

namespace Kym {

// What the applications of the installation and of a plugin name as their configuration. A department's own
// name holds no blank.

inline constexpr const char* baseConfigurationName = "Base KYM";

inline std::string pluginConfigurationName(const std::string& plugin) {
    return plugin + " Plugin";
}

}  // namespace Kym
