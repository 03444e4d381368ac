#pragma once

#include <boost/filesystem/path.hpp>

namespace Kym {

/// Unpacks an archive into an existing directory, entries with their permissions and times. The process works
/// in that directory meanwhile, unless its path is too long for that, and is back in its old working
/// directory afterwards, whatever happens. `std::runtime_error` with the reason when the archive is damaged
/// or an entry cannot be made; what was unpacked until then stays. Of a damaged gzip file nothing is unpacked.
void unpackVersionFiles(const boost::filesystem::path& archive, const boost::filesystem::path& directory);

}  // namespace Kym
