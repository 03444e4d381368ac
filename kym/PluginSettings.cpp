#include "kym/PluginSettings.h"

#include <algorithm>

#include "base/Archiver.h"
#include "base/FileManager.h"
#include "base/Unarchiver.h"
#include "kym/ApplicationMarks.h"
#include "kym/ArchiveMembers.h"
#include "kym/ConfigurationName.h"
#include "kym/LeafName.h"
#include "kym/Loggers.h"
#include "kym/VariableList.h"

namespace Kym {

namespace {

constexpr const char* kPluginType = "Plugin Type";
[[maybe_unused]] constexpr const char* kDisabledPlugins =
    "Disabled Plugins";  // reserved, not in a plugin's file

}  // namespace

PluginSettings::PluginSettings(const boost::filesystem::path& directory)
    : mDataFile(directory / "settings.dat"), mDirectory(directory), mApplicationSource(nullptr) {
    load();
}

std::string PluginSettings::name() const {
    return leafName(mDirectory);
}

void PluginSettings::load() {
    if (Base::FileManager::isMissing(mDataFile)) {
        mFileState = Base::FileState::missing();
        return;
    }
    logInfo("Loading plugin settings file: ", mDataFile);
    Base::Unarchiver unarchiver(mDataFile);
    MemberReader members(unarchiver);
    members.readValue(kPluginType, pluginType);
    members.readObject(commonVariablesKey, mCommonVariables);
    members.readObject(unixVariablesKey, mUnixVariables);
    members.readObject(winVariablesKey, mWinVariables);
    members.readObject(applicationListKey, mApplications);
    members.take();
    mFileState = unarchiver.fileState();
}

void PluginSettings::save() {
    if (!needsSaving()) {
        return;
    }
    logInfo("Saving plugin settings file: ", mDataFile);
    ApplicationMarks marks(mApplications);
    Base::Archiver archiver(mDataFile);
    archiver.encode(kPluginType, pluginType);
    encodeMember(archiver, commonVariablesKey, mCommonVariables);
    encodeMember(archiver, unixVariablesKey, mUnixVariables);
    encodeMember(archiver, winVariablesKey, mWinVariables);
    encodeMember(archiver, applicationListKey, mApplications);
    archiver.finishEncoding(mFileState);
    marks.written();
    setVariablesEdited(false);
    mApplicationSource.setEdited(false);
}

bool PluginSettings::needsSaving() const {
    const bool result = mNeedsSaving || variablesEdited() || mApplicationSource.isEdited() ||
                        std::ranges::any_of(mApplications, &ConfigApplication::needsSaving);
    if (verboseLogger().isOn()) {
        logVerbose("Plugin: ", name(), " needsSaving = ", result);
    }
    return result;
}

const std::vector<ConfigApplication>& PluginSettings::applicationList() {
    const std::string configurationName = pluginConfigurationName(name());
    for (ConfigApplication& application : mApplications) {
        application.setConfigurationName(configurationName);
    }
    return mApplications;
}

ApplicationListSource* PluginSettings::applications() {
    mApplicationSource.setList(&mApplications);
    return &mApplicationSource;
}

void PluginSettings::mergeEnvVariables(std::vector<EnvironmentVariable>& variables) const {
    mergeIndexed(variables, [&](VariableList& list) { mergeEnvVariables(list); });
}

void PluginSettings::mergeEnvVariables(VariableList& variables) const {
    if (LaunchRecord* record = variables.record()) {
        record->from(mDataFile);
    }
    mergeUserEnvVariables(variables);
}

}  // namespace Kym
