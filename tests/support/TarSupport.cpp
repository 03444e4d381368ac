#include "tests/support/TarSupport.h"

#include <stdexcept>

#include <archive.h>
#include <archive_entry.h>

#include "base/platform/Utf8Locale.h"

namespace Support {
namespace {

void check(archive* writer, bool good) {
    if (!good) {
        throw std::runtime_error(archive_error_string(writer));
    }
}

}  // namespace

std::string noise(std::size_t size) {
    std::string text;
    for (unsigned seed = 1; text.size() < size; seed = seed * 1664525 + 1013904223) {
        text += static_cast<char>('a' + (seed >> 24) % 20);
    }
    return text;
}

std::string tar(const std::vector<TarEntry>& entries, bool compressed) {
    const Base::Platform::Utf8Locale utf8;
    std::string bytes(std::size_t{1} << 22U, '\0');
    std::size_t size = 0;
    archive* writer = archive_write_new();
    if (compressed) {
        archive_write_add_filter_gzip(writer);
    }
    archive_write_set_format_pax_restricted(writer);
    archive_write_set_options(writer, "hdrcharset=UTF-8");
    archive_write_set_bytes_in_last_block(writer, 1);
    check(writer, archive_write_open_memory(writer, bytes.data(), bytes.size(), &size) == ARCHIVE_OK);
    for (const TarEntry& entry : entries) {
        archive_entry* header = archive_entry_new();
        archive_entry_set_pathname_utf8(header, entry.name.c_str());
        archive_entry_set_filetype(header, entry.name.ends_with('/') ? AE_IFDIR : AE_IFREG);
        if (!entry.link.empty()) {
            archive_entry_set_filetype(header, AE_IFLNK);
            archive_entry_set_symlink_utf8(header, entry.link.c_str());
        }
        archive_entry_set_perm(header, static_cast<__LA_MODE_T>(entry.mode));
        archive_entry_set_mtime(header, tarEntryTime, 0);
        archive_entry_set_size(header, static_cast<la_int64_t>(entry.content.size()));
        check(writer, archive_write_header(writer, header) == ARCHIVE_OK);
        check(writer, archive_write_data(writer, entry.content.data(), entry.content.size()) >= 0);
        archive_entry_free(header);
    }
    check(writer, archive_write_close(writer) == ARCHIVE_OK);
    archive_write_free(writer);
    bytes.resize(size);
    return bytes;
}

}  // namespace Support
