#include <map>

#include <boost/algorithm/string/case_conv.hpp>

#include "kym/Launcher.h"
#include "kym/PluginsManager.h"
#include "kym/SiteSettings.h"
#include "kym/SystemInfo.h"

#include "Checks.h"
#include "ReferenceCheck.h"
#include "Settings.h"

namespace {

class EnvironmentCheck {
  public:
    EnvironmentCheck(Site& site, const std::vector<Layer>& layers, Findings& findings)
        : mSite(site), mLayers(layers), mFindings(findings) {}

    void run() {
        for (const Layer& layer : mLayers) {
            if (layer.departmentSettings()) {
                checkDepartment(layer);
            }
        }
        for (const Layer& layer : mLayers) {
            const bool isUsed = mReferences.knows(layer) || mBroken.contains(layer.path);
            if (layer.variables && !layer.department && !isUsed) {
                checkUnused(layer);
            }
            if (!mBroken.contains(layer.path)) {
                mReferences.check(layer);
            }
        }
    }

  private:
    using Environment = Kym::Launcher::EnvironmentMap;

    /// An application in the list of the layer that owns it.
    struct Place {
        const Layer* layer = nullptr;
        int row = -1;
    };

    /// Whose environment is looked at: that of a department, as itself or as one of its applications sees it.
    struct View {
        const Layer& layer;
        const Kym::Configuration& department;
        const Kym::Configuration* common;
        Place place = {};
    };

    static Names namesOf(const Environment& environment) {
        Names result;
        for (const auto& [name, value] : environment) {
            result.insert(name);
        }
        return result;
    }

    static void addNames(const Layer& layer, Names& names) {
        if (layer.variables) {
            for (const auto* list : {layer.variables->commonVariables(), layer.variables->winVariables()}) {
                for (int row = 0; row < list->numberOfRowsInList(); ++row) {
                    names.insert(boost::any_cast<std::string>(list->valueForListColumnRow("Name", row)));
                }
            }
        }
    }

    /// The layers of a department's environment, the last to be merged first; for another layer, itself and
    /// all that are no departments.
    std::vector<const Layer*> layersOf(const Layer& department) const {
        std::vector<const Layer*> result = {&department};
        if (!department.department) {
            for (const Layer& layer : mLayers) {
                if (!layer.department) {
                    result.push_back(&layer);
                }
            }
            return result;
        }
        const Kym::PluginsManager& manager = Kym::PluginsManagement();
        const Kym::Configuration& configuration = *department.department;
        for (auto layer = mLayers.rbegin(); layer != mLayers.rend(); ++layer) {
            const bool isCommon = layer->department && layer->department != department.department &&
                                  layer->department->name() == configuration.commonDepartment;
            const bool applies = layer->plugin && manager.sameType(configuration, *layer->plugin) &&
                                 !configuration.isPluginDisabled(layer->plugin->name());
            if (isCommon || applies || layer->path == "base" || layer->path == "site") {
                result.push_back(&*layer);
            }
        }
        return result;
    }

    /// The tables of variables that make an environment, the last to be merged first.
    std::vector<Table> tablesOfView(const View& view) const {
        std::vector<Table> result;
        const auto add = [&result](const Layer& layer, int applicationRow) {
            const std::vector<Table> tables = variableTablesOf(layer, applicationRow);
            for (auto table = tables.rbegin(); table != tables.rend(); ++table) {
                if (!table->isUnix) {
                    result.push_back(*table);
                }
            }
        };
        const bool isPlain = view.place.layer && isUncustomized(view.place);
        if (view.place.layer) {
            add(*view.place.layer, view.place.row);
        }
        for (const Layer* layer : layersOf(view.layer)) {
            if (!isPlain || layer->path == "site") {
                add(*layer, -1);
            }
        }
        return result;
    }

    static bool isUncustomized(const Place& place) {
        return place.layer->applications->application(place.row).disableCustomization;
    }

    /// The environment, if need be without the variables that cannot be expanded, each of which is a finding;
    /// nothing when these cannot be told.
    std::unique_ptr<Environment> build(const View& view) {
        while (true) {
            auto result = std::make_unique<Environment>();
            try {
                mLauncher.buildEnvVarMap(view.department, view.common,
                                         view.place.layer
                                             ? view.place.layer->applications->application(view.place.row)
                                             : Kym::ConfigApplication(),
                                         *result);
                return result;
            } catch (const std::exception& error) {
                if (!takeOut(view, error.what())) {
                    return nullptr;
                }
            }
        }
    }

