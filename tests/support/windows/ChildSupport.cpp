#include "tests/support/ChildSupport.h"

#include <chrono>
#include <stdexcept>
#include <thread>

#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>

namespace Support {

namespace {

std::string fromHex(const std::string& digits) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

}  // namespace

boost::filesystem::path childProgram() {
    return KYM_TEST_CHILD;
}

ChildReport awaitReport(const boost::filesystem::path& file) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!boost::filesystem::exists(file)) {
        if (std::chrono::steady_clock::now() > end) {
            throw std::runtime_error("The child wrote no report " + file.string());
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ChildReport report;
    boost::filesystem::ifstream in(file, std::ios::binary);
    std::string kind;
    std::string digits;
    while (in >> kind >> digits) {
        const std::string text = fromHex(digits.substr(1));
        if (kind == "argument") {
            report.arguments.push_back(text);
        } else if (kind == "variable") {
            report.environment.push_back(text);
        } else {
            report.directory = text;
        }
    }
    in.close();
    boost::filesystem::remove(file);
    return report;
}

}  // namespace Support
