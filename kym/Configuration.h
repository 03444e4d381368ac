#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "base/BaseException.h"
#include "base/FileState.h"
#include "kym/ConfigurationSettings.h"

namespace Kym {

/// A directory that is not a department: it has no property file that can be read.
class KYM_EXPORT InvalidConfiguration : public Base::BaseException {
  public:
    explicit InvalidConfiguration(const std::string& message);
    InvalidConfiguration(const InvalidConfiguration&);
    InvalidConfiguration& operator=(const InvalidConfiguration&);
    ~InvalidConfiguration() override;
};

/// A department: a directory whose file `.dirinfo.plist` holds its properties and, per CAD release, a version
/// directory with the settings and files for that release. The department is *updated* once the version
/// directory of the present release exists; only then are its settings read and written.
///
/// A value: copying copies everything, marks included.
class KYM_EXPORT Configuration {
  public:
    /// With `loadNow`, an existing department that is read (errors as `load`) and needs no saving. Without, a
    /// new one with the default properties that is written by its first `save`.
    Configuration(const boost::filesystem::path& directory, bool loadNow);

    /// The name of the department's directory.
    std::string name() const;
    boost::filesystem::path path() const { return mPath; }

    /// Makes this the department of another directory; nothing on the disk changes.
    void setPath(const boost::filesystem::path& directory);

    /// The file whose presence makes the directory a department.
    boost::filesystem::path propertyFile() const;

    boost::filesystem::path versionPath() const;
    bool isUpdated() const;
    bool isWin64Updated() const;  ///< whether the version directory has its 64-bit layout

    /// The directory of the common department, this department's own when it names none. It need not exist.
    boost::filesystem::path commonConfigPath() const;
    boost::filesystem::path commonConfigVersionPath() const;

    /// Read the properties and, when the department is updated, the settings.
    void load();

    /// Writes what needs saving: the properties and, when the department is updated, the settings. Errors of
    /// the file system, and `Base::FileChanged` when somebody else has changed one of the files since it was
    /// loaded, propagate and leave the marks set.
    void save();
    bool needsSaving() const { return mNeedsSaving || mSettings.needsSaving(); }
    void setNeedsSaving(bool needsSaving) { mNeedsSaving = needsSaving; }

    /// Reads the property file; a property that it lacks stays as it is. `InvalidConfiguration` when there is
    /// no readable file, `boost::bad_any_cast`, with a message that names the file and the property, when the
    /// description is missing or a property has a value of another kind, `Base::PropertyListError` when the
    /// file is damaged.
    void loadProperties();

    /// Writes the property file; errors as of `save`. The name of a common department that holds a blank is
    /// written as no name.
    void saveProperties();

    /// Makes the version directory of the present release from the installation's version files and takes
    /// over the department's settings for the previous release. Without any, settings that the version files
    /// bring are read unless there are edits, whose `save` then throws `Base::FileChanged`.
    /// `std::runtime_error` when the version files are not there or cannot be unpacked, or when the version
    /// directory exists already; errors of the file system propagate. It is made under another name, which
    /// begins with a dot, and takes its place when it is whole: after a failure, or when the process is
    /// killed, there is no version directory unless there was one before.
    ///
    /// The working directory of the process is changed while this runs and is the old one afterwards.
    void createNXVersionDirectory();

    /// Makes the directories of the 64-bit layout in the version directory.
    void createWin64VersionDirectory();

    bool isPluginDisabled(const std::string& plugin) const { return mSettings.isPluginDisabled(plugin); }

    /// Merges the department's variables into the list that is being assembled.
    void mergeEnvVariables(std::vector<EnvironmentVariable>& variables) const;

    /// The department's applications, each made to name this department as its configuration.
    const std::vector<ConfigApplication>& applicationList() { return mSettings.applicationList(name()); }

    ConfigurationSettings* settings() { return &mSettings; }
    const ConfigurationSettings* settings() const { return &mSettings; }

    // Who changes one of these calls setNeedsSaving(true).
    std::string description = "None";  ///< free text; lists shown to a user are in its order
    std::string type = "Production";
    std::string commonDepartment;   ///< the name of another department, or empty
    bool doFileCleanup = true;      ///< whether a launch removes stale temporary files
    std::uint32_t cleanupDays = 2;  ///< how old these must be

  private:
    friend class ConfigurationManager;
    friend class Launcher;
    void directoryRenamed(const boost::filesystem::path& directory);
    void mergeEnvVariables(VariableList& variables) const;

    boost::filesystem::path mPath;
    Base::FileState mPropertiesState;  // of the property file
    ConfigurationSettings mSettings;
    bool mNeedsSaving = true;
};

/// Order of a list shown to a user: by description, byte by byte.
KYM_EXPORT bool operator<(const Configuration& left, const Configuration& right);

}  // namespace Kym
