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
    std::vector<std::string>* texts = &report[""];
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with("    ")) {
            texts->push_back(line.substr(4));
        } else if (line.starts_with("   +")) {
            texts->back() += '\n' + line.substr(4);
        } else {
            texts = &report[line];
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
