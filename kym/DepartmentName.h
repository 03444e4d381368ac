#pragma once

#include <string>

namespace Kym {

/// Refuses, with a `std::runtime_error` that tells why, a name that Windows cannot give to a directory or
/// would change: an empty one, "." and "..", one with a separator or another reserved character, one that
/// ends with a dot or a blank, the name of a device; and one that is no UTF-8 or longer than the 255 bytes
/// that every file system has room for. The same on every system, since departments are for Windows.
void checkDepartmentName(const std::string& name);

}  // namespace Kym
