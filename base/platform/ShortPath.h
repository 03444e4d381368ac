#pragma once

#include <string>

namespace Base::Platform {

/// The short (8.3) form of the path of something that exists, as GetShortPathName gives it. Empty when there
/// is none, or when it does not fit a buffer of 1024 bytes with its terminating zero. Where the system has no
/// short paths, the path itself when it exists.
std::string shortPath(const std::string& longPath);

}  // namespace Base::Platform
