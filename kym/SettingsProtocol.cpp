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
    VariableList list(target);
    mergeUserEnvVariables(list);
}

void SettingsProtocol::mergeUserEnvVariables(VariableList& target) const {
    target.reserve(mCommonVariables.size() + mWinVariables.size());
    for (const EnvironmentVariable& variable : mCommonVariables) {
        target.mergeLayered(variable);
    }
    for (const EnvironmentVariable& variable : mWinVariables) {
        target.mergeLayered(variable);
    }
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
