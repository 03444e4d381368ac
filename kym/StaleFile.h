#pragma once

#include <boost/filesystem/path.hpp>

namespace Kym {

/// A file that programs left in a temporary directory long ago.
struct StaleFile {
    boost::filesystem::path path;
    int age;  ///< how many whole days ago it was last written
};

}  // namespace Kym
