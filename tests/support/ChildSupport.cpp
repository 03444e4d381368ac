#include "tests/support/ChildSupport.h"

#include <chrono>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <boost/filesystem/operations.hpp>

#include "base/FileManager.h"

namespace Support {

namespace {

std::string fromHex(const std::string& digits) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

ChildReport parse(const std::string& content) {
    ChildReport report;
    std::istringstream in(content);
    for (std::string kind, digits; in >> kind >> digits;) {
        const std::string text = fromHex(digits.substr(1));
        if (kind == "argument") {
            report.arguments.push_back(text);
        } else if (kind == "word") {
            report.words.push_back(text);
        } else if (kind == "variable") {
            if (!text.starts_with("WINE") && !text.starts_with("System")) {
                report.environment.push_back(text);
            }
        } else if (kind == "directory") {
            report.directory = text;
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
            const ChildReport report = parse(Base::FileManager::readFile(file));
            boost::filesystem::remove(file);
            return report;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    throw std::runtime_error("The child wrote no report " + file.string());
}

}  // namespace Support
