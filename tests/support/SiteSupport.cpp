#include "tests/support/SiteSupport.h"

#include <sstream>
#include <stdexcept>

#include <boost/filesystem/operations.hpp>

#include "base/Environment.h"
#include "base/FileManager.h"

namespace Support {

namespace fs = boost::filesystem;

Site::Site() {
    static bool used = false;
    if (used) {
        throw std::logic_error(
            "The library's stores live as long as the process: this test needs a process of its own. "
            "Run the tests through ctest.");
    }
    used = true;
    for (const char* directory : {"kym/config", "kym/plugins", "kym/data/install", "departments"}) {
        makeDirectory(directory);
    }
    Base::Environment::setEnvVariable("KYM_BASE_DIR", installation().string());
    Base::Environment::setEnvVariable("KYM_UGSITE_DIR", departments().string());
    Base::Environment::setEnvVariable("KYM_DEPT_DIR", "");
}

Site::~Site() {
    logTo("", "");
}

fs::path Site::makeDirectory(const fs::path& relative) const {
    fs::path directory = root() / relative;
    fs::create_directories(directory);
    return directory;
}

fs::path Site::makeFile(const fs::path& relative, std::string_view content) const {
    fs::path file = root() / relative;
    fs::create_directories(file.parent_path());
    Base::FileManager::replaceFile(file, content);
    return file;
}

void Site::block(const fs::path& file) const {
    fs::remove_all(file);
    fs::create_directories(file);
}

void Site::startLog(const std::string& loggers) const {
    logTo("", "");
    fs::remove(logFile());
    logTo(loggers, logFile());
}

std::vector<std::string> Site::logLines() const {
    std::vector<std::string> lines;
    if (fs::exists(logFile())) {
        std::istringstream text(Base::FileManager::readFile(logFile()));
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
    std::vector<std::string> cells(static_cast<std::size_t>(table.numberOfRowsInList()));
    int row = 0;
    for (std::string& cell : cells) {
        cell = boost::any_cast<std::string>(table.valueForListColumnRow(column, row++));
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

}  // namespace Support
