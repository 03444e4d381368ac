#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

#include "base/FileState.h"
#include "base/platform/Export.h"

namespace Kym {

/// What the library must know about the machine and about the CAD release that it serves: named constants,
/// which "config/sysinfo.dat" of the installation may override, and three discovered directories.
class KYM_EXPORT SystemInfo {
  public:
    /// Loads the data file. `std::runtime_error` when there is no installation (see `installPath`).
    SystemInfo();

    /// Reads the data file over the present values. A file that is missing or cannot be read is no error:
    /// what could not be read keeps its value. A file that is there but cannot be read is not overwritten by
    /// a later save before a copy of it was made.
    void load();

    /// Writes the data file when `needsSaving()`. `Base::FileChanged` when somebody else has changed it since
    /// it was loaded. After an error the store still needs saving.
    void save();
    bool needsSaving() const { return mSettingsChanged; }

    /// To be called after a change of one of the constants.
    void settingsChanged() { mSettingsChanged = true; }

    // The directories and the platform names are found once per process, whatever happens to the environment
    // or to this object later.

    /// The install directory, as KYM_BASE_DIR names it (references to variables are expanded where they can
    /// be; no separator at the end). `std::runtime_error` when the variable is not set or names no directory.
    const boost::filesystem::path& installPath() const;

    /// The directory `KymApplicationDataDirectoryName` in the user's application data folder, made when it is
    /// missing, with the permissions 0775. `std::runtime_error` when the system cannot tell the folder (later
    /// calls then return an empty path) or when something else stands there (later calls try again, as after
    /// an error of the file system).
    const boost::filesystem::path& applicationDataPath() const;

    /// The directory of the departments: the one that the variable `KymConfigPathEnvVarName` names, else
    /// "ugsite" beside the install directory, else `KymConfigFallbackDirectoryName` in it. What is no
    /// directory or cannot be expanded is passed over. `std::runtime_error`, from the first and every later
    /// call, when there is none of them.
    const boost::filesystem::path& localDepartmentsPath() const;

    const std::string& osDirectoryName() const;
    const std::string& osaDirectoryName() const;
    const std::string& scriptExtension() const;  ///< without a dot

    // The constants; each is stored under the key of its name.
    std::string CadProductName = "NX";
    std::string CadSupportedVersionString = "4.0.x.x";
    std::string KymVersionString = "No Version Specified";  ///< of this installation
    std::string CadVersionDirectory = "Need to Specify";    ///< the per-release directory in a department
    std::string PreviousCadVersionDirectory = "Need to Specify";
    std::string KymConfigPathEnvVarName = "KYM_UGSITE_DIR";
    std::string KymConfigFallbackDirectoryName = "fb_ugsite";
    std::string KymApplicationDataDirectoryName = "nxkym";
    std::string BroadcastDirectoryName = "broadcast";
    std::string BroadcastStartMessage = "startup";
    std::string SiteSettingsSuffix = "Nx4";
    std::string CadWindowsRegistryPath =
        "SOFTWARE\\Unigraphics Solutions\\NX\\4.0";        ///< in HKEY_LOCAL_MACHINE
    std::string CadInstallPathVariable = "UGII_BASE_DIR";  ///< the registry value's name too
    std::string CadWebBrowserVariable = "UGII_HTML_BROWSER";
    std::string tcEngInstallPathVariable = "TC_ROOT";
    std::string tcEngDatabaseVariable = "TC_DATA";
    std::string CadVersionDataFilename = "versionFiles.tar.gz";  ///< unpacked into a department

  private:
    bool mSettingsChanged = false;
    boost::filesystem::path mDataFile;
    Base::FileState mFileState;  // of the data file
};

/// The one system information store of the process. The first of the stores: the others need its directories.
KYM_EXPORT SystemInfo& SystemInformation();

}  // namespace Kym
