#pragma once

#include <memory>

#include <boost/filesystem/path.hpp>

namespace Base {

namespace Platform {
class ReplacementFile;
}

/// A directory that is filled under another name and takes its place in one step when it is whole, so that
/// nobody ever finds it half-made, even when the process is killed.
///
///     Base::NewDirectory made(target);
///     ... fill made.path() ...
///     made.finish();
class NewDirectory {
  public:
    /// Makes an empty directory beside the target, whose name begins with a dot, and removes what killed
    /// processes left of such directories. `boost::filesystem::filesystem_error` when it cannot be made.
    explicit NewDirectory(const boost::filesystem::path& target);

    /// Removes the directory with all that it holds unless it has taken its place.
    ~NewDirectory();
    NewDirectory(const NewDirectory&) = delete;
    NewDirectory& operator=(const NewDirectory&) = delete;

    /// Where the directory stands until it takes its place.
    const boost::filesystem::path& path() const { return mPath; }

    /// Renames the directory to the target; errors as in `FileManager::rename`, which replaces nothing.
    void finish();

  private:
    boost::filesystem::path mTarget;
    boost::filesystem::path mPath;
    std::unique_ptr<Platform::ReplacementFile> mOwner;  // tells that this process lives
};

}  // namespace Base
