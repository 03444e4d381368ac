#include "Layers.h"

#include <map>
#include <stdexcept>

#include <boost/filesystem/operations.hpp>

#include "base/Unarchiver.h"
#include "kym/BaseSettings.h"
#include "kym/PluginsManager.h"
#include "kym/SiteSettings.h"
#include "kym/SystemInfo.h"

#include "Settings.h"

namespace fs = boost::filesystem;

namespace {

const std::string departmentPrefix = "department/";
const std::string pluginPrefix = "plugin/";

void makeFolderOf(const fs::path& file) {
    fs::create_directories(file.parent_path());
}

fs::path fileInInstallation(const char* name) {
    return Kym::SystemInformation().installPath() / "config" / name;
}

Layer layerOf(Kym::PluginSettings& plugin) {
    Layer result;
    result.path = pluginPrefix + plugin.name();
    result.file = plugin.path() / "settings.dat";
    result.variables = &plugin;
    result.applications = plugin.applications();
    result.plugin = &plugin;
    result.save = [&plugin] {
        plugin.save();
        plugin.setNeedsSaving(false);
    };
    return result;
}

Layer layerOf(Kym::Configuration& department) {
    Layer result;
    result.path = departmentPrefix + department.name();
    result.file = department.versionPath() / "config" / "configSettings.dat";
    result.department = &department;
    if (department.isUpdated()) {
        result.variables = department.settings();
        result.applications = department.settings()->applications();
    }
    result.save = [&department, file = result.file] {
        if (department.isUpdated()) {
            makeFolderOf(file);
        }
        department.save();
    };
    return result;
}

template <typename Record>
void requireList(Base::Unarchiver& unarchiver, const std::string& key) {
    unarchiver.decodeObject(key, static_cast<std::vector<Record>*>(nullptr));
}

}  // namespace

Kym::ConfigurationSettings* Layer::departmentSettings() const {
    return department && variables ? department->settings() : nullptr;
}

Layer Site::system() {
    Layer result;
    result.path = "system";
    result.file = fileInInstallation("sysinfo.dat");
    result.save = [file = result.file] {
        makeFolderOf(file);
        Kym::SystemInformation().save();
    };
    return result;
}

Layer Site::base() {
    Kym::BaseSettings& base = Kym::BaseInformation();
    Layer result;
    result.path = "base";
    result.file = fileInInstallation("baseSettings.dat");
    result.variables = &base;
    result.applications = base.applications();
    result.save = [&base, file = result.file] {
        makeFolderOf(file);
        base.save();
    };
    return result;
}

Layer Site::site() {
    const Kym::SystemInfo& system = Kym::SystemInformation();
    Kym::SiteSettings& site = Kym::SiteInformation();
    Layer result;
    result.path = "site";
    result.file = system.localDepartmentsPath() / ("site_settings" + system.SiteSettingsSuffix + ".dat");
    result.variables = &site;
    result.save = [&site] { site.save(); };
    return result;
}

std::vector<Layer> Site::plugins() {
    Kym::SiteInformation();  // registers the external ones
    Kym::PluginsManager& manager = Kym::PluginsManagement();
    std::vector<Layer> result;
    std::map<std::string, int> seen;
    for (int index = 0; index < manager.numberOfPlugins(); ++index) {
        result.push_back(layerOf(*manager.plugin(index, false)));
        if (const int count = ++seen[result.back().path]; count > 1) {
            result.back().path += '#' + std::to_string(count);
        }
    }
    return result;
}

std::vector<Layer> Site::departments() {
    std::vector<Layer> result;
    const int count = manager().numberOfRowsInList();
    result.reserve(static_cast<std::size_t>(count));
    for (int row = 0; row < count; ++row) {
        result.push_back(layerOf(*manager().configuration(row)));
    }
    return result;
}

std::vector<Layer> Site::layers() {
    std::vector<Layer> result = {system(), site(), base()};
    for (const auto& more : {plugins(), departments()}) {
        result.insert(result.end(), more.begin(), more.end());
    }
    return result;
}

Layer Site::layer(const std::string& path) {
    if (path == "system" || path == "base" || path == "site") {
        return path == "system" ? system() : path == "base" ? base() : site();
    }
    std::vector<std::string> names = {"system", "site", "base"};
    const bool isPlugin = path.starts_with(pluginPrefix);
    if (isPlugin || path.starts_with(departmentPrefix)) {
        for (const Layer& candidate : isPlugin ? plugins() : departments()) {
            if (candidate.path == path) {
                return candidate;
            }
            names.push_back(candidate.path);
        }
    } else {
        names.insert(names.end(), {"plugin/NAME", "department/NAME"});
    }
    throw std::runtime_error("There is no layer " + quoted(path) + ". There are: " + joined(names) + ".");
}

Departments& Site::offered() {
    if (!mDepartments) {
        mDepartments = std::make_unique<Departments>();
    }
    return *mDepartments;
}

std::pair<std::string, std::string> splitLayer(const std::string& path) {
    std::size_t end = path.find('/');
    if (path.starts_with(departmentPrefix) || path.starts_with(pluginPrefix)) {
        end = path.find('/', end + 1);
    }
    return end == std::string::npos ? std::pair(path, std::string())
                                    : std::pair(path.substr(0, end), path.substr(end + 1));
}

void requireReadable(const Layer& layer) {
    boost::system::error_code ignored;
    if (fs::status(layer.file, ignored).type() == fs::file_not_found) {
        return;
    }
    Base::Unarchiver unarchiver(layer.file);
    if (layer.path == "system") {
        for (const Setting& setting : settingsOf(layer)) {
            std::string text;
            unarchiver.decode(setting.name, text);
        }
    } else if (layer.department) {
        requireList<Kym::WorkDirectory>(unarchiver, "Work Directory List");
        requireList<Kym::EnvironmentVariable>(unarchiver, "Common Variables");
        requireList<Kym::EnvironmentVariable>(unarchiver, "Unix Variables");
        requireList<Kym::EnvironmentVariable>(unarchiver, "Windows Variables");
        requireList<std::string>(unarchiver, "Disabled Plugins");
        requireList<Kym::ConfigApplication>(unarchiver, "Application List");
        requireList<Kym::ApplicationOverlay>(unarchiver, "Application Overlay List");
    }
}
