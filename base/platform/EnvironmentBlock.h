#pragma once

#include <optional>
#include <string>
#include <vector>

/// The environment that this process got from the system. Texts are UTF-8.
namespace Base::Platform {

/// The value of a variable; nothing when it is not set or when no variable can have that name. On Windows the
/// case of the name does not count.
std::optional<std::string> environmentValue(const std::string& name);

/// Sets a variable, or removes it when there is no value. `BaseException` when the system refuses.
void setEnvironmentValue(const std::string& name, const std::optional<std::string>& value);

/// Every NAME=VALUE string in the order of the system.
std::vector<std::string> environmentStrings();

}  // namespace Base::Platform
