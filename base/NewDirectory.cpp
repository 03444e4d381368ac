#include "base/NewDirectory.h"

#include <string>
#include <vector>

#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/exception.hpp>

#include "base/FileManager.h"
#include "base/platform/FileSystem.h"

namespace Base {
namespace {

using boost::filesystem::path;
using boost::system::error_code;

constexpr const char* directorySuffix = ".kymdir";
constexpr const char* ownerSuffix = ".kymtmp";

path withSuffix(const path& stem, const char* suffix) {
    return path(stem) += suffix;
}

// Beside each of these directories stands a file that is locked while its process lives.
void removeLeftovers(const path& parent, const std::string& prefix) {
    std::vector<path> stems;
    error_code error;
    boost::filesystem::directory_iterator entry(Platform::reachablePath(parent), error);
    for (; !error && entry != boost::filesystem::directory_iterator(); entry.increment(error)) {
        const path name = entry->path().filename();
        if (name.string().starts_with(prefix) &&
            (name.extension() == directorySuffix || name.extension() == ownerSuffix)) {
            stems.push_back(parent / name.stem());
        }
    }
    for (const path& stem : stems) {
        const path owner = Platform::reachablePath(withSuffix(stem, ownerSuffix));
        Platform::removeAbandoned(owner);
        if (!Platform::exists(owner)) {
            try {
                FileManager::removeAll(withSuffix(stem, directorySuffix));
            } catch (const boost::filesystem::filesystem_error&) {
                // It is in nobody's way.
            }
        }
    }
}

}  // namespace

NewDirectory::NewDirectory(const boost::filesystem::path& target) : mTarget(target) {
    static unsigned counter = 0;
    const std::string prefix = '.' + target.filename().string() + '.';
    removeLeftovers(target.parent_path(), prefix);
    error_code error;
    for (int attempt = 0; attempt < 8; ++attempt) {
        const boost::filesystem::path stem =
            target.parent_path() /
            (prefix + std::to_string(Platform::processNumber()) + '-' + std::to_string(++counter));
        const boost::filesystem::path owner = Platform::reachablePath(withSuffix(stem, ownerSuffix));
        mOwner = std::make_unique<Platform::ReplacementFile>(owner, error);
        if (error && error != boost::system::errc::file_exists) {
            break;
        }
        // Somebody may have taken it for abandoned before it was locked.
        if (!error && Platform::exists(owner) &&
            FileManager::createDirectory(withSuffix(stem, directorySuffix))) {
            mPath = withSuffix(stem, directorySuffix);
            return;
        }
    }
    throw boost::filesystem::filesystem_error(
        "Cannot make a directory beside", target,
        error ? error : make_error_code(boost::system::errc::file_exists));
}

NewDirectory::~NewDirectory() {
    try {
        FileManager::removeAll(mPath);
    } catch (const std::exception&) {
        // The next one that is made here removes it.
    }
}

void NewDirectory::finish() {
    FileManager::rename(mPath, mTarget);
    mPath.clear();
    mOwner.reset();
}

}  // namespace Base
