#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <boost/filesystem/path.hpp>
#include <boost/system/error_code.hpp>

#include "base/FileContent.h"

/// What `FileManager` and the loggers need of the file system itself. Failures are told by `error`, which is
/// cleared on success.
namespace Base::Platform {

using boost::filesystem::path;
using boost::system::error_code;

/// A path by which the system's functions reach the file even when it is very long; usually the path itself.
path reachablePath(const path& file);

/// A path by which the system's functions reach everything below the directory too, however long its path.
path boundlessPath(const path& directory);

/// Renames a file or a directory. What stands at the new path is never replaced (`file_exists`); on a system
/// that finds names in any letter case, that of a name can be changed.
void renameToNew(const path& file, const path& newFile, error_code& error);

/// Whether it is a directory and no link to one.
bool isDirectoryItself(const path& file);

/// Removes a file, an empty directory or a link. No error when there is none.
void removeEntry(const path& file, error_code& error);

/// Whether a file or a directory that could not be renamed or removed may only be held by somebody for a
/// moment; waits a little when it may. Never where the system lets held files be renamed and removed.
bool waitsForHolder(const error_code& error);

/// Whether the system says by this error that nothing stands at a path. A server or a disk that does not
/// answer says no such thing.
bool meansMissing(const error_code& error);

/// Whether something exists at the path, and at the end of a link.
bool exists(const path& file);
bool isDirectory(const path& file);

/// Whether this process may open the file for reading, list the directory.
bool isReadable(const path& file);

/// Whether this process lacks the right to read the existing file; a file that somebody holds for a while is
/// not meant.
bool isReadingDenied(const path& file);

/// Whether this process may change the content of the existing file.
bool isWritable(const path& file);

/// Whether the directory can be entered.
bool isEnterable(const path& directory);

/// Whether the directory can be listed and entered.
bool isOpenDirectory(const path& directory);

/// Whether the regular file can be executed.
bool isExecutableFile(const path& file);

/// The whole content of a regular file, which others may read, replace or remove at the same time. Waits a
/// while for others who keep it from being read; never for a pipe to be written. `file_too_large` beyond
/// `FileContent::sizeLimit`, which no settings file comes near.
FileContent readFile(const path& file, error_code& error);

/// A new file that is going to replace another one in the same directory. While it is being written, no other
/// process takes it for abandoned; it is removed on destruction unless it has replaced its target.
class ReplacementFile {
  public:
    /// Makes the file; `file_exists` when the name is taken. With an error, nothing was made.
    ReplacementFile(const path& name, error_code& error);
    ~ReplacementFile();
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;

    /// Writes the content and waits until it is on the disk.
    void write(std::string_view content, error_code& error);

    /// Renames the file over the target, whose permissions it takes over where the system keeps them with the
    /// file. Waits a while for others to close the target where the system asks for that.
    void replace(const path& target, error_code& error);

  private:
    void close();

    path mName;  // empty when there is nothing to remove
    std::intptr_t mHandle;
};

/// Held while a file is compared with what is expected of it and replaced: of all processes that save files
/// in its directory, one at a time. Ends with the process.
class ReplacementLock {
  public:
    /// Waits a while for the other processes; an error when they do not end. `name` is that of a file which
    /// nobody has another use for, beside the one to be replaced. Where the file system knows no such lock,
    /// there is none, and no error.
    ReplacementLock(const path& name, error_code& error);
    ~ReplacementLock();
    ReplacementLock(const ReplacementLock&) = delete;
    ReplacementLock& operator=(const ReplacementLock&) = delete;

  private:
    std::intptr_t mHandle;
};

/// Removes a replacement file that no living process is writing; leaves it alone otherwise.
void removeAbandoned(const path& replacementFile);

/// Tells this process from the others of this machine.
unsigned long processNumber();

/// A file to append texts to. Several processes may append to it at once.
class AppendFile {
  public:
    /// Opens or makes the file.
    AppendFile(const path& file, error_code& error);
    ~AppendFile();
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;

    /// Appends the text in one piece; a failure is not told.
    void append(std::string_view text) noexcept;

  private:
    std::intptr_t mHandle;
};

}  // namespace Base::Platform
