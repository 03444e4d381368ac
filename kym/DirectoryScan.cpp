#include "kym/DirectoryScan.h"

#include <algorithm>
#include <string>

#include <boost/filesystem/directory.hpp>

#include "base/platform/FileSystem.h"

namespace Kym {

std::vector<boost::filesystem::path> entriesInNameOrder(const boost::filesystem::path& directory) {
    std::vector<std::string> names;
    for (const auto& entry :
         boost::filesystem::directory_iterator(Base::Platform::reachablePath(directory))) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    std::vector<boost::filesystem::path> entries;
    entries.reserve(names.size());
    for (const std::string& name : names) {
        entries.push_back(directory / name);
    }
    return entries;
}

}  // namespace Kym
