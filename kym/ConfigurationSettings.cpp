#include "kym/ConfigurationSettings.h"

#include <algorithm>
#include <exception>

#include "base/Archiver.h"
#include "base/FileManager.h"
#include "base/Unarchiver.h"
#include "kym/ApplicationMarks.h"
#include "kym/ArchiveMembers.h"
#include "kym/Loggers.h"
#include "kym/VariableList.h"

namespace Kym {

namespace {

constexpr const char* kWorkDirectoryList = "Work Directory List";
constexpr const char* kDisabledPlugins = "Disabled Plugins";
constexpr const char* kApplicationOverlayList = "Application Overlay List";

template <typename Overlays>
auto findOverlay(Overlays& overlays, const std::string& configurationName, const std::string& applicationId) {
    return std::find_if(overlays.begin(), overlays.end(),
                        EqualOverlayOrApp(configurationName, applicationId));
}

}  // namespace

ConfigurationSettings::ConfigurationSettings()
    : mWorkDirectorySource(nullptr), mDisablePluginSource(nullptr), mApplicationSource(nullptr) {
    logVerbose("  instancing configuration settings");
}

void ConfigurationSettings::load() {
    if (Base::FileManager::isMissing(mDataFile)) {
        mFileState = Base::FileState::missing();
        return;
    }
    logInfo("Loading configuration settings file: ", mDataFile);
    try {
        Base::Unarchiver unarchiver(mDataFile);
        mFileState = unarchiver.fileState();
        replaceMember(unarchiver, kWorkDirectoryList, mWorkDirectories);
        replaceMember(unarchiver, commonVariablesKey, mCommonVariables);
        replaceMember(unarchiver, unixVariablesKey, mUnixVariables);
        replaceMember(unarchiver, winVariablesKey, mWinVariables);
        replaceMember(unarchiver, kDisabledPlugins, mDisabledPlugins);
        replaceMember(unarchiver, applicationListKey, mApplications);
        replaceMember(unarchiver, kApplicationOverlayList, mOverlays);
    } catch (const std::exception&) {
        // A department whose settings cannot be read or understood is still offered, with what could be read.
        // The unarchiver has noted that the file is damaged.
        mFileState = Base::FileManager::stateOf(mDataFile);
    }
}

void ConfigurationSettings::save() {
    if (!needsSaving()) {
        return;
    }
    logInfo("Saving configuration settings file: ", mDataFile);
    ApplicationMarks marks(mApplications);
    Base::Archiver archiver(mDataFile);
    encodeMember(archiver, kWorkDirectoryList, mWorkDirectories);
    encodeMember(archiver, commonVariablesKey, mCommonVariables);
    encodeMember(archiver, unixVariablesKey, mUnixVariables);
    encodeMember(archiver, winVariablesKey, mWinVariables);
    encodeMember(archiver, kDisabledPlugins, mDisabledPlugins);
    encodeMember(archiver, applicationListKey, mApplications);
    encodeMember(archiver, kApplicationOverlayList, mOverlays);
    archiver.finishEncoding(mFileState);
    marks.written();
    mWorkDirectorySource.setEdited(false);
    setVariablesEdited(false);
    mDisablePluginSource.setEdited(false);
    mApplicationSource.setEdited(false);
    mNeedsSaving = false;
}

bool ConfigurationSettings::needsSaving() const {
    return mNeedsSaving || variablesEdited() || mWorkDirectorySource.isEdited() ||
           mDisablePluginSource.isEdited() || mApplicationSource.isEdited() ||
           std::ranges::any_of(mApplications, &ConfigApplication::needsSaving);
}

const std::vector<ConfigApplication>& ConfigurationSettings::applicationList(
    const std::string& configurationName) {
    for (ConfigApplication& application : mApplications) {
        application.setConfigurationName(configurationName);
    }
    return mApplications;
}

ApplicationListSource* ConfigurationSettings::applications() {
    mApplicationSource.setList(&mApplications);
    return &mApplicationSource;
}

WorkDirectoryListSource* ConfigurationSettings::workDirectories() {
    mWorkDirectorySource.setList(&mWorkDirectories);
    return &mWorkDirectorySource;
}

DisablePluginSource* ConfigurationSettings::disablePlugins() {
    mDisablePluginSource.setList(&mDisabledPlugins);
    return &mDisablePluginSource;
}

bool ConfigurationSettings::isPluginDisabled(const std::string& plugin) const {
    return std::find(mDisabledPlugins.begin(), mDisabledPlugins.end(), plugin) != mDisabledPlugins.end();
}

void ConfigurationSettings::setDisabledPlugins(const std::vector<std::string>& names) {
    mDisabledPlugins = names;
    mNeedsSaving = true;
}

bool ConfigurationSettings::hasOverlay(const std::string& configurationName,
                                       const std::string& applicationId) {
    return findOverlay(mOverlays, configurationName, applicationId) != mOverlays.end();
}

ApplicationOverlay ConfigurationSettings::getOverlay(const std::string& configurationName,
                                                     const std::string& applicationId) {
    const auto found = findOverlay(mOverlays, configurationName, applicationId);
    if (found != mOverlays.end()) {
        return *found;
    }
    ApplicationOverlay overlay;
    overlay.configurationName = configurationName;
    overlay.applicationId = applicationId;
    return overlay;
}

void ConfigurationSettings::setOverlay(const ApplicationOverlay& overlay) {
    mNeedsSaving = true;
    const auto found = findOverlay(mOverlays, overlay.configurationName, overlay.applicationId);
    const bool isNew = found == mOverlays.end();
    logInfo(isNew ? "adding overlay for app " : "editing overlay for app ", overlay.applicationId);
    if (isNew) {
        mOverlays.push_back(overlay);
    } else {
        *found = overlay;
    }
}

void ConfigurationSettings::removeOverlay(const std::string& configurationName,
                                          const std::string& applicationId) {
    const auto found = findOverlay(mOverlays, configurationName, applicationId);
    if (found != mOverlays.end()) {
        mOverlays.erase(found);
        mNeedsSaving = true;
    }
}

void ConfigurationSettings::mergeEnvVariables(std::vector<EnvironmentVariable>& variables) const {
    mergeIndexed(variables, [&](VariableList& list) { mergeEnvVariables(list); });
}

void ConfigurationSettings::mergeEnvVariables(VariableList& variables) const {
    if (LaunchRecord* record = variables.record()) {
        record->from(mDataFile);
    }
    mergeUserEnvVariables(variables);
}

}  // namespace Kym
