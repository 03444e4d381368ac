#include "Checks.h"

#include <algorithm>
#include <map>

#include "kym/BaseSettings.h"
#include "kym/PluginsManager.h"
#include "kym/SystemInfo.h"

#include "Settings.h"
#include "SiteChecks.h"

namespace {

void checkVariables(const Table& table, Findings& findings) {
    const std::string file = nativeText(table.layer.file);
    for (int row = 0; row < table.rows(); ++row) {
        for (const std::string& column : table.columns) {
            if (!table.source->valueIsValid(column, row)) {
                findings.push_back(
                    {true, column == "Name" ? "invalid-name" : "invalid-value", file, table.path, row + 1,
                     column, quoted(table.cell(row, column)) + " breaks a rule: " + ruleOf(column) + ".",
                     setCommand(table.path, row, column, "VALUE")});
            }
        }
        if (table.cell(row, "Name").empty()) {
            findings.push_back({false, "empty-name", file, table.path, row + 1, "Name",
                                "A variable without a name is left out of every environment.",
                                "Name it, or run: kym-configure delete " + wordFor(table.path) + ' ' +
                                    std::to_string(row + 1)});
        }
    }
}

void checkIdentifiers(const Table& table, Findings& findings) {
    const std::string file = nativeText(table.layer.file);
    std::map<std::string, int> first;
    for (int row = 0; row < table.rows(); ++row) {
        const std::string id = table.cell(row, "AppID");
        if (const auto [known, isNew] = first.try_emplace(id, row); !isNew) {
            findings.push_back({true, "duplicate-application", file, table.path, row + 1, "AppID",
                                "Row " + std::to_string(known->second + 1) + " has the identifier " +
                                    quoted(id) + " too, so that only one of them can be named.",
                                setCommand(table.path, row, "AppID", "ANOTHER")});
        }
    }
}

/// Whether the department is offered an application of another layer that the overlay names.
bool applies(Site& site, const Kym::Configuration& department, const Kym::ApplicationOverlay& overlay) {
    const auto holds = [&overlay](const std::vector<Kym::ConfigApplication>& applications) {
        return std::any_of(applications.begin(), applications.end(),
                           Kym::EqualOverlayOrApp(overlay.configurationName, overlay.applicationId));
    };
    Kym::Configuration* common = site.offered().commonOf(department);
    return holds(Kym::BaseInformation().applicationList()) ||
           holds(Kym::PluginsManagement().applicationList(department)) ||
           (common && holds(common->applicationList()));
}

void checkOverlays(Site& site, const Layer& layer, Findings& findings) {
    const auto& overlays = layer.departmentSettings()->overlays();
    for (std::size_t row = 0; row < overlays.size(); ++row) {
        const Kym::ApplicationOverlay& overlay = overlays[row];
        if (!applies(site, *layer.department, overlay)) {
            const std::string table = layer.path + "/overlays";
            findings.push_back(
                {false, "overlay-without-application", nativeText(layer.file), table,
                 static_cast<int>(row) + 1, "AppID",
                 "The department is offered no application " +
                     quoted(overlay.configurationName + ':' + overlay.applicationId) +
                     " of the installation, of a plugin that applies to it or of its common "
                     "department.",
                 "Run: kym-configure delete " + wordFor(table) + ' ' + std::to_string(row + 1)});
        }
    }
}

void checkDisabledPlugins(Site& site, const Layer& layer, Findings& findings) {
    const std::vector<Layer> plugins = site.plugins();
    const Table table = findTable(site, layer.path + "/disabled-plugins");
    for (int row = 0; row < table.rows(); ++row) {
        const std::string name = table.cell(row, "Name");
        const auto isIt = [&name](const Layer& plugin) { return plugin.plugin->name() == name; };
        if (std::none_of(plugins.begin(), plugins.end(), isIt)) {
            findings.push_back({false, "unknown-plugin", nativeText(layer.file), table.path, row + 1, "Name",
                                "There is no plugin " + quoted(name) + " to be disabled.",
                                setCommand(table.path, row, "Disabled", "False")});
        }
    }
}

void checkDepartment(Site& site, const Layer& layer, Findings& findings) {
    const Kym::Configuration& department = *layer.department;
    const std::string file = nativeText(department.propertyFile());
    const std::string name = department.name();
    if (name.find_first_of(" \t\n\v\f\r") != std::string::npos) {
        findings.push_back(
            {true, "blank-in-name", file, layer.path, 0, "",
             "The name of the department holds a blank; it cannot be named as a common department.",
             "Run: kym rename " + wordFor(name) + " NEW"});
    }
    if (!layer.variables) {
        findings.push_back({false, "not-prepared", file, layer.path, 0, "",
                            "The department is not prepared for the release " +
                                quoted(Kym::SystemInformation().CadVersionDirectory) + " and is not offered.",
                            "Run: kym prepare " + wordFor(name)});
    }
    const std::string& common = department.commonDepartment;
    const std::string setting = layer.path + "/commonDepartment";
    if (!common.empty()) {
        const Kym::Configuration* found = site.manager().configurationByName(common);
        if (!found) {
            findings.push_back({true, "unknown-common-department", file, setting, 0, "",
                                "There is no department " + quoted(common) + ".",
                                "Run: " +
                                    (common.find(' ') == std::string::npos
                                         ? "kym create " + wordFor(common) + " --type Common, or "
                                         : std::string()) +
                                    "kym-configure put " + wordFor(setting) + " \"\""});
        } else if (found->type != "Common") {
            findings.push_back(
                {false, "common-department-type", file, setting, 0, "",
                 "The department " + quoted(common) + " is of the type " + quoted(found->type) +
                     ", not Common.",
                 "Run: kym-configure put " + wordFor("department/" + common + "/type") + " Common"});
        }
    }
}

}  // namespace

void checkContent(const Layer& layer, Findings& findings) {
    for (const Table& table : tablesOf(layer)) {
        if (table.columns.back() == "Value") {
            checkVariables(table, findings);
        } else if (table.columns.front() == "AppID") {
            checkIdentifiers(table, findings);
        }
    }
    for (const Setting& setting : settingsOf(layer)) {
        if (const std::string rule = setting.brokenRule(setting.get()); !rule.empty()) {
            const std::string path = layer.path + '/' + setting.name;
            findings.push_back({true, "invalid-value", nativeText(layer.file), path, 0, "",
                                quoted(setting.get()) + " breaks a rule: " + rule + ".",
                                "Run: kym-configure put " + wordFor(path) + " VALUE"});
        }
    }
}

void checkProperties(Site& site, const Layer& layer, Findings& findings) {
    const std::string& type = layer.department ? layer.department->type : layer.plugin->pluginType;
    if (!isKnownType(site, layer, type)) {
        const auto file = layer.department ? layer.department->propertyFile() : layer.file;
        findings.push_back({false, "unknown-type", nativeText(file), layer.path + "/type", 0, "",
                            "There is no type " + quoted(type) + ". There are: " + typesOf(site, layer) + ".",
                            "Run: kym-configure put " + wordFor(layer.path + "/type") + " TYPE"});
    }
    if (layer.department) {
        checkDepartment(site, layer, findings);
        if (layer.variables) {
            checkOverlays(site, layer, findings);
            checkDisabledPlugins(site, layer, findings);
        }
    }
}
