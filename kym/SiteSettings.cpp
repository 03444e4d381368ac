#include "kym/SiteSettings.h"

#include <array>
#include <utility>

#include <boost/filesystem/operations.hpp>

#include "base/Environment.h"
#include "base/FileManager.h"
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

using Base::FileManager::native;
using Base::log::LoggerStream;

const std::string useWindowsRegistryKey = "Use Windows Registry Key";
const std::string commonVariablesKey = "Common Environment Variables Key";
const std::string unixVariablesKey = "Unix Environment Variables Key";
const std::string winVariablesKey = "Windows Environment Variables Key";
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
    {"UNIX NX Plot Conf Directory Base Key", &SiteSettings::unixPlotConfBase},
    {"Windows NX Plot Conf Directory Base Key", &SiteSettings::winPlotConfBase},
}};

template <std::size_t Size>
std::array<EnvironmentVariable, Size> decodeAll(Base::Unarchiver& unarchiver,
                                                const std::array<Derived, Size>& members) {
    std::array<EnvironmentVariable, Size> variables;
    for (std::size_t i = 0; i < Size; ++i) {
        decodeMember(unarchiver, members[i].key, variables[i]);
    }
    return variables;
}

template <std::size_t Size>
void take(SiteSettings& site, const std::array<Derived, Size>& members,
          std::array<EnvironmentVariable, Size>& variables) {
    for (std::size_t i = 0; i < Size; ++i) {
        site.*members[i].member = std::move(variables[i]);
    }
}

template <std::size_t Size>
void encodeAll(Base::Archiver& archiver, SiteSettings& site, const std::array<Derived, Size>& members) {
    for (const Derived& derived : members) {
        encodeMember(archiver, derived.key, site.*derived.member);
    }
}

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
    if (LoggerStream line{infoLogger()}) {
        line << "Loading site settings file: " << native(file) << std::endl;
    }
    if (!boost::filesystem::exists(file)) {
        return;
    }
    std::vector<EnvironmentVariable> commonList, unixList, winList;
    bool registry = true;
    std::string unixPlugins, winPlugins;
    Base::Unarchiver unarchiver(file);
    auto installPaths = decodeAll(unarchiver, installations);
    unarchiver.decode(useWindowsRegistryKey, registry);
    decodeMember(unarchiver, commonVariablesKey, commonList);
    decodeMember(unarchiver, unixVariablesKey, unixList);
    decodeMember(unarchiver, winVariablesKey, winList);
    auto plotBases = decodeAll(unarchiver, plotConfigurations);
    unarchiver.decode(unixExternalPluginsKey, unixPlugins);
    unarchiver.decode(winExternalPluginsKey, winPlugins);

    take(*this, installations, installPaths);
    useWindowsRegistry = registry;
    mCommonVariables = std::move(commonList);
    mUnixVariables = std::move(unixList);
    mWinVariables = std::move(winList);
    take(*this, plotConfigurations, plotBases);
    unixExternalPluginsLocation = std::move(unixPlugins);
    winExternalPluginsLocation = std::move(winPlugins);
    updateVarNames();
}

void SiteSettings::save() {
    if (!needsSaving()) {
        return;
    }
    const boost::filesystem::path file = dataFile();
    if (LoggerStream line{infoLogger()}) {
        line << "Saving site settings file: " << native(file) << std::endl;
    }
    Base::Archiver archiver(file);
    encodeAll(archiver, *this, installations);
    archiver.encode(useWindowsRegistryKey, useWindowsRegistry);
    encodeMember(archiver, commonVariablesKey, mCommonVariables);
    encodeMember(archiver, unixVariablesKey, mUnixVariables);
    encodeMember(archiver, winVariablesKey, mWinVariables);
    encodeAll(archiver, *this, plotConfigurations);
    archiver.encode(unixExternalPluginsKey, unixExternalPluginsLocation);
    archiver.encode(winExternalPluginsKey, winExternalPluginsLocation);
    archiver.finishEncoding();
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
    if (LoggerStream line{infoLogger()}) {
        line << "  merging site envirnment variables" << std::endl;
    }
    const SystemInfo& system = SystemInformation();
    if (useWindowsRegistry) {
        std::string installation = registeredInstallPath();
        if (!installation.empty()) {
            if (installation.back() == '\\') {
                installation.pop_back();
            }
            mergeInstallation(list, EnvironmentVariable(system.CadInstallPathVariable, installation));
        }
    } else if (!winNxInstallPath.value.empty()) {
        mergeInstallation(list, winNxInstallPath);
    }
    list.mergePlain(winTcEngInstallPath);
    list.mergePlain(winPortalInstallPath);
    list.mergePlain(winPlotConfBase);
    list.append(EnvironmentVariable(system.CadWebBrowserVariable, getWebBrowser()));
    if (!winPlotConfBase.value.empty()) {
        list.mergePlain(EnvironmentVariable("UGII_SDI_SERVER_CFG_DIR", winPlotConfBase.value + "/win"));
    }
    if (!list.valueOf("UGII_UGDOC_BASE_DIR")) {
        list.append(EnvironmentVariable("UGII_UGDOC_BASE_DIR", "${UGII_BASE_DIR}/ugdoc"));
    }
    mergeUserEnvVariables(list);
}

std::string SiteSettings::getWebBrowser() const {
    std::string longPath = "${PROGRAMFILES}\\Internet Explorer\\iexplore.exe";
    Base::Environment::expandEnvVariables(longPath);
    const std::string shortPath = Base::Platform::shortPath(longPath);
    return shortPath.empty() ? longPath : shortPath;
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
    const boost::filesystem::path location(winExternalPluginsLocation);
    if (location.empty() || !boost::filesystem::is_directory(location)) {
        return;
    }
    if (LoggerStream line{infoLogger()}) {
        line << "adding external plugins" << std::endl;
    }
    for (const boost::filesystem::path& directory : entriesInNameOrder(location)) {
        addExternalPlugin(directory);
    }
}

void SiteSettings::addExternalPlugin(const boost::filesystem::path& directory) {
    PluginsManagement().addPlugin(directory);
}

SiteSettings& SiteInformation() {
    return processWide<SiteSettings>();
}

}  // namespace Kym
