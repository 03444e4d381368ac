#include "base/platform/FileSystem.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace Base::Platform {
namespace {

error_code lastError() {
    return {errno, boost::system::system_category()};
}

bool mayAccess(const path& file, int mode) {
    return ::faccessat(AT_FDCWD, file.c_str(), mode, AT_EACCESS) == 0;
}

int descriptor(std::intptr_t handle) {
    return static_cast<int>(handle);
}

bool writeAll(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(file, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

// Some file systems cannot flush a directory; the file has replaced its target all the same.
void flushDirectory(const path& directory) {
    const int opened =
        ::open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (opened >= 0) {
        static_cast<void>(::fsync(opened));
        ::close(opened);
    }
}

}  // namespace

path reachablePath(const path& file) {
    return file;
}

path boundlessPath(const path& directory) {
    return directory;
}

void renameToNew(const path& file, const path& newFile, error_code& error) {
    int result = ::renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, newFile.c_str(), RENAME_NOREPLACE);
    if (result != 0 && (errno == EINVAL || errno == ENOSYS)) {  // not every file system can do it in one step
        struct stat status {};
        if (::lstat(newFile.c_str(), &status) == 0) {
            error = make_error_code(boost::system::errc::file_exists);
            return;
        }
        result = ::rename(file.c_str(), newFile.c_str());
    }
    error = result == 0 ? error_code() : lastError();
}

bool isDirectoryItself(const path& file) {
    struct stat status {};
    return ::lstat(file.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

void removeEntry(const path& file, error_code& error) {
    error = std::remove(file.c_str()) == 0 || errno == ENOENT ? error_code() : lastError();
}

bool waitsForHolder(const error_code&) {
    return false;
}

bool meansMissing(const error_code& error) {
    return error == boost::system::errc::no_such_file_or_directory ||
           error == boost::system::errc::not_a_directory;
}

bool exists(const path& file) {
    struct stat status {};
    return ::stat(file.c_str(), &status) == 0;
}

bool isDirectory(const path& file) {
    struct stat status {};
    return ::stat(file.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool isReadable(const path& file) {
    return mayAccess(file, R_OK);
}
bool isReadingDenied(const path& file) {
    return !isReadable(file);
}
bool isWritable(const path& file) {
    return mayAccess(file, W_OK);
}
bool isEnterable(const path& directory) {
    return mayAccess(directory, X_OK);
}
bool isOpenDirectory(const path& directory) {
    return mayAccess(directory, R_OK | X_OK);
}
bool isExecutableFile(const path& file) {
    return mayAccess(file, X_OK);
}

FileContent readFile(const path& file, error_code& error) {
    error.clear();
    FileContent content;
    // Without waiting, since nobody may ever write into a pipe of that name.
    const int opened = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status {};
    if (opened < 0 || ::fstat(opened, &status) != 0) {
        error = lastError();
    } else if (S_ISDIR(status.st_mode)) {
        error = make_error_code(boost::system::errc::is_a_directory);
    } else if (!S_ISREG(status.st_mode)) {
        error = make_error_code(boost::system::errc::operation_not_permitted);
    } else if (static_cast<std::uintmax_t>(status.st_size) > FileContent::sizeLimit) {
        error = make_error_code(boost::system::errc::file_too_large);
    } else {
        const auto known = static_cast<std::size_t>(status.st_size);
        content.resize(known + 1);  // one more, to see the end at once
        std::size_t size = 0;
        for (;;) {
            const ssize_t count = ::read(opened, content.data() + size, content.size() - size);
            if (count < 0 && errno != EINTR) {
                error = lastError();
                break;
            }
            if (count == 0) {
                break;
            }
            size += count > 0 ? static_cast<std::size_t>(count) : 0;
            if (count > 0 && size == known) {
                break;  // one more was asked for
            }
            if (size == content.size()) {
                content.resize(2 * size);
            }
        }
        content.resize(error ? 0 : size);
    }
    if (opened >= 0) {
        ::close(opened);
    }
    return content;
}

ReplacementFile::ReplacementFile(const path& name, error_code& error)
    : mName(name), mHandle(::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666)) {
    error.clear();
    if (mHandle < 0) {
        error = lastError();
        mName.clear();
    } else if (::flock(descriptor(mHandle), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        close();  // somebody has just taken it for abandoned and is removing it
        mName.clear();
        error = make_error_code(boost::system::errc::file_exists);
    }
}

ReplacementFile::~ReplacementFile() {
    if (!mName.empty()) {
        ::unlink(mName.c_str());
    }
    close();
}

void ReplacementFile::close() {
    if (mHandle >= 0) {
        ::close(descriptor(mHandle));
    }
    mHandle = -1;
}

void ReplacementFile::write(std::string_view content, error_code& error) {
    error.clear();
    if (!writeAll(descriptor(mHandle), content) || ::fsync(descriptor(mHandle)) != 0) {
        error = lastError();
    }
}

void ReplacementFile::replace(const path& target, error_code& error) {
    error.clear();
    struct stat old {};
    struct stat made {};
    const bool otherMode = ::stat(target.c_str(), &old) == 0 && ::fstat(descriptor(mHandle), &made) == 0 &&
                           (old.st_mode & 07777) != (made.st_mode & 07777);
    const mode_t added = made.st_mode & ~old.st_mode & 0777;
    // A file system that keeps no modes refuses to change them.
    if (otherMode && ::fchmod(descriptor(mHandle), old.st_mode & 07777) != 0 && added != 0) {
        error = lastError();
    } else if (::rename(mName.c_str(), target.c_str()) != 0) {
        error = lastError();
    } else {
        mName.clear();
        close();
        flushDirectory(target.parent_path());
    }
}

// The lock is the directory's own, so that no file is left by a process that is killed.
ReplacementLock::ReplacementLock(const path& name, error_code& error) : mHandle(-1) {
    constexpr int attempts = 10000;  // about ten seconds
    constexpr timespec pause{0, 1'000'000};
    error.clear();
    const path directory = name.parent_path();
    mHandle = ::open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (int attempt = 1; mHandle >= 0 && ::flock(descriptor(mHandle), LOCK_EX | LOCK_NB) != 0; ++attempt) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            return;
        }
        if (attempt == attempts) {
            error = make_error_code(boost::system::errc::device_or_resource_busy);
            return;
        }
        ::nanosleep(&pause, nullptr);
    }
}

ReplacementLock::~ReplacementLock() {
    if (mHandle >= 0) {
        ::close(descriptor(mHandle));
    }
}

void removeAbandoned(const path& replacementFile) {
    const int opened = ::open(replacementFile.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (opened >= 0) {
        if (::flock(opened, LOCK_EX | LOCK_NB) == 0) {
            ::unlink(replacementFile.c_str());
        }
        ::close(opened);
    }
}

unsigned long processNumber() {
    return static_cast<unsigned long>(::getpid());
}

AppendFile::AppendFile(const path& file, error_code& error)
    : mHandle(::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666)) {
    error = mHandle < 0 ? lastError() : error_code();
}

AppendFile::~AppendFile() {
    if (mHandle >= 0) {
        ::close(descriptor(mHandle));
    }
}

void AppendFile::append(std::string_view text) noexcept {
    writeAll(descriptor(mHandle), text);
}

}  // namespace Base::Platform
