#include "kym/Configuration.h"

#include <optional>
#include <stdexcept>
#include <utility>

#include <boost/filesystem/exception.hpp>

#include "base/FileManager.h"
#include "base/NewDirectory.h"
#include "base/PropertyList.h"
#include "base/Text.h"
#include "kym/AfterFailure.h"
#include "kym/LeafName.h"
#include "kym/Loggers.h"
#include "kym/SystemInfo.h"
#include "kym/VariableList.h"
#include "kym/VersionFiles.h"

namespace Kym {

namespace {

using boost::filesystem::path;

constexpr const char* kPropertyFile = ".dirinfo.plist";
constexpr const char* kDescription = "Description";
constexpr const char* kType = "Type";
constexpr const char* kCommonDepartment = "Common Department";
constexpr const char* kDoFileCleanup = "Do File Cleanup Key";
constexpr const char* kCleanupDays = "Cleanup Days Key";
[[maybe_unused]] constexpr const char* kEnvironmentSettings = "Environment Settings Key";  // reserved

constexpr unsigned kDirectoryPermissions = 0775;

path settingsFile(const path& versionDirectory) {
    return versionDirectory / "config" / "configSettings.dat";
}

bool namesADepartment(const std::string& commonDepartment) {
    return !commonDepartment.empty() && commonDepartment.find(' ') == std::string::npos;
}

/// A list without a root when there is no file that can be read. Whether it can is asked only after a
/// failure, since thousands of them are read when departments are looked for.
Base::PropertyList readProperties(const path& file) {
    try {
        return Base::PropertyList(file);
    } catch (const Base::PropertyListError&) {
        if (Base::FileManager::isDirectory(file) || !Base::FileManager::isReadable(file)) {
            return {};
        }
        throw;
    }
}

// What a property is not: there, or of the kind that it should be.
class BadProperty : public boost::bad_any_cast {
  public:
    explicit BadProperty(const std::string& message) : mMessage(Base::Text::readableLines(message)) {}
    BadProperty(const BadProperty&) = default;
    BadProperty& operator=(const BadProperty&) = default;
    ~BadProperty() override;

    const char* what() const noexcept override { return mMessage.c_str(); }

