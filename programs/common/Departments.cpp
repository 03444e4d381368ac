#include "programs/common/Departments.h"

#include <algorithm>
#include <stdexcept>

#include <boost/algorithm/string/join.hpp>

#include "kym/BaseSettings.h"
#include "kym/PluginsManager.h"
#include "kym/SiteSettings.h"
#include "kym/SystemInfo.h"

#include "programs/common/Progress.h"

namespace {

/// The site store registers the external plugins, which the departments' settings then know.
Kym::ConfigurationManager loadManager() {
    const Progress progress("Reading the departments");
    Kym::SiteInformation();
    return {};
}

std::string quoted(const std::string& text) {
    return '"' + text + '"';
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

Departments::Departments() : mManager(loadManager()) {}

int Departments::rowOf(const std::string& name) {
    std::vector<std::string> names;
    for (int row = 0; row < mManager.numberOfRowsInList(); ++row) {
        names.push_back(mManager.configuration(row)->name());
        if (names.back() == name) {
            return row;
        }
    }
    throw std::runtime_error("There is no department " + quoted(name) + ". " + thereAre(names));
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
                                 quoted(Kym::SystemInformation().CadVersionDirectory) + ".");
    }
    return *department;
}

Kym::Configuration* Departments::commonOf(const Kym::Configuration& department) {
    const bool hasCommon = department.commonConfigPath() != department.path();
    return hasCommon ? mManager.configurationByName(department.commonDepartment) : nullptr;
}

std::vector<Kym::ConfigApplication> Departments::applicationsOf(Kym::Configuration& department) {
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
    std::erase_if(result,
                  [](const Kym::ConfigApplication& application) { return application.disableApplication; });
    return result;
}

Kym::ConfigApplication Departments::findApplication(Kym::Configuration& department, const std::string& text) {
    std::vector<Kym::ConfigApplication> applications = applicationsOf(department);
    const auto byIdentifier = [&text](const Kym::ConfigApplication& application) {
        return application.applicationId == text;
    };
    const auto byBothNames = [&text](const Kym::ConfigApplication& application) {
        return application.mConfigurationName + ':' + application.applicationId == text;
    };
    auto found = std::find_if(applications.rbegin(), applications.rend(), byIdentifier);
    if (found == applications.rend()) {
        found = std::find_if(applications.rbegin(), applications.rend(), byBothNames);
    }
    if (found == applications.rend()) {
        std::vector<std::string> names;
        names.reserve(applications.size());
        for (const Kym::ConfigApplication& application : applications) {
            names.push_back(application.applicationId);
        }
        std::sort(names.begin(), names.end());
        names.erase(std::unique(names.begin(), names.end()), names.end());
        throw std::runtime_error("The department " + quoted(department.name()) + " offers no application " +
                                 quoted(text) + ". " + thereAre(names));
    }
    return *found;
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
