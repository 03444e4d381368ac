#pragma once

#include <vector>

#include <boost/filesystem/path.hpp>

namespace Kym {

/// What a directory holds, one level deep, in the byte order of the names, so that every machine sees the
/// same order. `boost::filesystem::filesystem_error` when it cannot be read.
std::vector<boost::filesystem::path> entriesInNameOrder(const boost::filesystem::path& directory);

}  // namespace Kym
