#include <algorithm>
#include <map>
#include <set>

#include "kym/Launcher.h"
#include "kym/PluginsManager.h"
#include "kym/SystemInfo.h"

#include "Checks.h"

namespace {

using Names = std::set<std::string>;

/// The names to which a text refers as $NAME or ${NAME}.
std::vector<std::string> referencesIn(const std::string& text) {
    static const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
    std::vector<std::string> result;
    for (std::size_t at = text.find('$'); at != std::string::npos && at + 1 < text.size();
         at = text.find('$', at + 1)) {
        if (text[at + 1] == '{') {
            const std::size_t end = text.find('}', at);
            if (end != std::string::npos) {
                result.push_back(text.substr(at + 2, end - at - 2));
            }
        } else if (letters.find(text[at + 1]) != std::string::npos) {
            const std::size_t end = text.find_first_not_of(letters + "0123456789", at + 1);
            result.push_back(text.substr(at + 1, end == std::string::npos ? end : end - at - 1));
        }
    }
    return result;
}

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
        // A layer that no department uses is looked at as a new department would see it.
        const Kym::Configuration none(Kym::SystemInformation().localDepartmentsPath() / "none", false);
        for (const Layer& layer : mLayers) {
            auto& scopes = mScopes[layer.path];
            if (scopes.empty() && !layer.department && !mBroken.contains(layer.path)) {
                if (const auto environment = build(none, nullptr, {}, layer, "")) {
                    scopes.push_back(namesOf(*environment));
                    addNames(layer, scopes.back());
                }
            }
            checkReferences(layer, scopes);
        }
    }

  private:
    using Environment = Kym::Launcher::EnvironmentMap;

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

    /// Nothing, and a finding, when the environment cannot be built.
    std::unique_ptr<Environment> build(const Kym::Configuration& department, const Kym::Configuration* common,
                                       const Kym::ConfigApplication& application, const Layer& layer,
                                       const std::string& applicationTable) {
        auto result = std::make_unique<Environment>();
        try {
            mLauncher.buildEnvVarMap(department, common, application, *result);
            return result;
        } catch (const std::exception& error) {
            addExpansionFinding(layer, applicationTable, error.what());
            return nullptr;
        }
    }

    void addExpansionFinding(const Layer& layer, const std::string& applicationTable,
                             const std::string& text) {
        const std::size_t begin = text.find('\'') + 1;
        const std::string name = text.substr(begin, text.find('\'', begin) - begin);
        std::vector<Table> tables;
        for (const Layer* part : layersOf(layer)) {
            for (const Table& table : tablesOf(*part)) {
                if (table.columns.back() == "Value" && table.path.find("/unix") == std::string::npos) {
                    tables.push_back(table);
                }
            }
        }
        Finding finding{true,
                        text.find("refers to itself") != std::string::npos ? "cycle" : "expansion",
                        nativeText(layer.file),
                        layer.path,
                        0,
                        "",
                        text.substr(text.find('\n') + 1),
                        "Change one of the variables named, with: kym-configure set TABLE ROW Value VALUE"};
        for (const Table& table : tables) {
            if (isOfApplication(table) && !table.path.starts_with(applicationTable + '/')) {
                continue;
            }
            for (int row = 0; row < table.rows(); ++row) {
                if (table.cell(row, "Name") == name) {
                    finding.table = table.path;
                    finding.file = nativeText(table.layer.file);
                    finding.row = row + 1;
                    finding.column = "Value";
                }
            }
            if (finding.row != 0) {
                break;
            }
        }
        addOnce(finding);
    }

    void addOnce(const Finding& finding) {
        if (mSeen.insert(finding.code + '\n' + finding.table + '\n' + std::to_string(finding.row)).second) {
            mFindings.push_back(finding);
        }
    }

    void checkDepartment(const Layer& layer) {
        Kym::Configuration& department = *layer.department;
        const Kym::Configuration* common = mSite.offered().commonOf(department);
        const auto environment = build(department, common, {}, layer, "");
        if (!environment) {
            for (const Layer* part : layersOf(layer)) {
                mBroken.insert(part->path);
            }
            return;
        }
        Names names = namesOf(*environment);
        const std::vector<const Layer*> parts = layersOf(layer);
        for (const Layer* part : parts) {
            addNames(*part, names);
        }
        for (const Layer* part : parts) {
            mScopes[part->path].push_back(names);
        }
        checkCadSystem(*environment);
        for (const Kym::ConfigApplication& application : mSite.offered().applicationsOf(department, false)) {
            checkApplication(layer, common, application, *environment);
        }
    }

    void checkCadSystem(Environment environment) {
        try {
            mLauncher.checkCadEnvironment(environment);
        } catch (const std::exception& error) {
            addOnce(
                {true, "cad-system-not-found", nativeText(mSite.site().file), "site/winNxInstallPath", 0, "",
                 error.what(),
                 "Run: kym-configure put site/winNxInstallPath DIRECTORY, and put site/useWindowsRegistry "
                 "False unless the registry names it"});
        }
    }

    static bool hasVariables(Kym::ConfigApplication application) {
        return application.commonVariables()->numberOfRowsInList() != 0 ||
               application.winVariables()->numberOfRowsInList() != 0;
    }

    void checkApplication(const Layer& layer, const Kym::Configuration* common,
                          const Kym::ConfigApplication& application, const Environment& departments) {
        const std::string owner = ownerOf(application.mConfigurationName);
        const std::string table = owner + "/applications";
        const bool ownEnvironment = application.disableCustomization || hasVariables(application);
        const auto environment = ownEnvironment ? build(*layer.department, common, application, layer,
                                                        table + '/' + application.applicationId)
                                                : std::make_unique<Environment>(departments);
        if (!environment) {
            return;
        }
        try {
            mLauncher.getAndCheckExecutable(application, *environment);
        } catch (const std::exception& error) {
            const Layer ownerLayer = mSite.layer(owner);
            Finding finding{true,
                            "executable-not-found",
                            nativeText(ownerLayer.file),
                            table,
                            0,
                            "Executable",
                            firstLine(error.what()) + " (Seen from the department " +
                                quoted(layer.department->name()) + ".)",
                            ""};
            for (int row = 0; row < ownerLayer.applications->numberOfRowsInList(); ++row) {
                if (ownerLayer.applications->application(row).applicationId == application.applicationId) {
                    finding.row = row + 1;
                }
            }
            finding.suggestion =
                "Run: kym-configure set " + table + ' ' + std::to_string(finding.row) + " Executable PROGRAM";
            addOnce(finding);
        }
    }

    static std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

    std::string ownerOf(const std::string& configuration) const {
        for (const Layer& layer : mLayers) {
            if (layer.plugin && layer.plugin->name() + " Plugin" == configuration) {
                return layer.path;
            }
        }
        return configuration == "Base KYM" ? "base" : "department/" + configuration;
    }

    void checkReferences(const Layer& layer, const std::vector<Names>& scopes) {
        if (scopes.empty() || mBroken.contains(layer.path)) {
            return;
        }
        const std::vector<Table> tables = tablesOf(layer);
        std::map<std::string, Names> namesOfApplications;
        for (const Table& table : tables) {
            for (int row = 0; isOfApplication(table) && row < table.rows(); ++row) {
                namesOfApplications[ownerIn(table)].insert(table.cell(row, "Name"));
            }
        }
        for (const Table& table : tables) {
            const bool isList = table.columns.front() == "AppID";
            for (int row = 0; row < table.rows(); ++row) {
                const Names& own = namesOfApplications[isList ? table.path + '/' + table.cell(row, "AppID")
                                                              : ownerIn(table)];
                for (const std::string& column : table.columns) {
                    static const Names columns = {"Value", "Path", "Executable", "Arguments"};
                    if (columns.contains(column)) {
                        checkReferences(table, row, column, scopes, own);
                    }
                }
            }
        }
    }

    static bool isOfApplication(const Table& table) {
        return table.path.find("/applications/") != std::string::npos;
    }

    /// The application, or the layer, whose variables a table holds.
    static std::string ownerIn(const Table& table) {
        return table.path.substr(0, table.path.rfind("/variables/"));
    }

    void checkReferences(const Table& table, int row, const std::string& column,
                         const std::vector<Names>& scopes, const Names& own) {
        for (const std::string& name : referencesIn(table.cell(row, column))) {
            const auto knows = [&name](const Names& names) { return names.contains(name); };
            if (!own.contains(name) && std::none_of(scopes.begin(), scopes.end(), knows) &&
                table.path.find("/unix") == std::string::npos) {
                mFindings.push_back(
                    {false, "undefined-variable", nativeText(table.layer.file), table.path, row + 1, column,
                     "No layer sets the variable " + quoted(name) + ".",
                     "Set it where it belongs, as with: kym-configure add site/variables/common "
                     "Name=" +
                         name + " Value=VALUE"});
            }
        }
    }

    Site& mSite;
    const std::vector<Layer>& mLayers;
    Findings& mFindings;
    const Kym::Launcher mLauncher = {};
    std::map<std::string, std::vector<Names>> mScopes;
    Names mBroken;  // layers of an environment that cannot be built
    Names mSeen;
};

}  // namespace

void checkEnvironments(Site& site, const std::vector<Layer>& layers, Findings& findings) {
    EnvironmentCheck(site, layers, findings).run();
}
