#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

namespace Support {

struct TarEntry {
    std::string name;  ///< UTF-8; a "/" at its end makes a directory
    std::string content;
    unsigned mode = 0644;
    std::string link = {};  ///< what a symbolic link leads to; empty for a file and a directory
};

/// Text that does not compress well.
std::string noise(std::size_t size);

/// The time of change that every entry carries.
constexpr long long tarEntryTime = 1'000'000'000;

/// The bytes of a tar archive with these entries.
std::string tar(const std::vector<TarEntry>& entries, bool compressed);

/// The same, compressed by gzip.
inline std::string tarGz(const std::vector<TarEntry>& entries) {
    return tar(entries, true);
}

}  // namespace Support
