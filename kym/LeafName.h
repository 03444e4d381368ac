#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

namespace Kym {

/// The last component of a path; a separator at its end does not count.
inline std::string leafName(boost::filesystem::path path) {
    while (path.has_parent_path() && (path.filename().empty() || path.filename() == ".")) {
        path = path.parent_path();
    }
    return path.filename().string();
}

}  // namespace Kym