    /// The variable at fault, which another one may refer to that is expanded first.
    static std::string faultyName(const std::string& text) {
        for (const auto& [before, after] : {std::pair("\nThe variable ", " refers to itself"),
                                            std::pair(" in the value of ", ": "), std::pair("'", "'")}) {
            const std::size_t found = text.find(before);
            const std::size_t begin = found + std::string(before).size();
            const std::size_t end = found == std::string::npos ? found : text.find(after, begin);
            if (end != std::string::npos) {
                return text.substr(begin, end - begin);
            }
        }
        return "";
    }

    /// Empties, in memory, the variable that an error names, so that more can be looked at.
    bool takeOut(const View& view, const std::string& text) {
        const std::string name = faultyName(text);
        Finding finding{true,
                        text.find("refers to itself") != std::string::npos ? "cycle" : "expansion",
                        nativeText(view.layer.file),
                        view.layer.path,
                        0,
                        "",
                        text.substr(text.find('\n') + 1),
                        "Change one of the variables named, with: kym-configure set TABLE ROW Value VALUE"};
        const auto refers = [](const std::string& value) { return value.find('$') != std::string::npos; };
        for (const Table& table : tablesOfView(view)) {
            for (int row = table.rows() - 1; row >= 0; --row) {
                if (table.cell(row, "Name") == name && refers(table.cell(row, "Value"))) {
                    finding.table = table.path;
                    finding.file = nativeText(table.layer.file);
                    finding.row = row + 1;
                    finding.column = "Value";
                    addOnce(finding);
                    table.source->setValueForListColumnRow("Value", row, std::string());
                    return true;
                }
            }
        }
        for (const Layer& layer : mLayers) {
            for (const Setting& setting : settingsOf(layer)) {
                if (setting.variable && setting.variable->name == name && setting.name.starts_with("win") &&
                    refers(setting.get())) {
                    finding.table = layer.path + '/' + setting.name;
                    finding.file = nativeText(layer.file);
                    addOnce(finding);
                    setting.put("");
                    return true;
                }
            }
        }
        addOnce(finding);
        return false;
    }

    void addOnce(const Finding& finding) {
        if (mSeen.insert(finding.code + '\n' + finding.table + '\n' + std::to_string(finding.row)).second) {
            mFindings.push_back(finding);
        }
    }

    void checkDepartment(const Layer& layer) {
        Kym::Configuration& department = *layer.department;
        const View view{layer, department, mSite.offered().commonOf(department)};
        const auto environment = build(view);
        const std::vector<const Layer*> parts = layersOf(layer);
        if (!environment) {
            for (const Layer* part : parts) {
                mBroken.insert(part->path);
            }
            return;
        }
        Names names = namesOf(*environment);
        for (const Layer* part : parts) {
            addNames(*part, names);
        }
        for (const Layer* part : parts) {
            mReferences.addScope(*part, names);
        }
        checkCadSystem(view, *environment);
        checkLetterCase(view, *environment);
        std::map<std::string, int> counts;
        for (const Kym::ConfigApplication& application : mSite.offered().applicationsOf(department, true)) {
            const std::string& configuration = application.mConfigurationName;
            const Place place = placeOf(configuration, counts[configuration]++);
            if (place.layer && !application.disableApplication) {
                checkApplication(view, place, *environment);
            }
        }
    }

    /// Looks at a layer that no department uses as a new department would see it.
    void checkUnused(const Layer& layer) {
        Kym::Configuration none(Kym::SystemInformation().localDepartmentsPath() / "none", false);
        if (layer.plugin) {
            none.type = layer.plugin->pluginType;
        }
        const View view{layer, none, nullptr};
        const auto environment = build(view);
        if (!environment) {
            mBroken.insert(layer.path);
            return;
        }
        Names names = namesOf(*environment);
        addNames(layer, names);
        mReferences.addScope(layer, names);
        if (layer.path == "site") {
            checkCadSystem(view, *environment);
        }
        checkLetterCase(view, *environment);
        for (int row = 0; layer.applications && row < layer.applications->numberOfRowsInList(); ++row) {
            if (!layer.applications->application(row).disableApplication) {
                checkApplication(view, {&layer, row}, *environment);
            }
        }
    }

