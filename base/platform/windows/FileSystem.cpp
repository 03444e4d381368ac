#include "base/platform/FileSystem.h"

#include <algorithm>
#include <windows.h>

#include <boost/filesystem/operations.hpp>

#include "base/Environment.h"
#include "base/FileManager.h"

namespace Base::Platform {
namespace {

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

error_code lastError() {
    return {static_cast<int>(::GetLastError()), boost::system::system_category()};
}

HANDLE open(const path& file, DWORD access, DWORD share, DWORD disposition, DWORD flags) {
    return ::CreateFileW(file.c_str(), access, share, nullptr, disposition, flags, nullptr);
}

HANDLE systemHandle(std::intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}
bool isOpen(std::intptr_t handle) {
    return systemHandle(handle) != INVALID_HANDLE_VALUE;
}

bool opens(const path& file, DWORD access, DWORD flags) {
    const HANDLE opened = open(file, access, shareAll, OPEN_EXISTING, flags);
    return opened != INVALID_HANDLE_VALUE && ::CloseHandle(opened);
}

DWORD portion(std::size_t size) {
    return static_cast<DWORD>(std::min<std::size_t>(size, 1U << 30U));
}

bool writeAll(HANDLE file, std::string_view text) {
    while (!text.empty()) {
        DWORD written = 0;
        if (!::WriteFile(file, text.data(), portion(text.size()), &written, nullptr)) {
            return false;
        }
        text.remove_prefix(written);
    }
    return true;
}

bool isBusy(const error_code& error) {
    return error.value() == ERROR_ACCESS_DENIED || error.value() == ERROR_SHARING_VIOLATION ||
           error.value() == ERROR_LOCK_VIOLATION;
}

constexpr int attempts = 45;  // with the pauses, about two seconds
constexpr DWORD pause = 50;   // milliseconds

// The attempts at one file that somebody may hold for a while.
class Patience {
  public:
    // Waits a moment for the next attempt, first a very short one; false when there is to be none.
    bool waits(const error_code& error, int most = attempts) {
        if (!isBusy(error) || mAttempt >= most) {
            return false;
        }
        ++mAttempt;
        ::Sleep(mPause);
        mPause = std::min(2 * mPause, pause);
        return true;
    }

