#include "SiteFiles.h"

#include <memory>
#include <stdexcept>

#include <archive.h>
#include <archive_entry.h>

namespace {

struct FreeArchive {
    void operator()(archive* handle) const { archive_write_free(handle); }
};
struct FreeEntry {
    void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};
using Writer = std::unique_ptr<archive, FreeArchive>;

void check(const Writer& writer, la_ssize_t result) {
    if (result < ARCHIVE_OK) {
        throw std::runtime_error(std::string("The version files cannot be written: ") +
                                 archive_error_string(writer.get()));
    }
}

// The native name of a path is narrow on one system and wide on the other; each has a function of its own.
[[maybe_unused]] int openFile(archive* writer, const char* name) {
    return archive_write_open_filename(writer, name);
}
[[maybe_unused]] int openFile(archive* writer, const wchar_t* name) {
    return archive_write_open_filename_w(writer, name);
}

void addEntry(const Writer& writer, const char* name, unsigned type, const std::string& content) {
    const std::unique_ptr<archive_entry, FreeEntry> entry(archive_entry_new());
    archive_entry_set_pathname(entry.get(), name);
    archive_entry_set_filetype(entry.get(), type);
    archive_entry_set_perm(entry.get(), type == AE_IFDIR ? 0775 : 0664);
    archive_entry_set_size(entry.get(), static_cast<la_int64_t>(content.size()));
    check(writer, archive_write_header(writer.get(), entry.get()));
    check(writer, archive_write_data(writer.get(), content.data(), content.size()));
}

}  // namespace

void appendRow(Base::DataSourceInterface& table, const Cells& cells) {
    table.insertRow(-1);
    const int row = table.numberOfRowsInList() - 1;
    for (const auto& [column, text] : cells) {
        if (row < 0 || !table.setValueForListColumnRow(column, row, text)) {
            throw std::runtime_error("A table takes no row for " + text + ".");
        }
    }
}

void appendVariables(Base::DataSourceInterface& table, const std::vector<Variable>& variables) {
    for (const Variable& variable : variables) {
        appendRow(table, {{"Name", variable.name}, {"Value", variable.value}});
    }
}

void appendApplications(Kym::ApplicationListSource& table, const std::vector<Application>& applications) {
    for (const Application& application : applications) {
        appendRow(table, {{"AppID", application.id},
                          {"Category", application.category},
                          {"Description", application.description},
                          {"Executable", application.program},
                          {"Arguments", application.arguments}});
        appendVariables(*table.commonVariables(table.numberOfRowsInList() - 1), application.variables);
    }
}

void writeVersionFiles(const boost::filesystem::path& file) {
    const Writer writer(archive_write_new());
    check(writer, archive_write_add_filter_gzip(writer.get()));
    check(writer, archive_write_set_format_pax_restricted(writer.get()));
    check(writer, openFile(writer.get(), file.c_str()));
    for (const char* directory : {"config/", "lib/", "menus/", "symbol/"}) {
        addEntry(writer, directory, AE_IFDIR, {});
    }
    addEntry(writer, "menus/custom_dirs.dat", AE_IFREG,
             "# Directories with menus of this department, one a line.\n");
    addEntry(writer, "symbol/symbol_library.txt", AE_IFREG, "! Symbols of this department\n");
    check(writer, archive_write_close(writer.get()));
}
