#pragma once

#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "base/FileState.h"
#include "kym/ConfigApplication.h"
#include "kym/SettingsProtocol.h"

namespace Kym {

/// One plugin: a directory whose file `settings.dat` contributes environment variables and applications to
/// the departments of its type.
class KYM_EXPORT PluginSettings : public SettingsProtocol {
  public:
    /// Loads the plugin of a directory; errors as `load`.
    explicit PluginSettings(const boost::filesystem::path& directory);

    /// The name of the plugin's directory.
    std::string name() const;
    boost::filesystem::path path() const { return mDirectory; }

    /// Reads `settings.dat`; a plugin without that file keeps what it has, and so does a member whose key the
    /// file lacks. `Base::ArchiveError` when the file cannot be read; the plugin then is as it was before.
    void load();

    /// Writes `settings.dat` when something needs saving and clears the edited marks of the lists. A mark
    /// that `setNeedsSaving` set stays. Errors of the file system as in `Base::FileManager::replaceFile`,
    /// and `Base::FileChanged`; every mark then stays set.
    void save();
    bool needsSaving() const;
    void setNeedsSaving(bool needsSaving) { mNeedsSaving = needsSaving; }

    /// The applications, each made to name this plugin as its configuration: the directory name, then "
    /// Plugin".
    const std::vector<ConfigApplication>& applicationList();

    /// The table model of the applications, owned by this object.
    ApplicationListSource* applications();

    /// Merges the plugin's variables into the list that is being assembled.
    void mergeEnvVariables(std::vector<EnvironmentVariable>& variables) const;

    /// "Site-wide" for every department, otherwise the type of the departments that the plugin is for. Who
    /// changes it calls `setNeedsSaving(true)`.
    std::string pluginType = "Site-wide";

  private:
    friend class Launcher;
    friend class PluginsManager;
    void mergeEnvVariables(VariableList& variables) const;

    std::vector<ConfigApplication> mApplications;
    boost::filesystem::path mDataFile;
    Base::FileState mFileState;  // of the data file
    boost::filesystem::path mDirectory;
    ApplicationListSource mApplicationSource;
    bool mNeedsSaving = false;
};

}  // namespace Kym
