// kym-sample-site DIRECTORY PROGRAM: lays out a small site in DIRECTORY, in which PROGRAM stands for the CAD
// system.

#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include "kym/BaseSettings.h"
#include "kym/Configuration.h"
#include "kym/PluginSettings.h"
#include "kym/PluginsManager.h"
#include "kym/SiteSettings.h"
#include "kym/SystemInfo.h"

#include "SiteFiles.h"

namespace {

namespace fs = boost::filesystem;

std::string nativeText(fs::path path) {
    return path.make_preferred().string();
}

struct Places {
    explicit Places(const fs::path& directory)
        : installation(directory / "kym"),
          departments(directory / "ugsite"),
          plugins(directory / "plugins"),
          cadSystem(directory / "nx"),
          data(directory / "data") {}

    fs::path installation;
    fs::path departments;
    fs::path plugins;  // the external ones
    fs::path cadSystem;
    fs::path data;
};

/// The executables that the sample's applications name.
struct Programs {
    std::string installed;  // in the CAD system's directory, as a variable names it
    std::string given;      // as the caller named it
};

void requireVariable(const char* name, const fs::path& expected) {
    const char* value = std::getenv(name);
    if (!value || fs::path(value).lexically_normal() != expected.lexically_normal()) {
        throw std::runtime_error(std::string(name) + " must be set to " + nativeText(expected) + ".");
    }
}

void makeDirectories(const Places& places) {
    for (const fs::path& directory :
         {places.installation / "config", places.installation / "data" / "install",
          places.installation / "plugins" / "drafting", places.installation / "plugins" / "machining",
          places.plugins / "materials", places.departments / "common", places.departments / "design",
          places.cadSystem / "ugii", places.data / "parts", places.data / "new d\xC3\xA9signs"}) {
        fs::create_directories(directory);
    }
}

void writeSystemInfo() {
    Kym::SystemInfo& system = Kym::SystemInformation();
    system.KymVersionString = "Sample 1.0";
    system.CadVersionDirectory = "nx4";
    system.PreviousCadVersionDirectory = "nx3";
    system.settingsChanged();
    system.save();
}

void writeBaseSettings(const Programs& programs) {
    Kym::BaseSettings& base = Kym::BaseInformation();
    appendVariables(*base.commonVariables(), {{"SAMPLE_LAYERS", "${SAMPLE_LAYERS};base"},
                                              {"SAMPLE_PARTS_DIR", "${SAMPLE_DATA_DIR}/parts"},
                                              {"SAMPLE_TRIAL", "on"}});
    appendVariables(*base.winVariables(), {{"PATH", "${KYM_BASE_DIR}/bin;$PATH"}});
    appendApplications(*base.applications(),
                       {{"nx", "CAD", "NX", programs.installed, "-units=mm"},
                        {"viewer", "CAD", "Viewer of the installation", programs.given, ""},
                        {"licences", "Tools", "Licence manager", programs.installed, ""}});
    base.save();
}

void writePlugin(const fs::path& directory, const std::string& type,
                 const std::vector<Application>& applications) {
    Kym::PluginSettings plugin(directory);
    plugin.pluginType = type;
    plugin.setNeedsSaving(true);
    appendVariables(*plugin.commonVariables(), {{"SAMPLE_LAYERS", "$SAMPLE_LAYERS;" + plugin.name()}});
    appendApplications(*plugin.applications(), applications);
    plugin.save();
}

void writeSite(const Places& places) {
    Kym::SiteSettings& site = Kym::SiteInformation();
    site.useWindowsRegistry = false;
    site.winNxInstallPath.value = nativeText(places.cadSystem);
    site.winExternalPluginsLocation = nativeText(places.plugins);
    site.settingsChanged();
    appendVariables(*site.commonVariables(), {{"SAMPLE_LAYERS", "site"},
                                              {"SAMPLE_DATA_DIR", nativeText(places.data)},
                                              {"SAMPLE_REPORT", "${KYM_DEPT_DIR}/report.txt"}});
    site.save();
}

void prepare(Kym::Configuration& department) {
    department.save();
    department.createNXVersionDirectory();
    department.createWin64VersionDirectory();
}

void disablePlugin(Kym::ConfigurationSettings& settings, const std::string& name) {
    Kym::DisablePluginSource& plugins = *settings.disablePlugins();
    for (int row = 0; row < plugins.numberOfRowsInList(); ++row) {
        if (boost::any_cast<std::string>(plugins.valueForListColumnRow("Name", row)) == name) {
            plugins.setValueForListColumnRow("Disabled", row, std::string("True"));
            return;
        }
    }
    throw std::runtime_error("There is no plugin " + name + " to be disabled.");
}

void overlay(Kym::ConfigurationSettings& settings, const std::string& configuration, const std::string& id,
             const std::string& category, const std::string& description, bool disable) {
    Kym::ApplicationOverlay changed = settings.getOverlay(configuration, id);
    changed.category = category;
    changed.description = description;
    changed.disableApplication = disable;
    settings.setOverlay(changed);
}

void writeCommonDepartment(const fs::path& directory, const Programs& programs) {
    Kym::Configuration department(directory, false);
    department.description = "What all departments share";
    department.type = "Common";
    prepare(department);
    Kym::ConfigurationSettings& settings = *department.settings();
    appendVariables(*settings.commonVariables(),
                    {{"SAMPLE_LAYERS", "${SAMPLE_LAYERS};common"}, {"SAMPLE_STANDARD", "ISO 128"}});
    appendApplications(*settings.applications(), {{"viewer", "CAD", "Viewer", programs.given, "-read-only"},
                                                  {"translator", "Tools", "Translator", programs.installed,
                                                   "-from=step \"part file\""}});
    department.save();
}

void writeDesignDepartment(const Places& places, const Programs& programs) {
    Kym::Configuration department(places.departments / "design", false);
    department.description = "Design of gearboxes";
    department.commonDepartment = "common";
    department.doFileCleanup = false;
    prepare(department);
    Kym::ConfigurationSettings& settings = *department.settings();
    appendVariables(*settings.commonVariables(),
                    {{"SAMPLE_LAYERS", "${SAMPLE_LAYERS};design"},
                     {"SAMPLE_PROJECT", "gearbox"},
                     {"SAMPLE_DRAWINGS", "${SAMPLE_PARTS_DIR}/${SAMPLE_PROJECT}"},
                     {"SAMPLE_TRIAL", ""}});
    appendRow(*settings.workDirectories(), {{"Name", "Parts"}, {"Path", nativeText(places.data / "parts")}});
    appendRow(*settings.workDirectories(),
              {{"Name", "New d\xC3\xA9signs"}, {"Path", "${SAMPLE_DATA_DIR}\\new d\xC3\xA9signs"}});
    appendApplications(
        *settings.applications(),
        {{"gearbox",
          "Design",
          "\xC3\x89tude of a gearbox",
          programs.installed,
          "-project=${SAMPLE_PROJECT} \"first \xC3\xA9tude of ${SAMPLE_PROJECT}\" -layers=$SAMPLE_LAYERS",
          {{"SAMPLE_LAYERS", "${SAMPLE_LAYERS};gearbox"}, {"SAMPLE_STANDARD", "${SAMPLE_STANDARD} A"}}},
         {"report",
          "Tools",
          "Report of the environment",
          programs.given,
          "-all \"of ${SAMPLE_PROJECT}\"",
          {}}});
    disablePlugin(settings, "machining");
    overlay(settings, "Base KYM", "nx", "Design", "NX for gearboxes", false);
    overlay(settings, "Base KYM", "licences", "Tools", "Licence manager", true);
    department.save();
}

void writeAll(const Places& places, const fs::path& program) {
    const Programs programs{"${UGII_BASE_DIR}/ugii/" + program.filename().string(), nativeText(program)};
    makeDirectories(places);
    fs::copy_file(program, places.cadSystem / "ugii" / program.filename());
    writeVersionFiles(places.installation / "data" / "install" / "versionFiles.tar.gz");
    writeSystemInfo();
    writeBaseSettings(programs);
    const fs::path internal = places.installation / "plugins";
    writePlugin(internal / "drafting", "Site-wide",
                {{"drafting", "CAD", "Drafting", programs.installed, "-sheet=A3"}});
    writePlugin(internal / "machining", "Production",
                {{"machining", "CAM", "Machining", programs.installed, ""}});
    writePlugin(places.plugins / "materials", "Production",
                {{"materials", "CAD", "Materials", programs.installed, ""}});
    writeSite(places);
    writeCommonDepartment(places.departments / "common", programs);
    writeDesignDepartment(places, programs);
}

void layOut(const fs::path& directory, const fs::path& program) {
    const Places places(directory);
    requireVariable("KYM_BASE_DIR", places.installation);
    requireVariable("KYM_UGSITE_DIR", places.departments);
    if (!fs::is_regular_file(program)) {
        throw std::runtime_error("The program " + nativeText(program) + " does not exist.");
    }
    const auto own = {places.installation, places.departments, places.plugins, places.cadSystem, places.data};
    for (const fs::path& folder : own) {
        if (fs::exists(folder)) {
            throw std::runtime_error(nativeText(folder) +
                                     " exists already; a site needs a directory of its own.");
        }
    }
    try {
        writeAll(places, program);
    } catch (...) {
        boost::system::error_code ignored;
        for (const fs::path& folder : own) {
            fs::remove_all(folder, ignored);
        }
        throw;
    }
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App arguments("Lays out a sample site in a directory of its own.", "kym-sample-site");
    arguments.allow_windows_style_options(false);
    arguments.footer("KYM_BASE_DIR must be set to DIRECTORY/kym and KYM_UGSITE_DIR to DIRECTORY/ugsite.");
    std::string directory, program;
    arguments.add_option("DIRECTORY", directory, "Where the site shall be")->required();
    arguments.add_option("PROGRAM", program, "The program that stands for the CAD system")->required();
    CLI11_PARSE(arguments, argc, argv);
    try {
        layOut(fs::absolute(directory), fs::absolute(program));
        std::cout << "The sample site stands in " << nativeText(fs::absolute(directory)) << '\n';
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "kym-sample-site: " << error.what() << '\n';
        return 1;
    }
}
