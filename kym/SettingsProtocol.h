#pragma once

#include <vector>

#include "kym/EnvironmentVariable.h"

namespace Kym {

class VariableList;

/// What every settings layer has: environment variables for all platforms, for Unix and for Windows.
///
/// Copying copies the three lists. A list source points at a list of the object that it was obtained from and
/// is obtained anew after a copy.
class KYM_EXPORT SettingsProtocol {
  public:
    SettingsProtocol();
    SettingsProtocol(const SettingsProtocol&);
    SettingsProtocol(SettingsProtocol&&) noexcept;
    SettingsProtocol& operator=(const SettingsProtocol&);
    SettingsProtocol& operator=(SettingsProtocol&&) noexcept;
    ~SettingsProtocol();

    /// The table models of the three lists, owned by this object.
    EnvVariableListSource* commonVariables();
    EnvVariableListSource* unixVariables();
    EnvVariableListSource* winVariables();

    /// Merges this layer's variables into the list that is being assembled: the common ones, then those for
    /// Windows, each in list order. A later value replaces an earlier one, and $NAME or ${NAME} in the value
    /// of NAME stands for the earlier value (for nothing when there is none). The Unix variables are stored
    /// and edited only.
    void mergeUserEnvVariables(std::vector<EnvironmentVariable>& target) const;

  protected:
    friend class Launcher;

    /// The same into an indexed list.
    void mergeUserEnvVariables(VariableList& target) const;

    /// Whether a table model of one of the three lists was used to change it.
    bool variablesEdited() const;
    void setVariablesEdited(bool edited);

    std::vector<EnvironmentVariable> mCommonVariables;
    std::vector<EnvironmentVariable> mUnixVariables;
    std::vector<EnvironmentVariable> mWinVariables;

  private:
    EnvVariableListSource mCommonSource;  // bound to their lists by the accessors
    EnvVariableListSource mUnixSource;
    EnvVariableListSource mWinSource;
};

}  // namespace Kym
