#include "kym/PluginsManager.h"

#include <algorithm>

#include "base/FileManager.h"
#include "base/SmartAssert.h"
#include "kym/Configuration.h"
#include "kym/DirectoryScan.h"
#include "kym/Loggers.h"
#include "kym/ProcessWide.h"
#include "kym/SystemInfo.h"
#include "kym/VariableList.h"

namespace Kym {

namespace {

boost::filesystem::path internalPlugins() {
    return SystemInformation().installPath() / "plugins";
}

}  // namespace

PluginsManager& PluginsManagement() {
    return processWide<PluginsManager>();
}

PluginsManager::PluginsManager() {
    initialize();
}

void PluginsManager::initialize() {
    const boost::filesystem::path directory = internalPlugins();
    mPlugins.clear();
    if (Base::FileManager::exists(directory)) {
        for (const boost::filesystem::path& entry : entriesInNameOrder(directory)) {
            addPlugin(entry);
        }
    }
    logInfo("Found ", mPlugins.size(), " plugins.");
    mInternalCount = numberOfPlugins();
}

void PluginsManager::addPlugin(const boost::filesystem::path& directory) {
    mPlugins.emplace_back(directory);
    logInfo("Adding plugin: ", directory);
}

void PluginsManager::removePlugin(const boost::filesystem::path& directory) {
    std::erase_if(mPlugins,
                  [&directory](const PluginSettings& plugin) { return plugin.path() == directory; });
}

void PluginsManager::keepFirst(int count) {
    mPlugins.erase(mPlugins.begin() + count, mPlugins.end());
}

PluginSettings* PluginsManager::plugin(int index, bool external) {
    if (!(index >= 0 && index < numberOfPlugins())) {
        Base::smart_assert("index >= 0 && index < mPlugins.size()", 300, "PluginsManager", __LINE__, __func__)
            .value("index", index)
            .message("plugin index is out of range");
    }
    return &mPlugins.at(position(index, external));
}

std::size_t PluginsManager::position(int index, bool external) const {
    static_cast<void>(
        mPlugins.at(static_cast<std::size_t>(index)));  // a negative index never becomes a valid one
    return static_cast<std::size_t>(index) +
           static_cast<std::size_t>(external && mExternalOnly ? mInternalCount : 0);
}

bool PluginsManager::isInternalPlugin(const PluginSettings& plugin) {
    return plugin.path().parent_path() == internalPlugins();
}

void PluginsManager::saveSettings() {
    for (PluginSettings& plugin : mPlugins) {
        plugin.save();
    }
}

bool PluginsManager::anyNeedsSaving() const {
    return std::ranges::any_of(mPlugins, &PluginSettings::needsSaving);
}

int PluginsManager::numberOfRowsInList() const {
    return std::max(0, numberOfPlugins() - (mExternalOnly ? mInternalCount : 0));
}

boost::any PluginsManager::valueForListColumnRow(const std::string&, int row) const {
    return mPlugins.at(position(row, true)).name();
}

bool PluginsManager::sameType(const Configuration& configuration, const PluginSettings& plugin) const {
    return plugin.pluginType == "Site-wide" || plugin.pluginType == configuration.type;
}

bool PluginsManager::applies(const Configuration& configuration, const PluginSettings& plugin) const {
    return !configuration.isPluginDisabled(plugin.name()) && sameType(configuration, plugin);
}

std::vector<ConfigApplication> PluginsManager::applicationList(const Configuration& configuration) {
    std::vector<ConfigApplication> result;
    for (PluginSettings& plugin : mPlugins) {
        if (applies(configuration, plugin)) {
            const std::vector<ConfigApplication>& applications = plugin.applicationList();
            result.insert(result.end(), applications.begin(), applications.end());
        }
    }
    return result;
}

void PluginsManager::mergeEnvVariables(const Configuration& configuration,
                                       std::vector<EnvironmentVariable>& variables) const {
    mergeIndexed(variables, [&](VariableList& list) { mergeEnvVariables(configuration, list); });
}

void PluginsManager::mergeEnvVariables(const Configuration* configuration,
                                       std::vector<EnvironmentVariable>& variables) const {
    if (configuration) {
        mergeEnvVariables(*configuration, variables);
    }
}

void PluginsManager::mergeEnvVariables(const Configuration& configuration, VariableList& variables) const {
    logInfo("Merging plugin variables");
    for (const PluginSettings& plugin : mPlugins) {
        if (applies(configuration, plugin)) {
            plugin.mergeEnvVariables(variables);
        }
    }
}

}  // namespace Kym
