#include "kym/DirectoryScan.h"

#include <map>
#include <string>

#include <boost/filesystem/directory.hpp>

namespace Kym {

std::vector<boost::filesystem::path> entriesInNameOrder(const boost::filesystem::path& directory) {
    std::map<std::string, boost::filesystem::path> byName;
    for (const auto& entry : boost::filesystem::directory_iterator(directory)) {
        byName.emplace(entry.path().filename().string(), entry.path());
    }
    std::vector<boost::filesystem::path> entries;
    entries.reserve(byName.size());
    for (auto& [name, path] : byName) {
        entries.push_back(std::move(path));
    }
    return entries;
}

}  // namespace Kym
