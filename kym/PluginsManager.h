#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <boost/any.hpp>
#include <boost/filesystem/path.hpp>

#include "base/DataSourceInterface.h"
#include "kym/PluginSettings.h"

namespace Kym {

class Configuration;

/// All plugins: the internal ones, which stand in the directory `plugins` of the installation, in the byte
/// order of their names, then the external ones in the order in which they were added. It is also the table
/// of their names, the same under every column.
///
/// Pointers to a plugin hold until a plugin is added or removed.
class KYM_EXPORT PluginsManager : public Base::DataSourceInterface {
  public:
    /// Scans the internal plugins. Every entry is a plugin, one without settings has the default ones; the
    /// error of settings that cannot be read leaves the constructor.
    PluginsManager();
    PluginsManager(const PluginsManager&) = delete;
    PluginsManager& operator=(const PluginsManager&) = delete;

    /// Loads the plugin of a directory and appends it; errors as `PluginSettings::load`, nothing is added
    /// then.
    void addPlugin(const boost::filesystem::path& directory);

    /// Removes every plugin of that directory from the list; nothing on the disk changes.
    void removePlugin(const boost::filesystem::path& directory);

    /// The plugin of an index. With `external` set, and once only external plugins are edited, the index
    /// counts from the first external plugin. `std::out_of_range` when there is no such plugin.
    PluginSettings* plugin(int index, bool external);
    int numberOfPlugins() const { return static_cast<int>(mPlugins.size()); }

    /// Whether the plugin's directory stands in the installation.
    bool isInternalPlugin(const PluginSettings& plugin);

    /// From now on the table shows the external plugins only; there is no way back.
    void editExternalPluginsOnly() { mExternalOnly = true; }

    /// Saves every plugin that needs it, in list order; errors as `PluginSettings::save`.
    void saveSettings();
    bool anyNeedsSaving() const;

    int numberOfRowsInList() const override;
    boost::any valueForListColumnRow(const std::string& column, int row) const override;

    /// Whether a plugin is for every department or for those of this department's type (compared exactly).
    bool sameType(const Configuration& configuration, const PluginSettings& plugin) const;

    /// The applications of the plugins that apply to a department: those of its type that it does not
    /// disable.
    std::vector<ConfigApplication> applicationList(const Configuration& configuration);

    /// Merges the variables of the plugins that apply to a department, in list order; for no department
    /// (null), none.
    void mergeEnvVariables(const Configuration& configuration,
                           std::vector<EnvironmentVariable>& variables) const;
    void mergeEnvVariables(const Configuration* configuration,
                           std::vector<EnvironmentVariable>& variables) const;

  private:
    friend class Launcher;
    friend class SiteSettings;
    void mergeEnvVariables(const Configuration& configuration, VariableList& variables) const;

    void initialize();
    void keepFirst(int count);
    std::size_t position(int index, bool external) const;
    bool applies(const Configuration& configuration, const PluginSettings& plugin) const;

    std::vector<PluginSettings> mPlugins;
    bool mExternalOnly = false;
    int mInternalCount = 0;
};

/// The process-wide registry of plugins, made on first use; errors as its constructor.
KYM_EXPORT PluginsManager& PluginsManagement();

}  // namespace Kym
