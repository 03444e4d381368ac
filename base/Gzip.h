#pragma once

#include <boost/filesystem/path.hpp>

namespace Base {

/// Reads a gzip file through and compares it with the checksums and lengths in it (RFC 1952), which
/// libarchive leaves alone. `std::runtime_error`, naming the file, when it is damaged or ends too soon. A
/// file that is not compressed by gzip passes.
void checkGzip(const boost::filesystem::path& file);

}  // namespace Base
