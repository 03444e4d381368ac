#include "kym/SettingsProtocol.h"

#include "kym/VariableList.h"

namespace Kym {

SettingsProtocol::SettingsProtocol() : mCommonSource(nullptr), mUnixSource(nullptr), mWinSource(nullptr) {}
SettingsProtocol::SettingsProtocol(const SettingsProtocol&) = default;
SettingsProtocol::SettingsProtocol(SettingsProtocol&&) noexcept = default;
SettingsProtocol& SettingsProtocol::operator=(const SettingsProtocol&) = default;
SettingsProtocol& SettingsProtocol::operator=(SettingsProtocol&&) noexcept = default;
SettingsProtocol::~SettingsProtocol() = default;

EnvVariableListSource* SettingsProtocol::commonVariables() {
    mCommonSource.setList(&mCommonVariables);
    return &mCommonSource;
}

EnvVariableListSource* SettingsProtocol::unixVariables() {
    mUnixSource.setList(&mUnixVariables);
    return &mUnixSource;
}

EnvVariableListSource* SettingsProtocol::winVariables() {
    mWinSource.setList(&mWinVariables);
    return &mWinSource;
}

void SettingsProtocol::mergeUserEnvVariables(std::vector<EnvironmentVariable>& target) const {
    mergeIndexed(target, [&](VariableList& list) { mergeUserEnvVariables(list); });
}

void SettingsProtocol::mergeUserEnvVariables(VariableList& target) const {
    target.mergeLayered(mCommonVariables);
    target.mergeLayered(mWinVariables);
}

bool SettingsProtocol::variablesEdited() const {
    return mCommonSource.isEdited() || mUnixSource.isEdited() || mWinSource.isEdited();
}

void SettingsProtocol::setVariablesEdited(bool edited) {
    mCommonSource.setEdited(edited);
    mUnixSource.setEdited(edited);
    mWinSource.setEdited(edited);
}

}  // namespace Kym