  private:
    int mAttempt = 1;
    DWORD mPause = 1;
};

// Reading is denied for a moment while a removed file is still open somewhere; a real denial is soon told.
int readAttempts(const path& file, const error_code& error) {
    constexpr int attemptsWhenDenied = 9;  // 0.15 seconds
    if (error.value() != ERROR_ACCESS_DENIED) {
        return attempts;
    }
    return isDirectory(file) ? 1 : attemptsWhenDenied;
}

bool isPrefixed(const path& whole) {
    return whole.native().starts_with(L"\\\\?\\");
}

path prefixed(const path& whole) {
    std::wstring text = path(whole.lexically_normal()).make_preferred().native();
    const bool onServer = text.starts_with(L"\\\\");
    return path((onServer ? L"\\\\?\\UNC" : L"\\\\?\\") + text.substr(onServer ? 1 : 0));
}

}  // namespace

path reachablePath(const path& file) {
    constexpr std::size_t longest =
        200;  // leaves room, below 260, for the names of temporary files and copies
    error_code error;
    const path whole = file.is_absolute() ? file : boost::filesystem::absolute(file, error);
    if (error || whole.size() < longest || isPrefixed(whole)) {
        return file;
    }
    return prefixed(whole);
}

path boundlessPath(const path& directory) {
    error_code error;
    const path whole = boost::filesystem::absolute(directory, error);
    return error || directory.empty() || isPrefixed(whole) ? directory : prefixed(whole);
}

void renameToNew(const path& file, const path& newFile, error_code& error) {
    error = ::MoveFileExW(file.c_str(), newFile.c_str(), 0) ? error_code() : lastError();
}

bool isDirectoryItself(const path& file) {
    WIN32_FIND_DATAW found{};
    const HANDLE search = ::FindFirstFileW(file.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        return false;
    }
    ::FindClose(search);
    const bool isLink = (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
                        IsReparseTagNameSurrogate(found.dwReserved0);
    return (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && !isLink;
}

// A read-only file cannot be removed.
void removeEntry(const path& file, error_code& error) {
    const DWORD attributes = ::GetFileAttributesW(file.c_str());
    const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
    const bool isReadOnly = exists && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (isReadOnly) {
        ::SetFileAttributesW(file.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    }
    const bool isDirectoryOrLinkToOne = exists && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const BOOL removed =
        isDirectoryOrLinkToOne ? ::RemoveDirectoryW(file.c_str()) : ::DeleteFileW(file.c_str());
    error = removed ? error_code() : lastError();
    if (error && isReadOnly) {
        ::SetFileAttributesW(file.c_str(), attributes);
    }
    if (error.value() == ERROR_FILE_NOT_FOUND || error.value() == ERROR_PATH_NOT_FOUND) {
        error.clear();
    }
}

bool waitsForHolder(const error_code& error) {
    const bool mayBeHeld = isBusy(error) || error.value() == ERROR_DIR_NOT_EMPTY;
    if (mayBeHeld) {
        ::Sleep(pause);
    }
    return mayBeHeld;
}

bool meansMissing(const error_code& error) {
    switch (error.value()) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
        case ERROR_INVALID_NAME:
        case ERROR_BAD_PATHNAME:
        case ERROR_DIRECTORY:
            return true;
        default:
            return false;
    }
}

// Attributes are had without opening the file, but they are those of a link itself.
bool exists(const path& file) {
    const DWORD attributes = ::GetFileAttributesW(file.c_str());
    error_code error;
    return attributes != INVALID_FILE_ATTRIBUTES &&
           ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0 || boost::filesystem::exists(file, error));
}

bool isDirectory(const path& file) {
    const DWORD attributes = ::GetFileAttributesW(file.c_str());
    error_code error;
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
           ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0 || boost::filesystem::is_directory(file, error));
}

bool isReadable(const path& file) {
    return opens(file, GENERIC_READ, FILE_FLAG_BACKUP_SEMANTICS);
}

bool isReadingDenied(const path& file) {
    return !isReadable(file) && ::GetLastError() == ERROR_ACCESS_DENIED;
}

// Opening is left to the replacing, which waits for others to close the file.
bool isWritable(const path& file) {
    const DWORD attributes = ::GetFileAttributesW(file.c_str());
    return attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_READONLY) == 0;
}

bool isEnterable(const path& directory) {
    return opens(directory, FILE_TRAVERSE, FILE_FLAG_BACKUP_SEMANTICS);
}

bool isOpenDirectory(const path& directory) {
    return opens(directory, GENERIC_READ | FILE_TRAVERSE, FILE_FLAG_BACKUP_SEMANTICS);
}

bool isExecutableFile(const path& file) {
    return FileManager::hasExecutableExtension(file.filename().string(),
                                               Environment::getEnvVariable("PATHEXT"));
}

