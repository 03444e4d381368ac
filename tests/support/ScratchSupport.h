#pragma once

#include <fstream>
#include <set>
#include <string>
#include <string_view>

#include <boost/filesystem/operations.hpp>

namespace Support {

/// A fresh folder for the files of one test, whose name has a blank and a letter beyond ASCII; it goes away
/// with the object.
class Scratch {
  public:
    Scratch()
        : mFolder(boost::filesystem::temp_directory_path() /
                  boost::filesystem::unique_path("kym scratch ü %%%%-%%%%-%%%%")) {
        boost::filesystem::create_directories(mFolder);
    }
    ~Scratch() {
        boost::system::error_code ignored;
        boost::filesystem::remove_all(mFolder, ignored);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    const boost::filesystem::path& folder() const { return mFolder; }
    boost::filesystem::path operator/(const std::string& name) const { return mFolder / name; }

    boost::filesystem::path write(const std::string& name, std::string_view content) const {
        boost::filesystem::remove(mFolder / name);  // much faster than to truncate it on some file systems
        // The stream of Boost.Filesystem knows no name beyond ASCII on Windows.
        std::ofstream((mFolder / name).c_str(), std::ios::binary) << content;
        return mFolder / name;
    }

  private:
    boost::filesystem::path mFolder;
};

/// Switches loggers on (names separated by commas), which append to a file; those of before stop and let go
/// of theirs.
void logTo(const std::string& loggers, const boost::filesystem::path& file);

std::set<std::string> namesIn(const boost::filesystem::path& folder);

/// A recorded file of tests/data.
boost::filesystem::path recorded(const std::string& name);

}  // namespace Support
