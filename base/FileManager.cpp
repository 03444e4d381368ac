#include "base/FileManager.h"

#include <algorithm>
#include <cstdint>
#include <locale>
#include <map>
#include <mutex>
#include <vector>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/filesystem/exception.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/system/system_error.hpp>

#include "base/platform/FileSystem.h"

namespace Base::FileManager {
namespace {

namespace fs = boost::filesystem;
namespace errc = boost::system::errc;
using boost::system::error_code;

constexpr std::string_view temporarySuffix = ".kymtmp";

[[noreturn]] void fail(const std::string& what, const path& file, const error_code& error) {
    throw fs::filesystem_error(what, file, error);
}

// What this process knows of a file.
struct Knowledge {
    bool damaged = false;  // it could not be understood when it was read, or not all of it
    FileState written;     // what this process wrote last
};

// Files are read by several threads, and saved by one.
struct KnownFiles {
    std::mutex mutex;
    std::map<path, Knowledge> files;
};

KnownFiles& known() {
    static KnownFiles files;
    return files;
}

// Boost.Filesystem calls a server that does not answer, too, a file that was not found.
bool isMissing(const fs::file_status& status, const error_code& error) {
    return status.type() == fs::file_not_found && Platform::meansMissing(error);
}

path keyOf(const path& file) {
    return fs::absolute(file).lexically_normal();
}

Knowledge knowledgeOf(const path& file) {
    const path key = keyOf(file);
    const std::lock_guard lock(known().mutex);
    const auto found = known().files.find(key);
    return found == known().files.end() ? Knowledge() : found->second;
}

template <typename Change>
void learn(const path& file, const Change& change) {
    path key = keyOf(file);
    const std::lock_guard lock(known().mutex);
    change(known().files[std::move(key)]);
}

// Where a file is, whose path was `key`, when what was at `from` is at `to`.
path renamedKey(const path& key, const path& from, const path& to) {
    const auto [end, rest] = std::mismatch(from.begin(), from.end(), key.begin(), key.end());
    if (end != from.end()) {
        return key;
    }
    path result = to;
    std::for_each(rest, key.end(), [&result](const path& name) { result /= name; });
    return result;
}

path linkTarget(const path& file) {
    path target = file;
    error_code error;
    for (int links = 0; fs::is_symlink(fs::symlink_status(target, error)); ++links) {
        if (links == 40) {
            fail("Cannot replace the file", file, make_error_code(errc::too_many_symbolic_link_levels));
        }
        target = fs::absolute(fs::read_symlink(target), fs::absolute(target).parent_path());
    }
    return target;
}

// What the names of a target's temporary files begin with. A name that leaves no room for more is replaced by
// a checksum of it.
std::string temporaryPrefix(const path& target) {
    const std::string name = target.filename().string();
    if (name.size() <= 200) {
        return '.' + name + '.';
    }
    std::uint64_t sum = 14695981039346656037U;
    for (const char byte : name) {
        sum = (sum ^ static_cast<unsigned char>(byte)) * 1099511628211U;
    }
    return '.' + std::to_string(sum) + '.';
}

bool isTemporaryName(std::string_view name, std::string_view prefix) {
    if (!name.starts_with(prefix) || !name.substr(prefix.size()).ends_with(temporarySuffix)) {
        return false;
    }
    name.remove_prefix(prefix.size());
    name.remove_suffix(temporarySuffix.size());
    const std::size_t dash = name.find('-');
    const auto isNumber = [](std::string_view text) {
        return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
    };
    return dash != name.npos && isNumber(name.substr(0, dash)) && isNumber(name.substr(dash + 1));
}

void removeLeftovers(const path& directory, const std::string& prefix) {
    error_code error;
    fs::directory_iterator entry(directory.empty() ? path(".") : directory, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        if (isTemporaryName(entry->path().filename().string(), prefix)) {
            Platform::removeAbandoned(entry->path());
        }
    }
}

// What may be in the place of a file that is saved.
struct Expected {
    const path& file;
    const FileState& loaded;
};

// Whether the target holds what is not expected. What is not there cannot be lost.
bool hasChanged(const path& target, const Expected& expected, error_code& error) {
    if (!expected.loaded.isKnown()) {
        return false;
    }
    const FileContent content = Platform::readFile(target, error);
    if (Platform::meansMissing(error)) {
        error.clear();
        return false;
    }
    if (error) {
        return false;
    }
    const FileState present = FileState::of(content.text());
    return present != expected.loaded && present != knowledgeOf(expected.file).written;
}

void replace(Platform::ReplacementFile& replacement, const path& target, const Expected* expected,
             error_code& error) {
    const Platform::ReplacementLock lock(
        target.parent_path() / (temporaryPrefix(target) + "lock" + std::string(temporarySuffix)), error);
    if (!error && expected && hasChanged(target, *expected, error)) {
        throw FileChanged(expected->file);
    }
    if (!error) {
        replacement.replace(target, error);
    }
}

void writeOver(const path& target, std::string_view content, const Expected* expected, error_code& error) {
    static unsigned counter = 0;
    const std::string prefix = temporaryPrefix(target);
    removeLeftovers(target.parent_path(), prefix);
    for (int attempt = 0; attempt < 8; ++attempt) {
        const path name = target.parent_path() / (prefix + std::to_string(Platform::processNumber()) + '-' +
                                                  std::to_string(++counter) + std::string(temporarySuffix));
        Platform::ReplacementFile replacement(name, error);
        if (!error) {
            replacement.write(content, error);
            if (!error) {
                replace(replacement, target, expected, error);
            }
            error_code unknown;
            const bool vanished = error == errc::no_such_file_or_directory && !fs::exists(name, unknown);
            if (!vanished) {
                return;
            }
        } else if (error != errc::file_exists) {
            return;
        }
    }
}

void copyDamaged(const path& file, const path& target) {
    error_code error;
    const FileContent content = Platform::readFile(target, error);
    for (int number = 0; !error; ++number) {
        path copy = target;
        copy += number == 0 ? ".damaged" : ".damaged." + std::to_string(number);
        if (!fs::exists(fs::symlink_status(copy, error))) {
            error.clear();
            writeOver(copy, content.text(), nullptr, error);
            if (!error) {
                return;
            }
        } else {
            error_code unreadable;
            if (Platform::readFile(copy, unreadable).text() == content.text() && !unreadable) {
                return;
            }
        }
    }
    fail("Cannot keep a copy of the damaged file", file, error);
}

// About two seconds with the pauses.
constexpr int holderPatience = 40;

struct Removal {
    error_code error;
    path left;                      // what could not be removed
    int patience = holderPatience;  // for all entries together
};

void removeTree(const path& file, const path& first, Removal& removal) {
    if (Platform::isDirectoryItself(file)) {
        std::vector<path> entries;
        fs::directory_iterator entry(file, removal.error);
        for (; !removal.error && entry != fs::directory_iterator(); entry.increment(removal.error)) {
            entries.push_back(entry->path());
        }
        std::stable_partition(entries.begin(), entries.end(),
                              [&first](const path& name) { return name.filename() == first; });
        for (auto next = entries.begin(); !removal.error && next != entries.end(); ++next) {
            removeTree(*next, {}, removal);
        }
    }
    if (!removal.error) {
        do {
            Platform::removeEntry(file, removal.error);
        } while (removal.error && removal.patience-- > 0 && Platform::waitsForHolder(removal.error));
    }
    if (removal.error && removal.left.empty()) {
        removal.left = file;
    }
}

}  // namespace

bool exists(const path& file) {
    return !file.empty() && Platform::exists(Platform::reachablePath(file));
}

std::optional<path> pathOf(const std::string& text) {
    try {
        return path(text);
    } catch (const boost::system::system_error&) {
        return std::nullopt;
    }
}

bool existsAt(const std::string& text) {
    const std::optional<path> file = pathOf(text);
    return file && FileManager::exists(*file);
}

bool isMissing(const path& file) {
    error_code error;
    const fs::file_status status = fs::status(Platform::reachablePath(file), error);
    return isMissing(status, error);
}

bool isDirectory(const path& file) {
    return !file.empty() && Platform::isDirectory(Platform::reachablePath(file));
}

bool isReadable(const path& file) {
    return Platform::isReadable(Platform::reachablePath(file));
}

bool isOpenDirectory(const path& directory) {
    return Platform::isOpenDirectory(Platform::reachablePath(directory));
}

bool isExecutable(const path& file) {
    const path reachable = Platform::reachablePath(file);
    error_code error;
    const fs::file_status status = fs::status(reachable, error);
    return fs::is_directory(status) ? Platform::isEnterable(reachable)
                                    : fs::is_regular_file(status) && Platform::isExecutableFile(reachable);
}

bool hasExecutableExtension(std::string_view name, std::string_view extensions) {
    const std::size_t last = name.find_last_not_of(". ");
    name = name.substr(0, last == name.npos ? 0 : last + 1);
    const std::size_t dot = name.find_last_of("./\\:");
    if (dot == name.npos || name[dot] != '.') {
        return false;
    }
    const std::string wanted =
        boost::algorithm::to_lower_copy(std::string(name.substr(dot)), std::locale::classic());
    const std::string known(extensions.empty() ? std::string_view(".exe;.com;.bat;.cmd") : extensions);
    std::vector<std::string> list;
    boost::algorithm::split(list, known, boost::algorithm::is_any_of(";"));
    return std::any_of(list.begin(), list.end(), [&](const std::string& extension) {
        return boost::algorithm::to_lower_copy(extension, std::locale::classic()) == wanted;
    });
}

void setPermissions(const path& file, unsigned mode) {
    fs::permissions(Platform::reachablePath(file), static_cast<fs::perms>(mode & 07777U));
}

path workDirectory() {
    return fs::current_path();
}

void changeWorkDirectory(const path& directory) {
    fs::current_path(directory);
}

std::string readFile(const path& file) {
    return std::string(loadFile(file).text());
}

FileContent loadFile(const path& file) {
    error_code error;
    FileContent content = Platform::readFile(Platform::reachablePath(file), error);
    if (error) {
        fail("Cannot read the file", file, error);
    }
    return content;
}

void replaceFile(const path& file, std::string_view content, FileState& state) {
    if (content.size() > FileContent::sizeLimit) {
        fail("Cannot replace a file by one that nobody could read", file,
             make_error_code(errc::file_too_large));
    }
    const path target = linkTarget(Platform::reachablePath(file));
    error_code error;
    const fs::file_status status = fs::status(target, error);
    const bool absent = isMissing(status, error);
    if (!absent && !fs::exists(status)) {
        fail("Cannot tell what stands in the place of the file", file, error);
    }
    if (fs::exists(status)) {
        if (fs::is_directory(status)) {
            fail("Cannot replace the file", file, make_error_code(errc::is_a_directory));
        }
        if (!fs::is_regular_file(status)) {
            fail("Cannot replace what is not a regular file", file,
                 make_error_code(errc::operation_not_permitted));
        }
        if (Platform::isReadingDenied(target)) {
            fail("Cannot replace a file that cannot be read", file, make_error_code(errc::permission_denied));
        }
        if (!Platform::isWritable(target)) {
            fail("Cannot replace a write-protected file", file, make_error_code(errc::permission_denied));
        }
        if (knowledgeOf(file).damaged) {
            copyDamaged(file, target);
        }
    }
    const Expected expected{file, state};
    writeOver(target, content, &expected, error);
    if (error) {
        fail("Cannot replace the file", file, error);
    }
    state = FileState::of(content);
    learn(file, [&state](Knowledge& knowledge) { knowledge = {false, state}; });
}

void replaceFile(const path& file, std::string_view content) {
    FileState nothingKnown;
    replaceFile(file, content, nothingKnown);
}

void requireUnchanged(const path& file, const FileState& state) {
    error_code error;
    if (hasChanged(linkTarget(Platform::reachablePath(file)), {file, state}, error)) {
        throw FileChanged(file);
    }
}

FileState stateOf(const path& file) {
    error_code error;
    const FileContent content = Platform::readFile(Platform::reachablePath(file), error);
    return error ? FileState() : FileState::of(content.text());
}

void noteOwn(const path& file) {
    const FileState state = FileState::of(loadFile(file).text());
    learn(file, [&state](Knowledge& knowledge) { knowledge.written = state; });
}

bool createDirectory(const path& directory) {
    return fs::create_directory(Platform::reachablePath(directory));
}

void ensureDirectory(const path& directory) {
    if (!FileManager::exists(directory)) {
        if (createDirectory(directory)) {
            setPermissions(directory, 0775);
        }
    } else if (!isDirectory(directory)) {
        throw std::runtime_error("The path " + native(directory) + " is not a directory.\n");
    }
}

void copyFile(const path& file, const path& copy) {
    const path target = Platform::reachablePath(copy);
    constexpr auto writable = fs::add_perms | fs::owner_write;
    if (fs::exists(target)) {
        fs::permissions(target, writable);
    }
    fs::copy_file(Platform::reachablePath(file), target, fs::copy_options::overwrite_existing);
    fs::permissions(target, writable);
}

void rename(const path& file, const path& newFile) {
    const path from = Platform::reachablePath(file);
    const path to = Platform::reachablePath(newFile);
    int patience = holderPatience;
    error_code error;
    do {
        Platform::renameToNew(from, to, error);
    } while (error && patience-- > 0 && Platform::waitsForHolder(error));
    if (error) {
        throw fs::filesystem_error("Cannot rename", file, newFile, error);
    }
    // What is known of the files goes with them.
    const path oldKey = keyOf(file), newKey = keyOf(newFile);
    const std::lock_guard lock(known().mutex);
    std::map<path, Knowledge> files;
    for (const auto& [key, knowledge] : known().files) {
        path newPlace = renamedKey(key, oldKey, newKey);
        if (newPlace == key) {
            files.emplace(key, knowledge);
        } else {
            files[std::move(newPlace)] = knowledge;
        }
    }
    known().files = std::move(files);
}

void removeAll(const path& file, const path& first) {
    if (file.empty()) {
        return;
    }
    path whole = Platform::boundlessPath(file.lexically_normal());
    while (whole.has_parent_path() && (whole.filename().empty() || whole.filename() == ".")) {
        whole = whole.parent_path();  // with a separator at its end, a link would mean what it leads to
    }
    Removal removal;
    removeTree(whole, first, removal);
    if (removal.error) {
        fail("Cannot remove everything, \"" + native(removal.left.lexically_relative(whole)) + "\" stays",
             file, removal.error);
    }
}

void noteDamaged(const path& file) {
    learn(file, [](Knowledge& knowledge) { knowledge.damaged = true; });
}

std::string nativeText(std::string_view text) {
    std::string result(text);
    std::replace(result.begin(), result.end(), '/', '\\');
    return result;
}

std::string native(const path& file) {
    return path(file).make_preferred().string();
}

}  // namespace Base::FileManager
