#pragma once

#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "base/FileState.h"
#include "kym/ApplicationOverlay.h"
#include "kym/ConfigApplication.h"
#include "kym/DisablePluginSource.h"
#include "kym/SettingsProtocol.h"
#include "kym/WorkDirectory.h"

namespace Kym {

/// What a department keeps per CAD release: variables, work directories, applications, overlays of
/// applications that it does not own, and the plugins that it switches off.
///
/// Copying copies everything, marks included. A table model points at a list of the object that it was
/// obtained from and is obtained anew after a copy.
class KYM_EXPORT ConfigurationSettings : public SettingsProtocol {
  public:
    /// Empty lists and no file. The first one made brings the plugin registry into existence.
    ConfigurationSettings();

    /// Names the file of these settings; nothing is read, and nothing is known of what it holds.
    void setDataFile(const boost::filesystem::path& file) {
        mDataFile = file;
        mFileState = {};
    }

    /// Reads the file, when there is one. A file that cannot be read or understood is no error: the lists
    /// that were read before the failure are taken, the others stay as they were, and the next `save` keeps a
    /// copy of the file. No mark changes.
    void load();

    /// Writes the file when something needs saving, then clears the marks. Errors of the file system as in
    /// `Base::FileManager::replaceFile`, and `Base::FileChanged`; every mark then stays set.
    void save();
    bool needsSaving() const;
    void setNeedsSaving(bool needsSaving) { mNeedsSaving = needsSaving; }

    /// The applications, each made to name `configurationName` as its configuration.
    const std::vector<ConfigApplication>& applicationList(const std::string& configurationName);
    const std::vector<WorkDirectory>& workDirectoryList() const { return mWorkDirectories; }

    /// The table models of the lists, owned by this object.
    ApplicationListSource* applications();
    WorkDirectoryListSource* workDirectories();
    DisablePluginSource* disablePlugins();

    /// Whether a plugin of exactly that name is switched off.
    bool isPluginDisabled(const std::string& plugin) const;

    /// The names of the plugins that are switched off, those too that no plugin has.
    const std::vector<std::string>& disabledPlugins() const { return mDisabledPlugins; }
    void setDisabledPlugins(const std::vector<std::string>& names);

    /// At most one overlay per configuration name and application identifier; both are compared exactly.
    const std::vector<ApplicationOverlay>& overlays() const { return mOverlays; }
    bool hasOverlay(const std::string& configurationName, const std::string& applicationId);

    /// A copy of the overlay, or a new one of these names, which is not stored.
    ApplicationOverlay getOverlay(const std::string& configurationName, const std::string& applicationId);

    /// Stores an overlay in the place of the one of the same names, or at the end.
    void setOverlay(const ApplicationOverlay& overlay);

    /// Removes an overlay; one that is not there changes nothing.
    void removeOverlay(const std::string& configurationName, const std::string& applicationId);

    /// Merges the department's variables into the list that is being assembled.
    void mergeEnvVariables(std::vector<EnvironmentVariable>& variables) const;

  private:
    friend class Configuration;
    friend class Launcher;
    void mergeEnvVariables(VariableList& variables) const;

    std::vector<WorkDirectory> mWorkDirectories;
    std::vector<ConfigApplication> mApplications;
    std::vector<ApplicationOverlay> mOverlays;
    std::vector<std::string> mDisabledPlugins;
    boost::filesystem::path mDataFile;
    Base::FileState mFileState;  // of the data file
    WorkDirectoryListSource mWorkDirectorySource;
    DisablePluginSource mDisablePluginSource;
    ApplicationListSource mApplicationSource;
    bool mNeedsSaving = false;
};

}  // namespace Kym
