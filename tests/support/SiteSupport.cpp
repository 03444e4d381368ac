#include "tests/support/SiteSupport.h"

#include <sstream>
#include <stdexcept>

#include <boost/filesystem/operations.hpp>
#include <pugixml.hpp>

#include "base/BaseKit.h"
#include "base/Environment.h"
#include "base/FileManager.h"

namespace Support {
namespace {

namespace fs = boost::filesystem;

class LogToFile : public Base::InitializeDelegate {
  public:
    LogToFile(std::string loggers, std::string file) : mLoggers(std::move(loggers)), mFile(std::move(file)) {}
    std::string enabledLoggers() const override { return mLoggers; }
    std::string logFile() const override { return mFile; }

  private:
    std::string mLoggers;
    std::string mFile;
};

}  // namespace

Site::Site() {
    static bool used = false;
    if (used) {
        throw std::logic_error(
            "The library's stores live as long as the process: this test needs a process of its own. "
            "Run the tests through ctest.");
    }
    used = true;
    const std::string unique = fs::unique_path("%%%%-%%%%-%%%%").string();
    mRoot = fs::temp_directory_path() / ("kym sité " + unique);
    for (const char* directory : {"kym/config", "kym/plugins", "kym/data/install", "departments"}) {
        makeDirectory(directory);
    }
    Base::Environment::setEnvVariable("KYM_BASE_DIR", installation().string());
    Base::Environment::setEnvVariable("KYM_UGSITE_DIR", departments().string());
    Base::Environment::setEnvVariable("KYM_DEPT_DIR", "");
}

Site::~Site() {
    const LogToFile off("", "");
    Base::BaseKit::initialize(&off);
    boost::system::error_code ignored;
    fs::remove_all(mRoot, ignored);
}

fs::path Site::makeDirectory(const fs::path& relative) const {
    const fs::path directory = mRoot / relative;
    fs::create_directories(directory);
    return directory;
}

fs::path Site::makeFile(const fs::path& relative, std::string_view content) const {
    const fs::path file = mRoot / relative;
    fs::create_directories(file.parent_path());
    Base::FileManager::replaceFile(file, content);
    return file;
}

void Site::block(const fs::path& file) const {
    fs::remove_all(file);
    fs::create_directories(file);
}

void Site::startLog(const std::string& loggers) const {
    const LogToFile off("", "");
    Base::BaseKit::initialize(&off);
    fs::remove(logFile());
    const LogToFile on(loggers, logFile().string());
    Base::BaseKit::initialize(&on);
}

std::vector<std::string> Site::logLines() const {
    std::vector<std::string> lines;
    if (fs::exists(logFile())) {
        std::istringstream text(contentOf(logFile()));
        for (std::string line; std::getline(text, line);) {
            lines.push_back(line);
        }
    }
    return lines;
}

std::string messageOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "no error";
}

std::vector<std::string> cellsOf(const Base::DataSourceInterface& table, const std::string& column) {
    std::vector<std::string> cells;
    for (int row = 0; row < table.numberOfRowsInList(); ++row) {
        cells.push_back(boost::any_cast<std::string>(table.valueForListColumnRow(column, row)));
    }
    return cells;
}

void addRow(Base::DataSourceInterface& table, const Cells& cells) {
    const int row = table.numberOfRowsInList();
    table.insertRow(row);
    for (const auto& [column, text] : cells) {
        table.setValueForListColumnRow(column, row, text);
    }
}

std::string contentOf(const fs::path& file) {
    return Base::FileManager::readFile(file);
}

std::vector<std::string> keysOf(const fs::path& archive) {
    pugi::xml_document document;
    if (!document.load_string(contentOf(archive).c_str())) {
        throw std::runtime_error(archive.string() + " is no XML file");
    }
    std::vector<std::string> keys;
    for (const pugi::xml_node& member : document.child("archive").children()) {
        keys.push_back(member.attribute("key").value());
    }
    return keys;
}

}  // namespace Support
