#include "kym/SystemInfo.h"

#include <array>
#include <optional>
#include <stdexcept>

#include "base/Archiver.h"
#include "base/Environment.h"
#include "base/FileManager.h"
#include "base/Unarchiver.h"
#include "base/platform/UserFolders.h"
#include "kym/Loggers.h"
#include "kym/ProcessWide.h"

namespace Kym {
namespace {

using Base::FileManager::native;
using boost::filesystem::path;

const std::string installPathVariable = "KYM_BASE_DIR";

struct Constant {
    const char* key;
    std::string SystemInfo::*member;
};
constexpr std::array<Constant, 17> constants{{
    {"KymVersionString", &SystemInfo::KymVersionString},
    {"CadVersionDirectory", &SystemInfo::CadVersionDirectory},
    {"PreviousCadVersionDirectory", &SystemInfo::PreviousCadVersionDirectory},
    {"KymConfigPathEnvVarName", &SystemInfo::KymConfigPathEnvVarName},
    {"KymConfigFallbackDirectoryName", &SystemInfo::KymConfigFallbackDirectoryName},
    {"KymApplicationDataDirectoryName", &SystemInfo::KymApplicationDataDirectoryName},
    {"BroadcastDirectoryName", &SystemInfo::BroadcastDirectoryName},
    {"BroadcastStartMessage", &SystemInfo::BroadcastStartMessage},
    {"SiteSettingsSuffix", &SystemInfo::SiteSettingsSuffix},
    {"CadWindowsRegistryPath", &SystemInfo::CadWindowsRegistryPath},
    {"CadProductName", &SystemInfo::CadProductName},
    {"CadSupportedVersionString", &SystemInfo::CadSupportedVersionString},
    {"CadInstallPathVariable", &SystemInfo::CadInstallPathVariable},
    {"CadWebBrowserVariable", &SystemInfo::CadWebBrowserVariable},
    {"tcEngInstallPathVariable", &SystemInfo::tcEngInstallPathVariable},
    {"tcEngDatabaseVariable", &SystemInfo::tcEngDatabaseVariable},
    {"CadVersionDataFilename", &SystemInfo::CadVersionDataFilename},
}};

std::optional<path> expanded(std::string text) {
    try {
        return Base::Environment::expandEnvVariables(text);
    } catch (const Base::Environment::ExpansionError&) {
        return std::nullopt;
    }
}

// The directory beside "C:\kym\" is the one beside "C:\kym"; its parent would else be "C:\kym" itself.
path withoutSeparatorsAtEnd(path directory) {
    while (directory.has_relative_path() && (directory.native().back() == path::separator ||
                                             directory.native().back() == path::preferred_separator)) {
        directory.remove_trailing_separator();
    }
    return directory;
}

std::optional<path> departmentsOfVariable(const std::string& variable) {
    const std::string value = Base::Environment::getEnvVariable(variable);
    if (value.empty()) {
        return std::nullopt;
    }
    logInfo("Checking if variable", value, " can is a valid ugsite");
    std::optional<path> candidate = expanded(value);
    if (!candidate || !Base::FileManager::isDirectory(*candidate)) {
        return std::nullopt;
    }
    logVerbose("Using ", *candidate, " as ugsite");
    return candidate;
}

std::optional<path> departmentsBeside(const path& installation) {
    logInfo("Checking for ugsite as sibling of ", installation);
    path candidate = installation.parent_path() / "ugsite";
    logVerbose("  does this exist? ", candidate);
    if (!Base::FileManager::isDirectory(candidate)) {
        return std::nullopt;
    }
    logVerbose("Using ", candidate, " as ugsite");
    return candidate;
}

std::optional<path> fallbackDepartments(const path& candidate) {
    logInfo("Using fallback ugsite: ", candidate);
    return Base::FileManager::isDirectory(candidate) ? std::optional(candidate) : std::nullopt;
}

}  // namespace

SystemInfo::SystemInfo() : mDataFile(installPath() / "config" / "sysinfo.dat") {
    load();
}

void SystemInfo::load() {
    logInfo("Loading system information: ", mDataFile);
    const bool missing = Base::FileManager::isMissing(mDataFile);
    mFileState = missing ? Base::FileState::missing() : Base::FileState();
    if (missing || !Base::FileManager::isReadable(mDataFile)) {
        if (!missing) {
            Base::FileManager::noteDamaged(mDataFile);
        }
        logInfo("  Data file was not found or not readable. Using default settings.");
        return;
    }
    try {
        Base::Unarchiver unarchiver(mDataFile);
        mFileState = unarchiver.fileState();
        for (const Constant& constant : constants) {
            unarchiver.decode(constant.key, this->*constant.member);
        }
    } catch (const std::exception&) {
        mFileState = Base::FileManager::stateOf(mDataFile);
        logInfo("  Could not read data file for some reason. Using default settings.");
    }
}

void SystemInfo::save() {
    if (!needsSaving()) {
        return;
    }
    logInfo("saving system information: ", mDataFile);
    Base::Archiver archiver(mDataFile);
    for (const Constant& constant : constants) {
        archiver.encode(constant.key, this->*constant.member);
    }
    archiver.finishEncoding(mFileState);
    mSettingsChanged = false;
}

const path& SystemInfo::installPath() const {
    static const path installation = [] {
        const std::string value = Base::Environment::getEnvVariable(installPathVariable);
        return withoutSeparatorsAtEnd(expanded(value).value_or(value));
    }();
    if (installation.empty()) {
        throw std::runtime_error(installPathVariable + " is not set.");
    }
    if (!Base::FileManager::isDirectory(installation)) {
        throw std::runtime_error(installPathVariable + " is set to a invalid directory:\n  " +
                                 native(installation));
    }
    return installation;
}

const path& SystemInfo::applicationDataPath() const {
    static std::optional<path> data;
    if (data) {
        return *data;
    }
    const std::optional<path> folder = Base::Platform::applicationDataFolder();
    if (!folder) {
        data.emplace();  // the system is asked once
        throw std::runtime_error("ERROR: Problem getting user's application data folder.");
    }
    const path wanted = *folder / KymApplicationDataDirectoryName;
    Base::FileManager::ensureDirectory(wanted);
    return data.emplace(wanted);
}

const path& SystemInfo::localDepartmentsPath() const {
    static bool discovered = false;
    static std::optional<path> departments;
    if (!discovered) {
        discovered = true;
        departments = departmentsOfVariable(KymConfigPathEnvVarName);
        if (!departments) {
            departments = departmentsBeside(installPath());
        }
        if (!departments) {
            departments = fallbackDepartments(installPath() / KymConfigFallbackDirectoryName);
        }
    }
    if (!departments) {
        throw std::runtime_error(
            "Problem determining where local department directory is located.\nUsually defined by " +
            KymConfigPathEnvVarName + " environment variable.");
    }
    return *departments;
}

const std::string& SystemInfo::osDirectoryName() const {
    static const std::string name = "win64";
    return name;
}

const std::string& SystemInfo::osaDirectoryName() const {
    return osDirectoryName();
}

const std::string& SystemInfo::scriptExtension() const {
    static const std::string extension = "bat";
    return extension;
}

SystemInfo& SystemInformation() {
    return processWide<SystemInfo>();
}

}  // namespace Kym
