#pragma once

#include <map>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

namespace Support {

/// The texts below each heading of what the child program says that it got, in UTF-8.
using ChildReport = std::map<std::string, std::vector<std::string>>;

/// The program that writes a report to the file named by the variable SAMPLE_REPORT and ends.
boost::filesystem::path childProgram();

/// Waits, at most 20 seconds, for the report and removes it. `std::runtime_error` when none came.
ChildReport awaitReport(const boost::filesystem::path& file);

}  // namespace Support
