#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "base/DataSourceInterface.h"

#include "gtest/gtest.h"
#include "tests/support/ScratchSupport.h"

namespace Support {

/// An installation "kym" and a directory "departments" in a fresh folder, to which KYM_BASE_DIR and
/// KYM_UGSITE_DIR of this process lead; KYM_DEPT_DIR is removed. A process can have one site only, since the
/// library's stores live as long: a second one throws.
class Site {
  public:
    Site();
    ~Site();
    Site(const Site&) = delete;
    Site& operator=(const Site&) = delete;

    const boost::filesystem::path& root() const { return mScratch.folder(); }
    boost::filesystem::path installation() const { return root() / "kym"; }
    boost::filesystem::path departments() const { return root() / "departments"; }

    /// Make a directory or a file below the root, with the directories above it, and return its whole path.
    boost::filesystem::path makeDirectory(const boost::filesystem::path& relative) const;
    boost::filesystem::path makeFile(const boost::filesystem::path& relative,
                                     std::string_view content = "") const;

    /// Stands a directory in the place of the file, which can neither be read nor be replaced.
    void block(const boost::filesystem::path& file) const;

    /// Switches loggers on (names separated by commas); the lines that were written since then, in order.
    void startLog(const std::string& loggers = "all") const;
    std::vector<std::string> logLines() const;

  private:
    boost::filesystem::path logFile() const { return root() / "lines.log"; }

    Scratch mScratch;
};

/// A test that has a site.
class SiteTest : public testing::Test {
  protected:
    Site site;
};

/// What a call complains of; "no error" when it does not.
std::string messageOf(const std::function<void()>& call);

/// The cells of a column, from the first row to the last.
std::vector<std::string> cellsOf(const Base::DataSourceInterface& table, const std::string& column);

/// Appends a row and fills its cells.
using Cells = std::vector<std::pair<std::string, std::string>>;  // of columns
void addRow(Base::DataSourceInterface& table, const Cells& cells = {});

}  // namespace Support
