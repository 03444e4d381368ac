#include "tests/support/ChildSupport.h"

#include <chrono>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <boost/filesystem/operations.hpp>

#include "base/FileManager.h"

namespace Support {

namespace {

ChildReport parse(const std::string& content) {
    ChildReport report;
    std::istringstream in(content);
    for (std::string record; std::getline(in, record, '\0');) {
        const std::string text = record.substr(1);
        switch (record.front()) {
            case 'a':
                report.arguments.push_back(text);
                break;
            case 'w':
                report.words.push_back(text);
                break;
            case 'd':
                report.directory = text;
                break;
            default:
                if (!text.starts_with("WINE") && !text.starts_with("System")) {
                    report.environment.push_back(text);
                }
        }
    }
    return report;
}

}  // namespace

boost::filesystem::path childProgram() {
    return KYM_TEST_CHILD;
}

ChildReport awaitReport(const boost::filesystem::path& file) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < end) {
        if (Base::FileManager::exists(file)) {
            ChildReport report = parse(Base::FileManager::readFile(file));
            boost::filesystem::remove(file);
            return report;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    throw std::runtime_error("The child wrote no report " + file.string());
}

}  // namespace Support