    void checkCadSystem(const View& view, Environment environment) {
        try {
            mLauncher.checkCadEnvironment(environment);
        } catch (const std::exception& error) {
            Finding finding{true,
                            "cad-system-not-found",
                            nativeText(mSite.site().file),
                            "site/winNxInstallPath",
                            0,
                            "",
                            error.what(),
                            "Run: kym-configure put site/winNxInstallPath DIRECTORY, and put "
                            "site/useWindowsRegistry False unless the registry names it"};
            const std::string& variable = Kym::SystemInformation().CadInstallPathVariable;
            if (variable.empty()) {
                finding.file = nativeText(mSite.system().file);
                finding.table = "system/CadInstallPathVariable";
                finding.suggestion = "Run: kym-configure put system/CadInstallPathVariable NAME";
                addOnce(finding);
                return;
            }
            for (const Table& table : tablesOfView(view)) {
                for (int row = 0; row < table.rows() && finding.row == 0; ++row) {
                    if (table.cell(row, "Name") == variable) {
                        finding.file = nativeText(table.layer.file);
                        finding.table = table.path;
                        finding.row = row + 1;
                        finding.column = "Value";
                        finding.suggestion = setCommand(table.path, row, "Value", "DIRECTORY");
                    }
                }
            }
            addOnce(finding);
        }
    }

    /// Names that differ in the case of letters only are one name for Windows.
    void checkLetterCase(const View& view, const Environment& environment) {
        const auto folded = [](const std::string& name) {
            return boost::to_upper_copy(name, std::locale::classic());
        };
        std::map<std::string, Names> alike;
        for (const auto& [name, value] : environment) {
            alike[folded(name)].insert(name);
        }
        for (const Table& table : tablesOfView(view)) {
            for (int row = 0; row < table.rows(); ++row) {
                const std::string name = table.cell(row, "Name");
                const Names& names = alike[folded(name)];
                if (names.size() > 1 && names.contains(name)) {
                    const std::string& other = *names.begin() == name ? *names.rbegin() : *names.begin();
                    addOnce({false, "name-differs-in-case", nativeText(table.layer.file), table.path, row + 1,
                             "Name",
                             "Windows takes " + quoted(name) + " and " + quoted(other) +
                                 " for one variable, and the value of one of them is lost.",
                             setCommand(table.path, row, "Name", other)});
                }
            }
        }
    }

    static bool hasVariables(Kym::ConfigApplication& application) {
        return application.commonVariables()->numberOfRowsInList() != 0 ||
               application.winVariables()->numberOfRowsInList() != 0;
    }

    void checkApplication(const View& view, const Place& place, const Environment& departments) {
        Kym::ConfigApplication& application = place.layer->applications->application(place.row);
        auto environment = std::make_unique<Environment>(departments);
        if (application.disableCustomization || hasVariables(application)) {
            const View own{view.layer, view.department, view.common, place};
            environment = build(own);
            if (!environment) {
                return;
            }
            checkLetterCase(own, *environment);
        }
        if (application.disableCustomization) {
            mReferences.setScope(*place.layer, place.row, namesOf(*environment));
        }
        try {
            mLauncher.getAndCheckExecutable(application, *environment);
        } catch (const std::exception& error) {
            const std::string text = error.what();
            const std::string table = place.layer->path + "/applications";
            addOnce({true, "executable-not-found", nativeText(place.layer->file), table, place.row + 1,
                     "Executable",
                     text.substr(0, text.find('\n')) +
                         (view.layer.department
                              ? " (Seen from the department " + quoted(view.department.name()) + ".)"
                              : ""),
                     setCommand(table, place.row, "Executable", "PROGRAM")});
        }
    }

    /// Where the application stands that is the one of an index among those of a configuration.
    Place placeOf(const std::string& configuration, int index) const {
        for (const Layer& layer : mLayers) {
            const std::string name = layer.plugin       ? layer.plugin->name() + " Plugin"
                                     : layer.department ? layer.department->name()
                                                        : "Base KYM";
            if (!layer.applications || name != configuration) {
                continue;
            }
            if (index < layer.applications->numberOfRowsInList()) {
                return {&layer, index};
            }
            index -= layer.applications->numberOfRowsInList();
        }
        return {};
    }

    Site& mSite;
    const std::vector<Layer>& mLayers;
    Findings& mFindings;
    const Kym::Launcher mLauncher = {};
    ReferenceCheck mReferences{mFindings};
    Names mBroken;  // layers of an environment that cannot be built
    Names mSeen;
};

}  // namespace

void checkEnvironments(Site& site, const std::vector<Layer>& layers, Findings& findings) {
    EnvironmentCheck(site, layers, findings).run();
}
