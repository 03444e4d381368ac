#include "kym/StaleFiles.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/exception.hpp>
#include <boost/filesystem/operations.hpp>

#include "base/Environment.h"
#include "base/FileManager.h"
#include "base/platform/FileSystem.h"
#include "kym/Loggers.h"
#include "kym/Time.h"

namespace fs = boost::filesystem;
using boost::system::error_code;

namespace Kym {

namespace {

bool isLeftByPrograms(const fs::path& file) {
    // As the system spells names: they need not be valid text, and letter case counts.
    static const std::set<fs::path::string_type> extensions = [] {
        std::set<fs::path::string_type> result;
        for (const char* extension : {".syslog", ".jnl", ".rol_bin", ".log", ".mon", ".tmp", ".dlg", ".prt",
                                      ".pax", ".c", ".h", ".qaf"}) {
            result.insert(fs::path(extension).native());
        }
        return result;
    }();
    return extensions.contains(file.extension().native());
}

/// The files of a directory that programs leave, in the order of their names; none when it is gone.
std::vector<fs::path> filesLeftIn(const fs::path& directory) {
    std::vector<fs::path> files;
    error_code error;
    fs::directory_iterator entry(Base::Platform::reachablePath(directory), error);
    if (error && !Base::Platform::meansMissing(error)) {
        throw fs::filesystem_error("Cannot list the directory", directory, error);
    }
    for (; entry != fs::directory_iterator(); ++entry) {
        const fs::path file = directory / entry->path().filename();
        if (isLeftByPrograms(file) && !Base::FileManager::isDirectory(file)) {
            files.push_back(file);
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// Empty when the file is gone, or was written at a time that the run-time cannot tell.
Time lastWriteTime(const fs::path& file) {
    error_code error;
    const std::time_t written = fs::last_write_time(Base::Platform::reachablePath(file), error);
    if (Base::Platform::meansMissing(error)) {
        return {};
    }
    if (error) {
        throw fs::filesystem_error("Cannot tell the age of the file", file, error);
    }
    return {written, Time::Local};
}

}  // namespace

void visitStaleFiles(const Time& now, std::uint32_t days,
                     const std::function<void(const StaleFile&)>& visit) {
    std::vector<fs::path> visited;
    for (std::string place : {"c:\\temp", "$TEMP"}) {
        const fs::path directory(Base::Environment::expandEnvVariables(place));
        logInfo("  looking in ", directory);
        const auto isTheSame = [&](const fs::path& other) {
            error_code ignored;
            return fs::equivalent(Base::Platform::reachablePath(directory),
                                  Base::Platform::reachablePath(other), ignored);
        };
        if (!Base::FileManager::isDirectory(directory) ||
            std::any_of(visited.begin(), visited.end(), isTheSame)) {
            continue;
        }
        visited.push_back(directory);
        for (const fs::path& file : filesLeftIn(directory)) {
            const Time written = lastWriteTime(file);
            const int age = written.isEmpty() ? 0 : static_cast<int>(now.diffDay(written));
            if (std::int64_t{age} > days) {
                visit({file, age});
            }
        }
    }
}

void removeStaleFiles(std::uint32_t days, const std::function<void(const StaleFile&)>& removed) {
    logInfo("Removing tmp files greater than ", days, " days old:");
    visitStaleFiles(Time::currentLocalTime(), days, [&removed](const StaleFile& file) {
        logInfo("  Removing ", file.path, " which is ", file.age, " days old.");
        error_code error;
        const bool wasThere = fs::remove(Base::Platform::reachablePath(file.path), error);
        if (error && !Base::Platform::meansMissing(error)) {
            throw fs::filesystem_error("Cannot remove the file", file.path, error);
        }
        if (wasThere && removed) {
            removed(file);
        }
    });
}

}  // namespace Kym
