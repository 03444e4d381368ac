#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <boost/filesystem/path.hpp>

#include "base/FileContent.h"
#include "base/FileState.h"

/// Questions to and changes of the file system that the library needs beyond Boost.Filesystem.
namespace Base::FileManager {

using boost::filesystem::path;

/// The path that a text stands for. Nothing when it cannot be one: on Windows, paths are UTF-8.
std::optional<path> pathOf(const std::string& text);

/// Whether something exists at the path; false when that cannot be told.
bool exists(const path& file);

/// The same for the path that a text stands for; false when it cannot be one.
bool existsAt(const std::string& text);

/// Whether the system says that nothing stands at the path. False when that cannot be told, so that what
/// cannot be reached for a moment is not taken for a file that was never written.
bool isMissing(const path& file);

/// Whether a directory stands at the path; false when that cannot be told.
bool isDirectory(const path& file);

/// Whether this process may open the file for reading, or list the directory.
bool isReadable(const path& file);

/// Whether this process may both list the directory and enter it. One question to the system, which is not
/// asked whether it is a directory: for a file, the answer says nothing.
bool isOpenDirectory(const path& directory);

/// For a directory: whether it can be entered. For a file: whether it may be executed; on Windows that is a
/// regular file whose extension is in PATHEXT (or .exe .com .bat .cmd when PATHEXT is not set).
bool isExecutable(const path& file);

/// Whether Windows runs a file of this name, going by its extension (letter case, and dots and blanks at the
/// end of the name, do not matter there). `extensions` is a list like ".COM;.EXE", as PATHEXT has it; when
/// empty, .exe .com .bat .cmd. A text function that is the same on every system.
bool hasExecutableExtension(std::string_view name, std::string_view extensions);

/// Sets permissions as an octal mode (0775). Windows keeps only the write permission of it.
/// `boost::filesystem::filesystem_error` on failure.
void setPermissions(const path& file, unsigned mode);

/// The current working directory of this process.
path workDirectory();
void changeWorkDirectory(const path& directory);

/// The whole content of a file; `boost::filesystem::filesystem_error` when it cannot be read.
std::string readFile(const path& file);
FileContent loadFile(const path& file);

/// Replaces the whole content of a file, or makes the file, in one step: the content goes to a temporary file
/// beside it, is flushed to the disk and renamed over the target. Whatever happens, the target is wholly the
/// old file or wholly the new one. What an earlier, killed replacement left beside the target is removed.
/// A symbolic link stays, and the file that it leads to is replaced. The target's permissions are kept (the
/// mode, on a system that has one). A file that was reported with `noteDamaged` is first copied to
/// "NAME.damaged", or to "NAME.damaged.1" and so on when something else stands there. An existing file that
/// cannot be read or is write-protected is not replaced, and no file is made that is too large to be read.
/// `boost::filesystem::filesystem_error`, naming the file and the reason, on failure.
void replaceFile(const path& file, std::string_view content);

/// The same for a file of which `state` tells what it held when it was loaded or saved last; it then tells
/// the new content. `FileChanged` when the file holds something else now that this process did not write. No
/// other process that saves by this function gets between the comparison and the replacement.
void replaceFile(const path& file, std::string_view content, FileState& state);

/// `FileChanged` when a replacement in that state would throw it now.
void requireUnchanged(const path& file, const FileState& state);

/// What the file holds now; a state that is not known when it cannot be read.
FileState stateOf(const path& file);

/// Takes what the file holds now for something that this process wrote. `boost::filesystem::filesystem_error`
/// when it cannot be read.
void noteOwn(const path& file);

/// Remembers that the file could not be understood when it was read, or not all of it, until it is replaced.
void noteDamaged(const path& file);

/// Makes a directory, whose parent must exist; false when it was there already.
/// `boost::filesystem::filesystem_error` on failure.
bool createDirectory(const path& directory);

/// Makes the directory, with the permissions 0775, unless there is one; its parent must exist.
/// `std::runtime_error` when something else stands there, `boost::filesystem::filesystem_error` on failure.
void ensureDirectory(const path& directory);

/// Copies a file, replacing what stands at the new path. The copy can be written, also when one of the two
/// is write-protected. `boost::filesystem::filesystem_error` on failure.
void copyFile(const path& file, const path& copy);

/// Renames a file, a link or a directory. What stands at the new path is never replaced; where letter case
/// does not tell names apart, that of a name can be changed. Waits a while for others who hold a part of it.
/// What is remembered of files, by `noteDamaged` and `noteOwn`, goes with them.
/// `boost::filesystem::filesystem_error` on failure (`file_exists` when there is something at the new path),
/// and nothing has changed.
void rename(const path& file, const path& newFile);

/// Removes a file, a link (never what it leads to), or a directory with all that it holds, at any depth; what
/// does not exist is removed already. The entry `first` of the directory goes before everything else. Waits a
/// while for others who hold a part of it. `boost::filesystem::filesystem_error` when something stays, with
/// the reason and the first entry that is left.
void removeAll(const path& file, const path& first = {});

/// A path in the form of the system that the product runs on: every "/" becomes "\". For texts that are only
/// *about* Windows; the native form of a real path is `boost::filesystem::path::make_preferred`.
std::string nativeText(std::string_view text);

/// The path in the native form of this system, for logs and messages.
std::string native(const path& file);

}  // namespace Base::FileManager