FileContent readFile(const path& file, error_code& error) {
    error.clear();
    Patience patience;
    HANDLE opened = INVALID_HANDLE_VALUE;
    while (opened == INVALID_HANDLE_VALUE) {
        opened = open(file, GENERIC_READ, shareAll, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN);
        if (opened == INVALID_HANDLE_VALUE) {
            error = lastError();
            if (!patience.waits(error, readAttempts(file, error))) {
                return {};
            }
        }
    }
    error.clear();
    FileContent content;
    LARGE_INTEGER known{};
    if (!::GetFileSizeEx(opened, &known)) {
        error = lastError();
    } else if (static_cast<std::uint64_t>(known.QuadPart) > FileContent::sizeLimit) {
        error = make_error_code(boost::system::errc::file_too_large);
    }
    const auto knownSize = error ? 0 : static_cast<std::size_t>(known.QuadPart);
    content.resize(knownSize + 1);  // one more, to see the end at once
    std::size_t size = 0;
    for (DWORD count = 1; !error && count != 0; size += count) {
        if (size == knownSize && size != 0) {
            break;  // one more was asked for
        }
        if (size == content.size()) {
            content.resize(2 * size);
        }
        while (!error &&
               !::ReadFile(opened, content.data() + size, portion(content.size() - size), &count, nullptr)) {
            error = lastError();
            count = 0;
            if (patience.waits(error)) {
                error.clear();
            }
        }
    }
    content.resize(error ? 0 : size);
    ::CloseHandle(opened);
    return content;
}

// Without FILE_SHARE_DELETE, nobody can remove the file while it is open.
ReplacementFile::ReplacementFile(const path& name, error_code& error)
    : mName(name),
      mHandle(reinterpret_cast<std::intptr_t>(
          open(name, GENERIC_WRITE, FILE_SHARE_READ, CREATE_NEW, FILE_ATTRIBUTE_NORMAL))) {
    error.clear();
    if (!isOpen(mHandle)) {
        error = lastError();
        mName.clear();
    }
}

ReplacementFile::~ReplacementFile() {
    close();
    if (!mName.empty()) {
        ::DeleteFileW(mName.c_str());
    }
}

void ReplacementFile::close() {
    if (isOpen(mHandle)) {
        ::CloseHandle(systemHandle(mHandle));
    }
    mHandle = reinterpret_cast<std::intptr_t>(INVALID_HANDLE_VALUE);
}

void ReplacementFile::write(std::string_view content, error_code& error) {
    error.clear();
    if (!writeAll(systemHandle(mHandle), content) || !::FlushFileBuffers(systemHandle(mHandle))) {
        error = lastError();
    }
}

void ReplacementFile::replace(const path& target, error_code& error) {
    close();
    Patience patience;
    while (
        !::MoveFileExW(mName.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        error = lastError();
        if (!patience.waits(error)) {
            return;
        }
    }
    error.clear();
    mName.clear();
}

// The file goes away with the process, whatever ends it.
ReplacementLock::ReplacementLock(const path& name, error_code& error)
    : mHandle(reinterpret_cast<std::intptr_t>(INVALID_HANDLE_VALUE)) {
    constexpr int lockAttempts = 200;  // about ten seconds
    Patience patience;
    do {
        mHandle = reinterpret_cast<std::intptr_t>(open(name, GENERIC_WRITE | DELETE, 0, OPEN_ALWAYS,
                                                       FILE_ATTRIBUTE_HIDDEN | FILE_FLAG_DELETE_ON_CLOSE));
        error = isOpen(mHandle) ? error_code() : lastError();
    } while (error && patience.waits(error, lockAttempts));
    if (error && !isBusy(error)) {
        error.clear();
    }
}

ReplacementLock::~ReplacementLock() {
    if (isOpen(mHandle)) {
        ::CloseHandle(systemHandle(mHandle));
    }
}

void removeAbandoned(const path& replacementFile) {
    ::DeleteFileW(replacementFile.c_str());
}

unsigned long processNumber() {
    return ::GetCurrentProcessId();
}

AppendFile::AppendFile(const path& file, error_code& error)
    : mHandle(reinterpret_cast<std::intptr_t>(
          open(file, FILE_APPEND_DATA, shareAll, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL))) {
    error = isOpen(mHandle) ? error_code() : lastError();
}

AppendFile::~AppendFile() {
    if (isOpen(mHandle)) {
        ::CloseHandle(systemHandle(mHandle));
    }
}

void AppendFile::append(std::string_view text) noexcept {
    writeAll(systemHandle(mHandle), text);
}

}  // namespace Base::Platform
