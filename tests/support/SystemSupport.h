#pragma once

#include <string>

namespace Support {

/// Whether this system has a registry and short paths, as the product's has.
extern const bool isWindows;

/// Writes a text under HKEY_LOCAL_MACHINE, making the key when it is missing; removes the key with all that
/// it holds. `std::runtime_error` when that fails, and where the system has no registry.
void writeLocalMachineText(const std::string& key, const std::string& valueName, const std::string& text);
void deleteLocalMachineKey(const std::string& key);

}  // namespace Support
