#pragma once

#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

namespace Support {

/// What the child program says that it got. Texts are UTF-8.
struct ChildReport {
    std::vector<std::string> arguments;    ///< as the C run-time splits the command line, without the program
    std::vector<std::string> words;        ///< as `CommandLineToArgvW` splits it
    std::vector<std::string> environment;  ///< NAME=VALUE, in the order of the block; without what Wine adds
    std::string directory;
};

/// The program that writes a report to the file named by the variable KYM_TEST_REPORT and ends.
boost::filesystem::path childProgram();

/// Waits, at most 20 seconds, for the report and removes it. `std::runtime_error` when none came.
ChildReport awaitReport(const boost::filesystem::path& file);

}  // namespace Support
