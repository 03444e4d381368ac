#pragma once

#include <string>

namespace Base::Platform {

/// A text value (REG_SZ, REG_EXPAND_SZ) under HKEY_LOCAL_MACHINE, up to its first NUL. Empty when the key or
/// the value is missing, when the value is of another type, or when the value with its NUL is longer than 260
/// bytes. Where the system has no registry, always empty.
std::string localMachineText(const std::string& key, const std::string& valueName);

}  // namespace Base::Platform
