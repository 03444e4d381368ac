#include "kym/SiteSettings.h"

#include <array>
#include <stdexcept>
#include <vector>

#include <boost/filesystem/exception.hpp>

#include "base/Environment.h"
#include "base/FileManager.h"
#include "base/Text.h"
#include "base/platform/Registry.h"
#include "base/platform/ShortPath.h"
#include "kym/ArchiveMembers.h"
#include "kym/DirectoryScan.h"
#include "kym/Loggers.h"
#include "kym/PluginsManager.h"
#include "kym/ProcessWide.h"
#include "kym/SystemInfo.h"
#include "kym/VariableList.h"

namespace Kym {
namespace {

const std::string useWindowsRegistryKey = "Use Windows Registry Key";
const std::string commonEnvironmentKey = "Common Environment Variables Key";
const std::string unixEnvironmentKey = "Unix Environment Variables Key";
const std::string winEnvironmentKey = "Windows Environment Variables Key";
const std::string unixExternalPluginsKey = "Unix External Plugins Location Key";
const std::string winExternalPluginsKey = "Windows External Plugins Location Key";

struct Derived {
    const char* key;
    EnvironmentVariable SiteSettings::*member;
};
constexpr std::array<Derived, 7> installations{{
    {"UNIX NX Install Path Key", &SiteSettings::unixNxInstallPath},
    {"Windows NX Install Path Key", &SiteSettings::winNxInstallPath},
    {"UNIX TcEng Install Path Key", &SiteSettings::unixTcEngInstallPath},
    {"Windows TcEng Install Path Key", &SiteSettings::winTcEngInstallPath},
    {"UNIX Portal Install Path Key", &SiteSettings::unixPortalInstallPath},
    {"Windows Portal Install Path Key", &SiteSettings::winPortalInstallPath},
    {"UNIX Browser Key", &SiteSettings::browser},
}};
constexpr std::array<Derived, 2> plotConfigurations{{
    {"Unix NX Plot Conf Directory Base Key", &SiteSettings::unixPlotConfBase},
    {"Windows NX Plot Conf Directory Base Key", &SiteSettings::winPlotConfBase},
}};

std::string registeredInstallPath() {
    const SystemInfo& system = SystemInformation();
    if (system.CadWindowsRegistryPath.empty()) {
        return {};
    }
    return Base::Platform::localMachineText(system.CadWindowsRegistryPath, system.CadInstallPathVariable);
}

void mergeInstallation(VariableList& list, const EnvironmentVariable& installation) {
    list.mergePlain(installation);
    list.mergePlain(EnvironmentVariable("UGII_ROOT_DIR", installation.value + "\\ugii\\"));
}

}  // namespace

SiteSettings::SiteSettings() {
    updateVarNames();
    load();
    initializeExternalPlugins();
}

void SiteSettings::load() {
    const boost::filesystem::path file = dataFile();
    logInfo("Loading site settings file: ", file);
    if (Base::FileManager::isMissing(file)) {
        mFileState = Base::FileState::missing();
        return;
    }
    Base::Unarchiver unarchiver(file);
    MemberReader members(unarchiver);
    for (const Derived& derived : installations) {
        members.readObject(derived.key, this->*derived.member);
    }
    members.readValue(useWindowsRegistryKey, useWindowsRegistry);
    members.readObject(commonEnvironmentKey, mCommonVariables);
    members.readObject(unixEnvironmentKey, mUnixVariables);
    members.readObject(winEnvironmentKey, mWinVariables);
    for (const Derived& derived : plotConfigurations) {
        members.readObject(derived.key, this->*derived.member);
    }
    members.readValue(unixExternalPluginsKey, unixExternalPluginsLocation);
    members.readValue(winExternalPluginsKey, winExternalPluginsLocation);
    members.take();
    mFileState = unarchiver.fileState();
    updateVarNames();
}

void SiteSettings::save() {
    if (!needsSaving()) {
        return;
    }
    const boost::filesystem::path file = dataFile();
    logInfo("Saving site settings file: ", file);
    Base::Archiver archiver(file);
    for (const Derived& derived : installations) {
        encodeMember(archiver, derived.key, this->*derived.member);
    }
    archiver.encode(useWindowsRegistryKey, useWindowsRegistry);
    encodeMember(archiver, commonEnvironmentKey, mCommonVariables);
    encodeMember(archiver, unixEnvironmentKey, mUnixVariables);
    encodeMember(archiver, winEnvironmentKey, mWinVariables);
    for (const Derived& derived : plotConfigurations) {
        encodeMember(archiver, derived.key, this->*derived.member);
    }
    archiver.encode(unixExternalPluginsKey, unixExternalPluginsLocation);
    archiver.encode(winExternalPluginsKey, winExternalPluginsLocation);
    archiver.finishEncoding(mFileState);
    setVariablesEdited(false);
    mSettingsChanged = false;
}

bool SiteSettings::needsSaving() const {
    return mSettingsChanged || variablesEdited();
}

void SiteSettings::mergeEnvVariables(std::vector<EnvironmentVariable>& list) const {
    mergeIndexed(list, [&](VariableList& indexed) { mergeEnvVariables(indexed); });
}

void SiteSettings::mergeEnvVariables(VariableList& list) const {
    logInfo("  merging site envirnment variables");
    const SystemInfo& system = SystemInformation();
    const auto nowFrom = [record = list.record()](const boost::filesystem::path& file) {
        if (record) {
            record->from(file);
        }
    };
    const boost::filesystem::path file = list.record() ? dataFile() : boost::filesystem::path(), nowhere;
    if (useWindowsRegistry) {
        nowFrom("HKEY_LOCAL_MACHINE\\" + system.CadWindowsRegistryPath);
        std::string installation = registeredInstallPath();
        if (!installation.empty()) {
            if (installation.back() == '\\') {
                installation.pop_back();
            }
            mergeInstallation(list, EnvironmentVariable(system.CadInstallPathVariable, installation));
        }
    } else if (!winNxInstallPath.value.empty()) {
        nowFrom(file);
        mergeInstallation(list, winNxInstallPath);
    }
    nowFrom(file);
    list.mergePlain(winTcEngInstallPath);
    list.mergePlain(winPortalInstallPath);
    list.mergePlain(winPlotConfBase);
    nowFrom(nowhere);
    list.append(EnvironmentVariable(system.CadWebBrowserVariable, getWebBrowser()));
    nowFrom(file);
    if (!winPlotConfBase.value.empty()) {
        list.mergePlain(EnvironmentVariable("UGII_SDI_SERVER_CFG_DIR", winPlotConfBase.value + "/win"));
    }
    nowFrom(nowhere);
    if (!list.valueOf("UGII_UGDOC_BASE_DIR")) {
        list.append(EnvironmentVariable("UGII_UGDOC_BASE_DIR", "${UGII_BASE_DIR}/ugdoc"));
    }
    nowFrom(file);
    mergeUserEnvVariables(list);
}

std::string SiteSettings::getWebBrowser() const {
    std::string longPath = "${PROGRAMFILES}\\Internet Explorer\\iexplore.exe";
    try {
        Base::Environment::expandEnvVariables(longPath);
    } catch (const Base::Environment::ExpansionError&) {
        // The text as it stands tells whoever does not find the browser what is at fault.
    }
    if (mLongBrowserPath != longPath) {
        const std::string shortPath = Base::Platform::shortPath(longPath);
        if (shortPath.empty()) {
            return longPath;
        }
        mLongBrowserPath = longPath;
        mShortBrowserPath = shortPath;
    }
    return mShortBrowserPath;
}

std::string SiteSettings::datafilename() const {
    return "site_settings" + SystemInformation().SiteSettingsSuffix + ".dat";
}

boost::filesystem::path SiteSettings::dataFile() const {
    return SystemInformation().localDepartmentsPath() / datafilename();
}

void SiteSettings::updateVarNames() {
    const SystemInfo& system = SystemInformation();
    unixNxInstallPath.name = winNxInstallPath.name = system.CadInstallPathVariable;
    unixTcEngInstallPath.name = winTcEngInstallPath.name = system.tcEngInstallPathVariable;
    unixPortalInstallPath.name = winPortalInstallPath.name = "TC_PORTAL_ROOT";
    browser.name = system.CadWebBrowserVariable;
    unixPlotConfBase.name = winPlotConfBase.name = "SDI_SERVER_CFG_BASE";
}

void SiteSettings::initializeExternalPlugins() {
    const bool endsEarly = winExternalPluginsLocation.find('\0') != std::string::npos;
    if (endsEarly || !Base::FileManager::existsAt(winExternalPluginsLocation)) {
        return;
    }
    logInfo("adding external plugins");
    std::vector<boost::filesystem::path> directories;
    try {
        directories = entriesInNameOrder(winExternalPluginsLocation);
    } catch (const boost::filesystem::filesystem_error& error) {
        throw std::runtime_error(
            Base::Text::readable("The directory of external plugins cannot be read, " +
                                 Base::FileManager::nativeText(winExternalPluginsLocation) + ", which " +
                                 Base::FileManager::native(dataFile()) +
                                 " names: " + error.code().message()) +
            ". Make it a directory that can be read, or move it away: then there are no external plugins.");
    }
    const int present = PluginsManagement().numberOfPlugins();
    try {
        for (const boost::filesystem::path& directory : directories) {
            addExternalPlugin(directory);
        }
    } catch (...) {
        PluginsManagement().keepFirst(present);
        throw;
    }
}

void SiteSettings::addExternalPlugin(const boost::filesystem::path& directory) {
    PluginsManagement().addPlugin(directory);
}

SiteSettings& SiteInformation() {
    return processWide<SiteSettings>();
}

}  // namespace Kym
