#pragma once

#include <cstdint>
#include <string_view>

#include <boost/filesystem/path.hpp>

#include "base/BaseException.h"
#include "base/platform/Export.h"

namespace Base {

/// A file that was not saved, since somebody else has changed it after it was loaded. Nothing has changed on
/// the disk, and what was to be saved still needs saving. Either load again, which takes over what the others
/// wrote, or call `saveOverChanges` and save again.
class BASE_EXPORT FileChanged : public BaseException {
  public:
    explicit FileChanged(const boost::filesystem::path& file);
    FileChanged(const FileChanged&);
    FileChanged& operator=(const FileChanged&);
    ~FileChanged() override;

    const boost::filesystem::path& file() const { return mFile; }

  private:
    boost::filesystem::path mFile;
};

/// Lets this process replace what the file holds now. When somebody changes it once more before it is saved,
/// saving fails again. `boost::filesystem::filesystem_error` when the file cannot be read.
BASE_EXPORT void saveOverChanges(const boost::filesystem::path& file);

/// What a file held when it was loaded or saved. An object keeps it between the two, so that it does not
/// replace what somebody else wrote meanwhile. The content counts, and no time: a file that was written again
/// with the same content has not changed.
class BASE_EXPORT FileState {
  public:
    /// Nothing is known of the file, and saving may replace whatever it holds.
    FileState() = default;

    /// There was no file, or one with this content.
    static FileState missing();
    static FileState of(std::string_view content);

    bool isKnown() const { return mKind != Kind::Unknown; }
    bool operator==(const FileState&) const = default;

  private:
    enum class Kind : std::uint8_t { Unknown, Missing, Content };

    Kind mKind = Kind::Unknown;
    std::uint64_t mSize = 0;
    std::uint64_t mSum = 0;
};

}  // namespace Base