  private:
    std::string mMessage;
};

BadProperty::~BadProperty() = default;

[[noreturn]] void failToTake(const path& file, const char* key, const std::string& reason) {
    Base::FileManager::noteDamaged(file);
    throw BadProperty(Base::FileManager::native(file) + ": the property \"" + key + "\" " + reason);
}

const char* kindOf(const std::string&) {
    return "a text";
}
const char* kindOf(bool) {
    return "true or false";
}
const char* kindOf(std::uint32_t) {
    return "an integer from 0 to 4294967295";
}

/// How many properties were taken: one, or none when the list has none of that key.
template <typename Value>
std::size_t takeProperty(const Base::PropertyList& list, const char* key, Value& target) {
    const boost::any& property = list.getProperty(key);
    if (property.empty()) {
        return 0;
    }
    const auto* value = boost::any_cast<Value>(&property);
    if (!value) {
        failToTake(list.file(), key, std::string("is not ") + kindOf(target) + '.');
    }
    target = *value;
    return 1;
}

}  // namespace

InvalidConfiguration::InvalidConfiguration(const std::string& message) : BaseException(message) {}
InvalidConfiguration::InvalidConfiguration(const InvalidConfiguration&) = default;
InvalidConfiguration& InvalidConfiguration::operator=(const InvalidConfiguration&) = default;
InvalidConfiguration::~InvalidConfiguration() = default;

bool operator<(const Configuration& left, const Configuration& right) {
    return left.description.compare(right.description) < 0;
}

Configuration::Configuration(const boost::filesystem::path& directory, bool loadNow) {
    logVerbose("instancing configuration: ", directory);
    setPath(directory);
    if (loadNow) {
        load();
        mNeedsSaving = false;
    }
    if (verboseLogger().isOn()) {
        logVerbose("config: ", name(), " mNeedsSaving = ", mNeedsSaving);
    }
}

std::string Configuration::name() const {
    return leafName(mPath);
}

void Configuration::setPath(const boost::filesystem::path& directory) {
    mPath = directory;
    mPropertiesState = {};
    mSettings.setDataFile(settingsFile(versionPath()));
}

// The files are still those that were loaded.
void Configuration::directoryRenamed(const boost::filesystem::path& directory) {
    const Base::FileState properties = mPropertiesState, settings = mSettings.mFileState;
    setPath(directory);
    mPropertiesState = properties;
    mSettings.mFileState = settings;
}

boost::filesystem::path Configuration::propertyFile() const {
    return mPath / kPropertyFile;
}

boost::filesystem::path Configuration::versionPath() const {
    return mPath / SystemInformation().CadVersionDirectory;
}

bool Configuration::isUpdated() const {
    return Base::FileManager::exists(versionPath());
}

bool Configuration::isWin64Updated() const {
    return Base::FileManager::exists(versionPath() / "win64" / "udo");
}

boost::filesystem::path Configuration::commonConfigPath() const {
    return namesADepartment(commonDepartment) ? SystemInformation().localDepartmentsPath() / commonDepartment
                                              : mPath;
}

boost::filesystem::path Configuration::commonConfigVersionPath() const {
    return commonConfigPath() / SystemInformation().CadVersionDirectory;
}

void Configuration::load() {
    loadProperties();
    if (isUpdated()) {
        mSettings.load();
    } else {
        mSettings.mFileState = Base::FileState::missing();
    }
}

void Configuration::save() {
    logInfo("saving configuration settings: ", mPath);
    if (!needsSaving()) {
        return;
    }
    const bool savesSettings = mSettings.needsSaving() && isUpdated();
    const boost::filesystem::path file = propertyFile();
    std::optional<std::string> before;
    if (savesSettings) {
        // What others have changed is told before anything is written.
        Base::FileManager::requireUnchanged(mSettings.mDataFile, mSettings.mFileState);
        if (!Base::FileManager::isMissing(file)) {
            before = Base::FileManager::readFile(file);
        }
    }
    saveProperties();
    if (savesSettings) {
        try {
            mSettings.save();
        } catch (...) {
            if (before && mPropertiesState != Base::FileState::of(*before)) {
                runAfterFailure([&] { Base::FileManager::replaceFile(file, *before, mPropertiesState); });
            }
            throw;
        }
    }
    mNeedsSaving = false;
}

void Configuration::loadProperties() {
    const Base::PropertyList list = readProperties(propertyFile());
    if (!list.list()) {
        throw InvalidConfiguration("Directory " + Base::FileManager::native(mPath) +
                                   " is not valid department.");
    }
    logVerbose("  Loading configuration's properties");
    if (!list.hasProperty(kDescription)) {
        failToTake(list.file(), kDescription, "is missing; it must be a text.");
    }
    std::string newDescription, newType = type, newCommonDepartment = commonDepartment;
    bool newDoFileCleanup = doFileCleanup;
    std::uint32_t newCleanupDays = cleanupDays;
    std::size_t taken = takeProperty(list, kDescription, newDescription);
    taken += takeProperty(list, kType, newType);
    taken += takeProperty(list, kCommonDepartment, newCommonDepartment);
    taken += takeProperty(list, kDoFileCleanup, newDoFileCleanup);
    taken += takeProperty(list, kCleanupDays, newCleanupDays);
    if (taken != boost::any_cast<const Base::PropertyList::Dictionary&>(*list.list()).size()) {
        Base::FileManager::noteDamaged(list.file());  // nobody knows the others
    }
    mPropertiesState = list.fileState();
    description = std::move(newDescription);
    type = std::move(newType);
    commonDepartment = std::move(newCommonDepartment);
    doFileCleanup = newDoFileCleanup;
    cleanupDays = newCleanupDays;
    logVerbose("  Loaded the configuration's properties");
}

void Configuration::saveProperties() {
    logVerbose("  Saving configuration's properties");
    Base::PropertyList list;
    list.setFile(propertyFile());
    list.setFileState(mPropertiesState);
    list.setProperty(kDescription, description);
    list.setProperty(kType, type);
    list.setProperty(kCommonDepartment,
                     namesADepartment(commonDepartment) ? commonDepartment : std::string());
    list.setProperty(kDoFileCleanup, doFileCleanup);
    list.setProperty(kCleanupDays, cleanupDays);
    list.saveList();
    mPropertiesState = list.fileState();
}

void Configuration::createNXVersionDirectory() {
    const SystemInfo& info = SystemInformation();
    const auto archive = info.installPath() / "data" / "install" / info.CadVersionDataFilename;
    if (!Base::FileManager::exists(archive)) {
        throw std::runtime_error("Data file " + Base::FileManager::native(archive) + " was not found.");
    }
    const boost::filesystem::path directory = versionPath();
    const auto failAsPresent = [&directory] {
        throw std::runtime_error("Directory " + Base::FileManager::native(directory) + " already exists.");
    };
    if (Base::FileManager::exists(directory)) {
        failAsPresent();
    }
    Base::NewDirectory made(directory);
    Base::FileManager::setPermissions(made.path(), kDirectoryPermissions);
    unpackVersionFiles(archive, made.path());
    const auto previous = settingsFile(mPath / info.PreviousCadVersionDirectory);
    const bool hasPrevious = !Base::FileManager::isMissing(previous);
    if (hasPrevious) {
        const auto present = settingsFile(made.path());
        if (Base::FileManager::createDirectory(present.parent_path())) {
            Base::FileManager::setPermissions(present.parent_path(), kDirectoryPermissions);
        }
        Base::FileManager::copyFile(previous, present);
    }
    try {
        made.finish();
    } catch (const boost::filesystem::filesystem_error& error) {
        if (error.code() == boost::system::errc::file_exists) {
            failAsPresent();
        }
        throw;
    }
    mSettings.mFileState = Base::FileState::missing();
    if (hasPrevious || !mSettings.needsSaving()) {  // what the archive brings replaces no edits
        mSettings.load();
    }
}

void Configuration::createWin64VersionDirectory() {
    const boost::filesystem::path version = versionPath();
    const boost::filesystem::path win64 = version / "win64";
    const boost::filesystem::path directories[] = {version / "lib" / "win64", win64, win64 / "application",
                                                   win64 / "startup", win64 / "udo"};
    for (const auto& directory : directories) {
        Base::FileManager::createDirectory(directory);
    }
    for (const auto& directory : directories) {
        Base::FileManager::setPermissions(directory, kDirectoryPermissions);
    }
}

void Configuration::mergeEnvVariables(std::vector<EnvironmentVariable>& variables) const {
    mSettings.mergeEnvVariables(variables);
}

void Configuration::mergeEnvVariables(VariableList& variables) const {
    mSettings.mergeEnvVariables(variables);
}

}  // namespace Kym
