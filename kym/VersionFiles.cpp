#include "kym/VersionFiles.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

#include <archive.h>
#include <archive_entry.h>
#include <boost/filesystem/operations.hpp>

#include "base/FileManager.h"
#include "base/Gzip.h"
#include "base/platform/FileSystem.h"
#include "base/platform/Utf8Locale.h"

namespace Kym {

namespace {

constexpr std::size_t kBlockSize = 10240;
constexpr int kExtractFlags = ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_TIME;

struct FreeArchive {
    void operator()(archive* handle) const { archive_read_free(handle); }
};
using ReadHandle = std::unique_ptr<archive, FreeArchive>;

// The native name of a path is narrow on one system and wide on the other; each has a function of its own.
[[maybe_unused]] int openArchive(archive* handle, const char* name) {
    return archive_read_open_filename(handle, name, kBlockSize);
}
[[maybe_unused]] int openArchive(archive* handle, const wchar_t* name) {
    return archive_read_open_filename_w(handle, name, kBlockSize);
}

// Makes the name of an entry, and what it is a hard link to, one in the directory.
[[maybe_unused]] void moveInto(archive_entry* entry, const std::string& directory) {
    if (const char* name = archive_entry_pathname(entry)) {
        archive_entry_copy_pathname(entry, (directory + '/' + name).c_str());
    }
    if (const char* link = archive_entry_hardlink(entry)) {
        archive_entry_copy_hardlink(entry, (directory + '/' + link).c_str());
    }
}
[[maybe_unused]] void moveInto(archive_entry* entry, const std::wstring& directory) {
    const auto inside = [&directory](const wchar_t* name) {
        std::wstring whole = directory + L'\\' + name;
        std::replace(whole.begin(), whole.end(), L'/', L'\\');  // no other separator is known in such a path
        return whole;
    };
    if (const wchar_t* name = archive_entry_pathname_w(entry)) {
        archive_entry_copy_pathname_w(entry, inside(name).c_str());
    }
    if (const wchar_t* link = archive_entry_hardlink_w(entry)) {
        archive_entry_copy_hardlink_w(entry, inside(link).c_str());
    }
}

/// Whether there is more; everything that is neither success nor the end of the archive throws.
bool succeeded(const ReadHandle& handle, int result) {
    if (result != ARCHIVE_OK && result != ARCHIVE_EOF) {
        const char* reason = archive_error_string(handle.get());
        throw std::runtime_error(reason ? reason : "The archive cannot be read.");
    }
    return result == ARCHIVE_OK;
}

void forEachEntry(const boost::filesystem::path& file,
                  const std::function<void(const ReadHandle&, archive_entry*)>& action) {
    const Base::Platform::Utf8Locale utf8;  // an archive may tell its names in UTF-8
    ReadHandle handle(archive_read_new());
    if (!handle) {
        throw std::bad_alloc();
    }
    archive_read_support_filter_all(handle.get());
    archive_read_support_format_all(handle.get());
    succeeded(handle, openArchive(handle.get(), file.c_str()));
    archive_entry* entry = nullptr;
    while (succeeded(handle, archive_read_next_header(handle.get(), &entry))) {
        action(handle, entry);
    }
    if (archive_format(handle.get()) == ARCHIVE_FORMAT_EMPTY) {
        throw std::runtime_error("Data file " + Base::FileManager::native(file) + " is empty.");
    }
}

// Nothing of a gzip file is unpacked when it is damaged. What libarchive notices is told in its words.
void checkCompressed(const boost::filesystem::path& file) {
    try {
        Base::checkGzip(file);
    } catch (const std::runtime_error&) {
        forEachEntry(file, [](const ReadHandle& handle, archive_entry*) {
            const void* block = nullptr;
            std::size_t size = 0;
            la_int64_t offset = 0;
            while (succeeded(handle, archive_read_data_block(handle.get(), &block, &size, &offset))) {
            }
        });
        throw;
    }
}

// Into the working directory unless `directory` names another one.
void extract(const boost::filesystem::path& file, const boost::filesystem::path& directory) {
    forEachEntry(file, [&directory](const ReadHandle& handle, archive_entry* entry) {
        if (!directory.empty()) {
            moveInto(entry, directory.native());
        }
        // On a full disk, libarchive 3.6 fails to fill a file up to its size and then leaves it open, so that
        // it could not be removed on Windows. Without the size it closes the file, but then it forgets a hole
        // at the end of a sparse one.
        if (archive_entry_filetype(entry) == AE_IFREG && !archive_entry_hardlink(entry) &&
            archive_entry_sparse_count(entry) == 0) {
            archive_entry_unset_size(entry);
        }
        succeeded(handle, archive_read_extract(handle.get(), entry, kExtractFlags));
    });
}

}  // namespace

void unpackVersionFiles(const boost::filesystem::path& archive, const boost::filesystem::path& directory) {
    const boost::filesystem::path file = Base::Platform::reachablePath(boost::filesystem::absolute(archive));
    if (boost::filesystem::is_regular_file(file)) {  // what can be read twice
        checkCompressed(file);
    }
    if (Base::Platform::reachablePath(directory) != directory) {
        extract(file, Base::Platform::boundlessPath(directory));  // too long for a working directory
        return;
    }
    const boost::filesystem::path workDirectory = Base::FileManager::workDirectory();
    Base::FileManager::changeWorkDirectory(directory);
    try {
        extract(file, {});
    } catch (...) {
        try {
            Base::FileManager::changeWorkDirectory(workDirectory);
        } catch (const std::exception&) {
            // The reason why unpacking failed is the one to be told.
        }
        throw;
    }
    Base::FileManager::changeWorkDirectory(workDirectory);
}

}  // namespace Kym
