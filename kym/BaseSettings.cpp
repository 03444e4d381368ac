#include "kym/BaseSettings.h"

#include <algorithm>

#include "base/FileManager.h"
#include "kym/ApplicationMarks.h"
#include "kym/ArchiveMembers.h"
#include "kym/ConfigurationName.h"
#include "kym/Loggers.h"
#include "kym/ProcessWide.h"
#include "kym/SystemInfo.h"
#include "kym/VariableList.h"

namespace Kym {

BaseSettings::BaseSettings() : mDataFile(SystemInformation().installPath() / "config" / "baseSettings.dat") {
    load();
}

void BaseSettings::load() {
    if (Base::FileManager::isMissing(mDataFile)) {
        mFileState = Base::FileState::missing();
        return;
    }
    logInfo("Loading base settings file: ", mDataFile);
    Base::Unarchiver unarchiver(mDataFile);
    MemberReader members(unarchiver);
    members.readObject(commonVariablesKey, mCommonVariables);
    members.readObject(unixVariablesKey, mUnixVariables);
    members.readObject(winVariablesKey, mWinVariables);
    members.readObject(applicationListKey, mApplications);
    members.take();
    mFileState = unarchiver.fileState();
}

void BaseSettings::save() {
    if (!needsSaving()) {
        return;
    }
    logInfo("Saving base settings file: ", mDataFile);
    ApplicationMarks marks(mApplications);
    Base::Archiver archiver(mDataFile);
    encodeMember(archiver, commonVariablesKey, mCommonVariables);
    encodeMember(archiver, unixVariablesKey, mUnixVariables);
    encodeMember(archiver, winVariablesKey, mWinVariables);
    encodeMember(archiver, applicationListKey, mApplications);
    archiver.finishEncoding(mFileState);
    marks.written();
    setVariablesEdited(false);
    mApplicationSource.setEdited(false);
}

bool BaseSettings::needsSaving() const {
    return variablesEdited() || mApplicationSource.isEdited() ||
           std::ranges::any_of(mApplications, &ConfigApplication::needsSaving);
}

void BaseSettings::mergeEnvVariables(std::vector<EnvironmentVariable>& list) const {
    mergeIndexed(list, [&](VariableList& indexed) { mergeEnvVariables(indexed); });
}

void BaseSettings::mergeEnvVariables(VariableList& list) const {
    logInfo("  merging core KYM envirnment variables");
    if (LaunchRecord* record = list.record()) {
        record->from(mDataFile);
    }
    mergeUserEnvVariables(list);
}

const std::vector<ConfigApplication>& BaseSettings::applicationList() {
    for (ConfigApplication& application : mApplications) {
        application.setConfigurationName(baseConfigurationName);
    }
    return mApplications;
}

ApplicationListSource* BaseSettings::applications() {
    mApplicationSource.setList(&mApplications);
    return &mApplicationSource;
}

BaseSettings& BaseInformation() {
    return processWide<BaseSettings>();
}

}  // namespace Kym
