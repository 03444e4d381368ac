#include "programs/common/Departments.h"

#include <algorithm>
#include <set>
#include <stdexcept>

#include <boost/algorithm/string/join.hpp>
#include <boost/filesystem/operations.hpp>

#include "kym/BaseSettings.h"
#include "kym/PluginsManager.h"
#include "kym/SiteSettings.h"
#include "kym/SystemInfo.h"

#include "programs/common/Progress.h"

namespace {

namespace fs = boost::filesystem;

/// The site store registers the external plugins, which the departments' settings then know.
Kym::ConfigurationManager loadManager() {
    const Progress progress("Reading the departments");
    Kym::SiteInformation();
    return {};
}

std::string quoted(const std::string& text) {
    return '"' + text + '"';
}

fs::path directoryOf(const std::string& name) {
    return Kym::SystemInformation().localDepartmentsPath() / name;
}

bool somethingStandsAt(const fs::path& file) {
    boost::system::error_code ignored;
    return fs::exists(fs::symlink_status(file, ignored));
}

std::string native(fs::path file) {
    return file.make_preferred().string();
}

/// Empty when a department stands at the path, or nothing.
std::string adviceOnLeftOver(const fs::path& directory) {
    if (!somethingStandsAt(directory) ||
        somethingStandsAt(Kym::Configuration(directory, false).propertyFile())) {
        return {};
    }
    return "\nWhat stands at " + native(directory) +
           " is no department; remove it if a creation or deletion that was interrupted has left it.";
}

std::string thereAre(const std::vector<std::string>& names) {
    return names.empty() ? "There is none." : "There are: " + boost::join(names, ", ") + ".";
}

/// The overlay's fields stand for those of an application that another configuration owns.
void applyOverlay(const Kym::Configuration& department, Kym::ConfigApplication& application) {
    const auto& overlays = department.settings()->overlays();
    const auto overlay =
        std::find_if(overlays.begin(), overlays.end(),
                     Kym::EqualOverlayOrApp(application.configurationName(), application.applicationId));
    if (overlay != overlays.end()) {
        application.description = overlay->description;
        application.category = overlay->category;
        application.disableApplication = overlay->disableApplication;
    }
}

}  // namespace

std::string wordFor(const std::string& name) {
    const bool isPlain = !name.empty() && name.find_first_of(" \t&|<>^()[]{};'`!,*?") == std::string::npos;
    return isPlain ? name : quoted(name);
}

Departments::Departments() : mManager(loadManager()) {}

std::string Departments::obstacleTo(const std::string& name) {
    const fs::path directory = directoryOf(name);
    return somethingStandsAt(directory)
               ? "Directory " + native(directory) + " already exists." + adviceOnLeftOver(directory)
               : std::string();
}

std::vector<Kym::Configuration> Departments::list(bool unpreparedToo) {
    if (!unpreparedToo) {
        return mManager.configurationList(".*");
    }
    std::vector<Kym::Configuration> all;
    all.reserve(static_cast<std::size_t>(mManager.numberOfRowsInList()));
    for (int row = 0; row < mManager.numberOfRowsInList(); ++row) {
        all.push_back(*mManager.configuration(row));
    }
    std::stable_sort(all.begin(), all.end());
    return all;
}

int Departments::rowOf(const std::string& name) {
    std::vector<std::string> names;
    for (int row = 0; row < mManager.numberOfRowsInList(); ++row) {
        names.push_back(mManager.configuration(row)->name());
        if (names.back() == name) {
            return row;
        }
    }
    const bool isPlain =
        name.find_first_not_of('.') != std::string::npos && fs::path(name).filename() == fs::path(name);
    const std::string hint = isPlain ? adviceOnLeftOver(directoryOf(name)) : std::string();
    throw std::runtime_error("There is no department " + quoted(name) + ". " + thereAre(names) + hint);
}

Kym::Configuration& Departments::find(const std::string& name) {
    Kym::Configuration* department = name.empty() ? nullptr : mManager.configurationByName(name);
    if (!department) {
        std::vector<std::string> names;
        for (const Kym::Configuration& known : list()) {
            names.push_back(known.name());
        }
        std::sort(names.begin(), names.end());
        throw std::runtime_error("There is no department " + quoted(name) + ". " + thereAre(names));
    }
    if (!department->isUpdated()) {
        throw std::runtime_error("The department " + quoted(name) + " is not prepared for the release " +
                                 quoted(Kym::SystemInformation().CadVersionDirectory) + ". Run kym prepare " +
                                 wordFor(name) + " to make it so.");
    }
    return *department;
}

Kym::Configuration* Departments::commonOf(const Kym::Configuration& department) {
    const bool hasCommon = department.commonConfigPath() != department.path();
    return hasCommon ? mManager.configurationByName(department.commonDepartment) : nullptr;
}

std::vector<Kym::ConfigApplication> Departments::applicationsOf(Kym::Configuration& department,
                                                                bool disabledToo) {
    std::vector<Kym::ConfigApplication> result;
    const auto append = [&result](const std::vector<Kym::ConfigApplication>& applications) {
        result.insert(result.end(), applications.begin(), applications.end());
    };
    append(Kym::BaseInformation().applicationList());
    append(Kym::PluginsManagement().applicationList(department));
    if (Kym::Configuration* common = commonOf(department)) {
        append(common->applicationList());
    }
    for (Kym::ConfigApplication& application : result) {
        applyOverlay(department, application);
    }
    append(department.applicationList());
    if (!disabledToo) {
        std::erase_if(result, [](const auto& application) { return application.disableApplication; });
    }
    return result;
}

Kym::ConfigApplication Departments::findApplication(Kym::Configuration& department, const std::string& text) {
    const std::vector<Kym::ConfigApplication> applications = applicationsOf(department, true);
    const Kym::ConfigApplication* byIdentifier = nullptr;
    const Kym::ConfigApplication* byBothNames = nullptr;
    bool isDisabled = false;
    std::set<std::string> names;
    for (const Kym::ConfigApplication& application : applications) {
        const bool hasIdentifier = application.applicationId == text;
        const bool hasBothNames = application.mConfigurationName + ':' + application.applicationId == text;
        if (application.disableApplication) {
            isDisabled = isDisabled || hasIdentifier || hasBothNames;
            continue;
        }
        names.insert(application.applicationId);
        byIdentifier = hasIdentifier ? &application : byIdentifier;
        byBothNames = hasBothNames ? &application : byBothNames;
    }
    if (byIdentifier || byBothNames) {
        return byIdentifier ? *byIdentifier : *byBothNames;
    }
    throw std::runtime_error("The department " + quoted(department.name()) +
                             (isDisabled ? " disables the application " : " offers no application ") +
                             quoted(text) + ". " + thereAre({names.begin(), names.end()}));
}

const Kym::WorkDirectory& Departments::findWorkDirectory(const Kym::Configuration& department,
                                                         const std::string& name) {
    std::vector<std::string> names;
    for (const Kym::WorkDirectory& directory : department.settings()->workDirectoryList()) {
        if (directory.name == name) {
            return directory;
        }
        names.push_back(directory.name);
    }
    throw std::runtime_error("The department " + quoted(department.name()) + " has no work directory " +
                             quoted(name) + ". " + thereAre(names));
}
