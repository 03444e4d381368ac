#include "programs/common/Departments.h"

#include <algorithm>
#include <ostream>
#include <set>
#include <stdexcept>

#include <boost/filesystem/operations.hpp>

#include "kym/BaseSettings.h"
#include "kym/PluginsManager.h"
#include "kym/SiteSettings.h"
#include "kym/SystemInfo.h"

#include "programs/common/Progress.h"
#include "programs/common/Text.h"

namespace {

namespace fs = boost::filesystem;

/// The site store registers the external plugins, which the departments' settings then know.
Kym::ConfigurationManager loadManager() {
    const Progress progress("Reading the departments");
    Kym::SiteInformation();
    return {};
}

fs::path directoryOf(const std::string& name) {
    return Kym::SystemInformation().localDepartmentsPath() / name;
}

bool somethingStandsAt(const fs::path& file) {
    boost::system::error_code ignored;
    return fs::exists(fs::symlink_status(file, ignored));
}

/// Empty when a department stands at the path, or nothing.
std::string adviceOnLeftOver(const fs::path& directory) {
    if (!somethingStandsAt(directory) ||
        somethingStandsAt(Kym::Configuration(directory, false).propertyFile())) {
        return {};
    }
    return "\nWhat stands at " + nativeText(directory) +
           " is no department; remove it if a creation or deletion that was interrupted has left it.";
}

std::string thereAre(const std::vector<std::string>& names) {
    return names.empty() ? "There is none." : "There are: " + joined(names) + ".";
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

Departments::Departments() : mManager(loadManager()) {}

void Departments::requireUsableName(const std::string& name) {
    Kym::ConfigurationManager::checkName(name);
    if (name.find(' ') != std::string::npos) {  // it could not be the common department of others
        throw std::runtime_error(quoted(name) + " cannot be the name of a department: it holds a blank.");
    }
}

std::string Departments::obstacleTo(const std::string& name, const std::string& renamed) {
    const fs::path directory = directoryOf(name);
    boost::system::error_code ignored;
    const bool isRenamed = !renamed.empty() && fs::equivalent(directory, directoryOf(renamed), ignored);
    return somethingStandsAt(directory) && !isRenamed
               ? "Directory " + nativeText(directory) + " already exists." + adviceOnLeftOver(directory)
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

void Departments::tellWhoRefersTo(const std::string& name, const std::string& newName, std::ostream& out) {
    for (int row = 0; row < mManager.numberOfRowsInList(); ++row) {
        const Kym::Configuration& department = *mManager.configuration(row);
        if (department.commonDepartment == name && department.name() != name) {
            out << "The department " << quoted(department.name()) << " names " << quoted(name)
                << " as its common department. To change that, run kym-configure put "
                << wordFor("department/" + department.name() + "/commonDepartment") << ' ' << wordFor(newName)
                << '\n';
        }
    }
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
