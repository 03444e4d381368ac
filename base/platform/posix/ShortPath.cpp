#include "base/platform/ShortPath.h"

#include <boost/filesystem/operations.hpp>

namespace Base::Platform {

std::string shortPath(const std::string& longPath) {
    if (longPath.find('\0') != std::string::npos) {
        return {};
    }
    boost::system::error_code error;
    return boost::filesystem::exists(longPath, error) ? longPath : std::string();
}

}  // namespace Base::Platform
