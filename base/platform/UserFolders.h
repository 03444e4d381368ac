#pragma once

#include <optional>

#include <boost/filesystem/path.hpp>

namespace Base::Platform {

/// The folder of the user's application data (CSIDL_APPDATA, made when it is missing); nothing when the
/// system cannot tell it.
std::optional<boost::filesystem::path> applicationDataFolder();

}  // namespace Base::Platform
