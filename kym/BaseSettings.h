#pragma once

#include <vector>

#include <boost/filesystem/path.hpp>

#include "base/FileState.h"
#include "kym/ConfigApplication.h"

namespace Kym {

/// The lowest settings layer: the variables and the applications that the installation itself defines for
/// every site, department and user. Kept in "config/baseSettings.dat" of the installation.
class KYM_EXPORT BaseSettings : public SettingsProtocol {
  public:
    /// Loads the data file; errors as of `load` and of `SystemInfo::installPath`.
    BaseSettings();

    /// Replaces the lists by the content of the data file. A list that the file lacks stays as it is, and so
    /// do all of them when there is no file. After an error (`Base::ArchiveError`) nothing has changed.
    void load();

    /// Writes the data file when `needsSaving()`. `Base::FileChanged` when somebody else has changed it since
    /// it was loaded. After an error the store still needs saving.
    void save();

    /// Whether a variable list, the application list or the variables of an application were edited.
    bool needsSaving() const;

    /// Merges the variables of this layer into the list that is being assembled.
    void mergeEnvVariables(std::vector<EnvironmentVariable>& list) const;

    /// The applications. Every call sets the configuration name of each to "Base KYM", which tells them from
    /// those of a department.
    const std::vector<ConfigApplication>& applicationList();

    /// The table model of the applications, owned by this object.
    ApplicationListSource* applications();

  private:
    friend class Launcher;
    void mergeEnvVariables(VariableList& list) const;

    std::vector<ConfigApplication> mApplications;
    boost::filesystem::path mDataFile;
    Base::FileState mFileState;  // of the data file
    ApplicationListSource mApplicationSource;
};

/// The one base store of the process.
KYM_EXPORT BaseSettings& BaseInformation();

}  // namespace Kym
