#pragma once

#include <functional>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

namespace Support {

/// A file of settings with the object that keeps it. What it holds is one of many generations, each told by a
/// text of its own that makes up most of the file.
struct Store {
    boost::filesystem::path file;
    std::function<void()> load;  ///< reads the file anew
    std::function<void()> save;
    std::function<bool()> needsSaving;
    std::function<std::string()> text;
    std::function<void(const std::string&)> setText;

    void edit(int generation) const;

    /// The present generation, 0 before the first edit; `std::runtime_error` for a mixture.
    int generation() const;
};

/// Every kind of file that the library writes.
std::vector<std::string> storeKinds();

/// The store of a kind, read from its file below a site's directory; the directories of the file are made.
Store openStore(const std::string& kind, const boost::filesystem::path& siteDirectory);

/// The program that saves stores beside this process.
boost::filesystem::path saverProgram();

}  // namespace Support
