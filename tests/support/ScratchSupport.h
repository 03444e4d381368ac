#pragma once

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>

namespace Support {

/// A fresh folder for the files of one test; it goes away with the object.
class Scratch {
  public:
    Scratch()
        : mFolder(boost::filesystem::temp_directory_path() /
                  boost::filesystem::unique_path("scratch-%%%%%%%%%%%%")) {
        boost::filesystem::create_directories(mFolder);
    }
    ~Scratch() {
        boost::system::error_code ignored;
        boost::filesystem::remove_all(mFolder, ignored);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    boost::filesystem::path operator/(const std::string& name) const { return mFolder / name; }

    boost::filesystem::path write(const std::string& name, std::string_view content) const {
        boost::filesystem::remove(mFolder / name);  // much faster than to truncate it on some file systems
        boost::filesystem::ofstream(mFolder / name, std::ios::binary | std::ios::trunc) << content;
        return mFolder / name;
    }

  private:
    boost::filesystem::path mFolder;
};

/// The bytes of a file; empty when it cannot be read.
inline std::string bytesOf(const boost::filesystem::path& file) {
    std::ifstream stream(file.c_str(), std::ios::binary);  // that of Boost knows no name beyond ASCII on Windows
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// A recorded file of tests/data.
boost::filesystem::path recorded(const std::string& name);

}  // namespace Support
