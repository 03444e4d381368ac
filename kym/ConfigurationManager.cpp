#include "kym/ConfigurationManager.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <stdexcept>
#include <utility>

#include <boost/filesystem/exception.hpp>

#include "base/Environment.h"
#include "base/FileManager.h"
#include "base/ParallelLoop.h"
#include "base/SmartAssert.h"
#include "kym/AfterFailure.h"
#include "kym/CharacterClass.h"
#include "kym/DepartmentName.h"
#include "kym/DirectoryScan.h"
#include "kym/Loggers.h"
#include "kym/PluginsManager.h"
#include "kym/SystemInfo.h"

namespace Kym {

namespace {

constexpr const char* kFile = "ConfigurationManager";
constexpr const char* kNewName = "change_me";
constexpr unsigned kDirectoryPermissions = 0775;
constexpr std::size_t kEntriesForThreads = 64;  // for less, threads cost more than they save

std::string alreadyExists(const boost::filesystem::path& directory) {
    return "Directory " + Base::FileManager::native(directory) + " already exists.";
}

std::string noLibraries(const Configuration& department, bool isNew) {
    if (isNew) {
        return "The version files hold no directory \"lib\", in which the 64-bit layout has a part. "
               "Put one into the archive and prepare the department again.";
    }
    return "The version directory " + Base::FileManager::native(department.versionPath()) +
           " holds no directory \"lib\", in which the 64-bit layout has a part: it was not unpacked whole.\n"
           "Rename it, prepare the department again, and copy the directory \"config\" of the old one "
           "into the new one.";
}

void makeNewDirectory(const boost::filesystem::path& directory) {
    if (!Base::FileManager::exists(directory)) {
        logInfo("Creating directory: ", directory);
        if (Base::FileManager::createDirectory(directory)) {
            return;
        }
    }
    const std::string message = alreadyExists(directory);
    logInfo("Error: ", message);
    throw std::runtime_error(message);
}

template <typename Configurations>
auto findByName(Configurations& configurations, const std::string& name) -> decltype(configurations.data()) {
    if (name.empty()) {
        Base::smart_assert("!name.empty()", 300, kFile, __LINE__, "configurationByName")
            .value("name", name)
            .message("Configuration name is empty");
    }
    for (auto& configuration : configurations) {
        if (configuration.name() == name) {
            return &configuration;
        }
    }
    return nullptr;
}

}  // namespace

/// What an entry of the departments directory is: a department, or why it cannot be read, or nothing.
struct ConfigurationManager::Found {
    std::optional<Configuration> configuration;
    std::exception_ptr failure;
};

ConfigurationManager::ConfigurationManager() {
    initialize();
}

void ConfigurationManager::initialize() {
    const boost::filesystem::path& departments = SystemInformation().localDepartmentsPath();
    if (departments.empty()) {
        throw std::runtime_error("KYM_UGSITE_DIR is undefined.");
    }
    if (!Base::FileManager::exists(departments)) {
        throw std::runtime_error("KYM_UGSITE_DIR is invalid.");
    }
    const std::vector<boost::filesystem::path> entries = entriesInNameOrder(departments);
    mConfigurations.clear();
    mConfigurations.reserve(entries.size());
    // On a network share, most of the time is waiting; on a disk, half of it is parsing: several threads do
    // it. What is logged keeps its order, so that each line stands where the department's others stand.
    const bool inTurn = entries.size() < kEntriesForThreads || infoLogger().isOn() || verboseLogger().isOn();
    std::vector<Found> found(entries.size());
    if (!inTurn) {
        PluginsManagement();  // made by one thread: the settings of every department ask for it
        Base::parallelLoop(entries.size(), [&](std::size_t i) { found[i] = readEntry(entries[i]); });
    }
    for (std::size_t i = 0; i < entries.size(); ++i) {
        addValidConfiguration(entries[i], inTurn ? readEntry(entries[i]) : std::move(found[i]));
    }
    logInfo("Found ", mConfigurations.size(), " configurations.");
}

ConfigurationManager::Found ConfigurationManager::readEntry(const boost::filesystem::path& entry) {
    Found found;
    try {
        if (Base::FileManager::isOpenDirectory(entry)) {
            found.configuration.emplace(entry, true);
        }
    } catch (const InvalidConfiguration&) {
        // no department
    } catch (...) {
        found.failure = std::current_exception();
    }
    return found;
}

void ConfigurationManager::addValidConfiguration(const boost::filesystem::path& entry, Found found) {
    if (found.failure) {
        std::rethrow_exception(found.failure);
    }
    if (!found.configuration) {
        return;
    }
    mConfigurations.push_back(std::move(*found.configuration));
    logInfo("Adding configuration: ", entry);
}

Configuration* ConfigurationManager::configuration(int index) {
    if (!(index >= 0 && index < numberOfRowsInList())) {
        Base::smart_assert("index >= 0 && index < mConfigurations.size()", 300, kFile, __LINE__, __func__)
            .value("index", index)
            .message("configuration index is out of range");
    }
    return &mConfigurations.at(static_cast<std::size_t>(index));
}

Configuration* ConfigurationManager::configurationByName(const std::string& name) {
    return findByName(mConfigurations, name);
}

const Configuration* ConfigurationManager::configurationByName(const std::string& name) const {
    return findByName(mConfigurations, name);
}

const Configuration* ConfigurationManager::configurationByPath(const boost::filesystem::path& path) const {
    if (path.empty()) {
        Base::smart_assert("!path.empty()", 300, kFile, __LINE__, __func__)
            .value("path", path.string())
            .message("Configuration path is empty");
    }
    for (const Configuration& configuration : mConfigurations) {
        if (configuration.path() == path) {
            return &configuration;
        }
    }
    return nullptr;
}

const Configuration* ConfigurationManager::currentConfiguration() const {
    const std::string directory = Base::Environment::getEnvVariable("KYM_DEPT_DIR");
    return directory.empty() ? nullptr : configurationByPath(directory);
}

std::vector<Configuration> ConfigurationManager::configurationList(const std::string& typePattern) const {
    const Base::NamePattern pattern(typePattern);
    std::vector<const Configuration*> chosen;
    for (const Configuration& configuration : mConfigurations) {
        if (configuration.isUpdated() && pattern.matches(configuration.type)) {
            chosen.push_back(&configuration);
        }
    }
    std::stable_sort(chosen.begin(), chosen.end(),
                     [](const Configuration* left, const Configuration* right) { return *left < *right; });
    std::vector<Configuration> result;
    result.reserve(chosen.size());
    for (const Configuration* configuration : chosen) {
        result.push_back(*configuration);
    }
    return result;
}

ConfigurationManager::CommonConfigurations ConfigurationManager::commonConfigurations() const {
    const auto type = [](const Configuration& configuration) { return configuration.type; };
    return CommonConfigurations(mConfigurations, Base::NameFilter<Configuration>(type, "Common"));
}

const std::vector<std::string>& ConfigurationManager::availableTypes() const {
    static const std::vector<std::string> types = {"Common", "Development", "Production", "Test"};
    return types;
}

void ConfigurationManager::createConfiguration() {
    logInfo("Creating new configuration");
    const boost::filesystem::path directory = SystemInformation().localDepartmentsPath() / kNewName;
    makeNewDirectory(directory);
    try {
        Base::FileManager::setPermissions(directory, kDirectoryPermissions);
        Configuration configuration(directory, false);
        configuration.save();
        configuration.createNXVersionDirectory();
        mConfigurations.push_back(configuration);
    } catch (...) {
        runAfterFailure([&directory] { Base::FileManager::removeAll(directory); });
        throw;
    }
}

void ConfigurationManager::prepareConfiguration(int index) {
    Configuration& prepared = *configuration(index);
    const bool isNew = !prepared.isUpdated();
    if (isNew) {
        prepared.createNXVersionDirectory();
    }
    try {
        if (!Base::FileManager::isDirectory(prepared.versionPath() / "lib")) {
            throw std::runtime_error(noLibraries(prepared, isNew));
        }
        prepared.createWin64VersionDirectory();
    } catch (...) {
        if (isNew) {
            runAfterFailure([&prepared] { Base::FileManager::removeAll(prepared.versionPath()); });
        }
        throw;
    }
}

void ConfigurationManager::checkName(const std::string& name) {
    checkDepartmentName(name);
}

void ConfigurationManager::renameConfiguration(int index, const std::string& newName) {
    Configuration& renamed = *configuration(index);
    checkDepartmentName(newName);
    const boost::filesystem::path directory = SystemInformation().localDepartmentsPath() / newName;
    if (directory != renamed.path()) {
        try {
            Base::FileManager::rename(renamed.path(), directory);
        } catch (const boost::filesystem::filesystem_error& error) {
            if (error.code() == boost::system::errc::file_exists) {
                throw std::runtime_error(alreadyExists(directory));
            }
            throw;
        }
    }
    renamed.directoryRenamed(directory);
}

void ConfigurationManager::deleteConfiguration(int index) {
    const Configuration& deleted = *configuration(index);
    const boost::filesystem::path file = deleted.propertyFile();
    std::optional<std::string> properties;
    try {
        properties = Base::FileManager::readFile(file);
    } catch (const boost::filesystem::filesystem_error&) {
        // What cannot be read can be removed all the same.
    }
    try {
        // Without its properties, what an interruption leaves is no department that somebody would start
        // from.
        Base::FileManager::removeAll(deleted.path(), file.filename());
    } catch (...) {
        if (properties && Base::FileManager::isMissing(file)) {
            runAfterFailure([&] { Base::FileManager::replaceFile(file, *properties); });
        }
        throw;
    }
    mConfigurations.erase(mConfigurations.begin() + index);
}

bool ConfigurationManager::anyNeedsSaving() const {
    return std::ranges::any_of(mConfigurations, &Configuration::needsSaving);
}

void ConfigurationManager::saveDirty() {
    for (Configuration& configuration : mConfigurations) {
        configuration.save();
    }
}

bool ConfigurationManager::usingFallbackConfigurations() const {
    const SystemInfo& info = SystemInformation();
    return Base::FileManager::native(info.localDepartmentsPath()).find(info.KymConfigFallbackDirectoryName) !=
           std::string::npos;
}

int ConfigurationManager::numberOfRowsInList() const {
    return static_cast<int>(mConfigurations.size());
}

boost::any ConfigurationManager::valueForListColumnRow(const std::string&, int row) const {
    return mConfigurations.at(static_cast<std::size_t>(row)).name();
}

bool ConfigurationManager::setValueForListColumnRow(const std::string&, int row, const boost::any& value) {
    const auto name = boost::any_cast<std::string>(value);
    if (std::any_of(name.begin(), name.end(), isSpace)) {
        logInfo("ERROR: ", "configuration names must not contain spaces.");
        return false;
    }
    try {
        renameConfiguration(row, name);
        return true;
    } catch (const std::exception& error) {
        logInfo("ERROR: ", error.what());
        return false;
    }
}

}  // namespace Kym
