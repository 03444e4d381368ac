#include "base/platform/UserFolders.h"

#include <cstdlib>

#include <boost/filesystem/operations.hpp>

namespace Base::Platform {

namespace {

boost::filesystem::path fromEnvironment(const char* name) {
    const char* value = std::getenv(name);
    const boost::filesystem::path folder(value ? value : "");
    return folder.is_absolute() ? folder : boost::filesystem::path();
}

}  // namespace

std::optional<boost::filesystem::path> applicationDataFolder() {
    boost::filesystem::path folder = fromEnvironment("XDG_CONFIG_HOME");
    if (folder.empty()) {
        const boost::filesystem::path home = fromEnvironment("HOME");
        if (home.empty()) {
            return std::nullopt;
        }
        folder = home / ".config";
    }
    boost::system::error_code error;
    boost::filesystem::create_directories(folder, error);
    return error ? std::nullopt : std::make_optional(folder);
}

}  // namespace Base::Platform
