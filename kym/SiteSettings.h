#pragma once

#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "base/FileState.h"
#include "kym/SettingsProtocol.h"

namespace Kym {

/// The site layer: where the CAD system, Teamcenter and the portal are installed, the site's own variables,
/// and the directory of the external plugins. Kept in the local departments directory, in the file
/// "site_settings", `SystemInfo::SiteSettingsSuffix`, ".dat".
///
/// The members below may be changed freely; call `settingsChanged()` afterwards. Their variable names are
/// fixed: each load sets them again.
class KYM_EXPORT SiteSettings : public SettingsProtocol {
  public:
    /// Loads the data file and registers the external plugins with `PluginsManagement()`. Errors as of
    /// `load`, of the plugins' files and of `SystemInfo::localDepartmentsPath`; no external plugin is
    /// registered then.
    SiteSettings();

    /// Replaces the settings by the content of the data file. One that the file lacks stays as it is, and so
    /// do all of them when there is no file. After an error (`Base::ArchiveError`) nothing has changed.
    void load();

    /// Writes the data file when `needsSaving()`. `Base::FileChanged` when somebody else has changed it since
    /// it was loaded. After an error the store still needs saving.
    void save();
    bool needsSaving() const;
    void settingsChanged() { mSettingsChanged = true; }

    /// Merges the derived variables of the site (install paths, web browser, documentation), then its
    /// variable lists, into the list that is being assembled. Unix values and `browser` take no part.
    void mergeEnvVariables(std::vector<EnvironmentVariable>& list) const;

    /// The browser that shows documentation, as a short path; as a long path when there is no short one, so
    /// that a message can name what is missing; with its reference to PROGRAMFILES, when that cannot be
    /// expanded. The member `browser` is not asked.
    std::string getWebBrowser() const;

    EnvironmentVariable unixNxInstallPath;
    EnvironmentVariable winNxInstallPath;  ///< applied when the registry is not used
    EnvironmentVariable unixTcEngInstallPath;
    EnvironmentVariable winTcEngInstallPath;
    EnvironmentVariable unixPortalInstallPath;
    EnvironmentVariable winPortalInstallPath;
    EnvironmentVariable browser;  ///< stored and edited only
    EnvironmentVariable unixPlotConfBase;
    EnvironmentVariable winPlotConfBase;
    bool useWindowsRegistry = true;  ///< take the CAD install path from the registry
    std::string unixExternalPluginsLocation;
    std::string winExternalPluginsLocation;  ///< a directory, each entry of which is a plugin; else unused

  private:
    friend class Launcher;
    void mergeEnvVariables(VariableList& list) const;

    std::string datafilename() const;
    boost::filesystem::path dataFile() const;
    void updateVarNames();
    void initializeExternalPlugins();
    void addExternalPlugin(const boost::filesystem::path& directory);

    bool mSettingsChanged = false;
    Base::FileState mFileState;            // of the data file
    mutable std::string mLongBrowserPath;  // the last one that had a short form, which takes long to ask for
    mutable std::string mShortBrowserPath;
};

/// The one site store of the process.
KYM_EXPORT SiteSettings& SiteInformation();

}  // namespace Kym
