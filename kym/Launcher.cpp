#include "kym/Launcher.h"

#include <algorithm>
#include <locale>
#include <optional>
#include <stdexcept>
#include <utility>

#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include "base/Environment.h"
#include "base/FileManager.h"
#include "base/Task.h"
#include "base/Text.h"
#include "base/platform/ShortPath.h"
#include "kym/BaseSettings.h"
#include "kym/CharacterClass.h"
#include "kym/ConfigApplication.h"
#include "kym/Configuration.h"
#include "kym/ConfigurationName.h"
#include "kym/EnvironmentMap.h"
#include "kym/LaunchText.h"
#include "kym/Loggers.h"
#include "kym/PluginsManager.h"
#include "kym/SiteSettings.h"
#include "kym/StaleFiles.h"
#include "kym/SystemInfo.h"
#include "kym/Time.h"
#include "kym/VariableList.h"
#include "kym/WorkDirectory.h"

namespace fs = boost::filesystem;
using Base::FileManager::native;
using Base::log::LoggerStream;

namespace Kym {

namespace {

[[noreturn]] void fail(const std::string& message) {
    throw std::runtime_error(Base::Text::readableLines(message));
}

/// The directory that the program starts in. When its text cannot be expanded, it stays as it is and
/// `failure` tells why.
std::string startDirectory(const WorkDirectory* workDir, const Launcher::EnvironmentMap& env,
                           std::string& failure) {
    std::string directory = workDir ? workDir->path : "${USERPROFILE}";
    try {
        Base::Environment::expandEnvVariables(directory, env);
    } catch (const Base::Environment::ExpansionError& error) {
        failure = error.what();
    }
    return directory;
}

/// The names of the variables that Windows takes for that of `name`, whose letters differ in case only.
std::vector<std::string> otherSpellings(const std::string& name, const Launcher::EnvironmentMap& env) {
    std::vector<std::string> spellings;
    for (const auto& [other, value] : env) {
        if (other != name && other.size() == name.size() &&
            boost::iequals(other, name, std::locale::classic())) {
            spellings.push_back(other);
        }
    }
    return spellings;
}

/// Takes variables out of the environment and tells `record`, unless that is null, why.
void drop(const std::vector<std::string>& names, LaunchRecord::Change reason, Launcher::EnvironmentMap& env,
          LaunchRecord* record) {
    for (const std::string& name : names) {
        if (env.erase(name) != 0 && record) {
            record->dropped(name, reason);
        }
    }
}

}  // namespace

/// Whose environment is being assembled.
struct Launcher::Assembly {
    const Launcher& launcher;
    const Configuration& config;
    const Configuration* commonConfig;
    const ConfigApplication& app;
};

/// One layer of an environment. A layer of customization is left out for an application that disables it.
struct Launcher::Layer {
    const char* name;
    bool customization;
    void (*merge)(const Assembly& assembly, VariableList& vars);
};

// The order of the layers stands here and nowhere else.
const std::vector<Launcher::Layer>& Launcher::layers() {
    static const std::vector<Layer> order = {
        {"process", false,
         [](const Assembly& of, VariableList& vars) { of.launcher.addCurrentEnvVarsToMap(vars); }},
        {"site", false,
         [](const Assembly&, VariableList& vars) { SiteInformation().mergeEnvVariables(vars); }},
        {"base", true,
         [](const Assembly&, VariableList& vars) { BaseInformation().mergeEnvVariables(vars); }},
        {"plugins", true,
         [](const Assembly& of, VariableList& vars) {
             PluginsManagement().mergeEnvVariables(of.config, vars);
         }},
        {"common configuration", true,
         [](const Assembly& of, VariableList& vars) {
             if (of.commonConfig) {
                 logInfo("Merging common configuration variables");
                 of.commonConfig->mergeEnvVariables(vars);
             }
         }},
        {"configuration", true,
         [](const Assembly& of, VariableList& vars) {
             logInfo("Merging configuration variables");
             of.config.mergeEnvVariables(vars);
         }},
        {"application", false,
         [](const Assembly& of, VariableList& vars) {
             logInfo("Merging application variables");
             if (LaunchRecord* record = vars.record()) {
                 record->from(settingsFile(of));
             }
             of.app.mergeEnvVariables(vars);
         }},
        {"launcher", false,
         [](const Assembly& of, VariableList& vars) {
             logInfo("Merging KYM system variables");
             of.launcher.addKymSystemEnvVarsToMap(of.config, vars);
         }},
        {"symbol library", true,
         [](const Assembly& of, VariableList& vars) { of.launcher.setSymbolDirVariable(of.config, vars); }},
        {"customer defaults", true,
         [](const Assembly& of, VariableList& vars) {
             of.launcher.setCustomerDefaultVariables(of.config, vars);
         }},
    };
    return order;
}

/// The file of the settings that the application stands in, which its configuration's name tells; empty when
/// it stands in none.
fs::path Launcher::settingsFile(const Assembly& of) {
    const std::string& owner = of.app.mConfigurationName;
    for (const Configuration* config : {&of.config, of.commonConfig}) {
        if (config && config->name() == owner) {
            return config->mSettings.mDataFile;
        }
    }
    for (const PluginSettings& plugin : PluginsManagement().mPlugins) {
        if (pluginConfigurationName(plugin.name()) == owner) {
            return plugin.mDataFile;
        }
    }
    return owner == baseConfigurationName ? BaseInformation().mDataFile : fs::path();
}

void Launcher::launchApplication(const Configuration& config, const Configuration* commonConfig,
                                 const ConfigApplication& app, const WorkDirectory* workDir) const {
    launch(plan(config, commonConfig, app, workDir));
}

void Launcher::launchApplication(const Configuration& config, const Configuration* commonConfig,
                                 const std::string& executable, const std::vector<std::string>& arguments,
                                 bool addLibraries) const {
    ConfigApplication app;
    app.program = executable;
    app.arguments = boost::join(arguments, " ");
    app.addUgLibsToPath = addLibraries;
    launchApplication(config, commonConfig, app, nullptr);
}

std::string Launcher::commandString(const Configuration& config, const Configuration* commonConfig,
                                    const ConfigApplication& app) const {
    return plan(config, commonConfig, app, nullptr).commandString();
}

LaunchPlan Launcher::plan(const Configuration& config, const Configuration* commonConfig,
                          const ConfigApplication& app, const WorkDirectory* workDir) const {
    LaunchPlan plan;
    logInfo("Building environment...");
    const std::vector<std::string> superseded =
        assemble(config, commonConfig, app, plan.environment, nullptr);
    logInfo("Finished building environment.");

    plan.executable = getAndCheckExecutable(app, plan.environment);
    plan.arguments = buildArgList(app, plan.environment);
    if (config.doFileCleanup) {
        plan.cleanupDays = config.cleanupDays;
    }
    plan.workingDirectory = finish(superseded, workDir, plan.environment, nullptr);
    return plan;
}

std::vector<VariableExplanation> Launcher::explain(const Configuration& config,
                                                   const Configuration* commonConfig,
                                                   const ConfigApplication& app,
                                                   const WorkDirectory* workDir) const {
    LaunchRecord record;
    EnvironmentMap env;
    finish(assemble(config, commonConfig, app, env, &record), workDir, env, &record);
    return std::move(record).explanations(env);
}

std::string Launcher::finish(const std::vector<std::string>& superseded, const WorkDirectory* workDir,
                             EnvironmentMap& env, LaunchRecord* record) const {
    const std::string defaultsName = "UGII_LOCAL_USER_DEFAULTS";
    std::string failure;
    std::string directory = startDirectory(workDir, env, failure);
    if (!failure.empty() && !record) {
        throw Base::Environment::ExpansionError(failure);
    }
    drop({""}, LaunchRecord::Change::invalidName, env, record);  // no program gets a variable without a name
    drop(superseded, LaunchRecord::Change::superseded, env, record);
    drop(otherSpellings(defaultsName, env), LaunchRecord::Change::superseded, env, record);
    env[defaultsName] = directory + "\\nx90_user.dpv";
    if (record) {
        record->beginLayer("launcher");
        record->merged(defaultsName, std::string::npos, env[defaultsName], {}, true);
        if (!failure.empty()) {
            record->failed(defaultsName, failure);
        }
    }
    return directory;
}

void Launcher::launch(const LaunchPlan& plan) const {
    Base::Task task;
    task.setArguments(plan.arguments);
    task.setLaunchPath(plan.executable);
    if (!plan.workingDirectory.empty()) {
        const std::optional<fs::path> directory = Base::FileManager::pathOf(plan.workingDirectory);
        if (!directory) {
            fail("The working directory " + plan.workingDirectory + " is no path: it is not UTF-8.");
        }
        task.setCurrentDirectoryPath(*directory);
    }
    if (plan.cleanupDays) {
        removeStaleFiles(*plan.cleanupDays);
    }
    if (LoggerStream line{infoLogger()}) {
        line << "Starting application " << native(plan.executable) << std::endl << "  with arguments: ";
        for (const std::string& argument : plan.arguments) {
            line << argument << ' ';
        }
        line << std::endl;
    }
    task.setEnvironment(plan.environment);
    task.launch();
    logInfo("Application ", task.launchPath(), " has started.");
}

std::vector<StaleFile> Launcher::staleFiles(const Configuration& config) const {
    std::vector<StaleFile> files;
    if (config.doFileCleanup) {
        visitStaleFiles(Time::currentLocalTime(), config.cleanupDays,
                        [&](const StaleFile& file) { files.push_back(file); });
    }
    return files;
}

void Launcher::removeLogFiles(const Configuration& config) const {
    removeLogFiles(config, {});
}

void Launcher::removeLogFiles(const Configuration& config,
                              const std::function<void(const StaleFile&)>& removed) const {
    if (config.doFileCleanup) {
        removeStaleFiles(config.cleanupDays, removed);
    }
}

void Launcher::buildEnvVarMap(const Configuration& config, const Configuration* commonConfig,
                              const ConfigApplication& app, EnvironmentMap& env) const {
    assemble(config, commonConfig, app, env, nullptr);
}

std::vector<std::string> Launcher::assemble(const Configuration& config, const Configuration* commonConfig,
                                            const ConfigApplication& app, EnvironmentMap& env,
                                            LaunchRecord* record) const {
    VariableList vars(record);
    const Assembly assembly{*this, config, commonConfig, app};
    for (const Layer& layer : layers()) {
        if (!(layer.customization && app.disableCustomization)) {
            if (record) {
                record->beginLayer(layer.name);
            }
            layer.merge(assembly, vars);
        }
    }
    return fillEnvironmentMap(std::move(vars), env);
}

void Launcher::addCurrentEnvVarsToMap(VariableList& vars) const {
    logInfo("Adding the current environment variables");
    for (std::string& text : Base::Environment::environmentStrings()) {
        logVerbose("Processing variable: ", text);
        const std::size_t equals = text.find('=');
        if (equals == std::string::npos) {
            continue;
        }
        EnvironmentVariable variable;
        variable.name.resize(equals);
        std::transform(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(equals),
                       variable.name.begin(), toUpper);
        variable.value = std::move(text.erase(0, equals + 1));
        logVerbose("Setting ", variable.name, "=", variable.value);
        vars.append(std::move(variable));
    }
}

void Launcher::addKymSystemEnvVarsToMap(const Configuration& config, VariableList& vars) const {
    logInfo("Setting KYM system variables");
    const SystemInfo& system = SystemInformation();
    // A department without a common one has no common directory to tell its programs about.
    const std::string commonPath =
        config.commonDepartment.empty() ? std::string() : native(config.commonConfigPath());
    vars.append({"KYM_DEPT_DIR", native(config.path())});
    vars.append({"KYM_COMMONDEPT_DIR", commonPath});
    vars.append({system.KymConfigPathEnvVarName, native(system.localDepartmentsPath())});
    vars.append({"UG_VER", system.CadVersionDirectory});
    vars.append({"OS", system.osDirectoryName()});
    vars.append({"OSA", system.osaDirectoryName()});
    vars.append({"SCRIPTx", system.scriptExtension()});
}

void Launcher::setSymbolDirVariable(const Configuration& config, VariableList& vars) const {
    logInfo("Setting UGII_SYMBOL_LIBRARY_DIR");
    for (const fs::path& place :
         {config.versionPath(), config.commonConfigVersionPath(), SystemInformation().installPath()}) {
        const fs::path candidate = place / "symbol" / "symbol_library.txt";
        if (Base::FileManager::exists(candidate)) {
            vars.append({"UGII_SYMBOL_LIBRARY_DIR", native(candidate.parent_path())});
            return;
        }
    }
}

void Launcher::setCustomerDefaultVariables(const Configuration& config, VariableList& vars) const {
    if (!config.commonDepartment.empty()) {
        vars.append({"UGII_SITE_DIR", "${KYM_COMMONDEPT_DIR}/${UG_VER}"});
        logVerbose("dpv found in CONFIG: setCustomerDefaultVariables setting UGII_SITE_DIR to COMMON");
        logInfo("dpv found in CONFIG: setCustomerDefaultVariables setting UGII_SITE_DIR  to COMMON");
    } else {
        vars.append({"UGII_SITE_DIR", "$KYM_BASE_DIR"});
        const char* text =
            "dpv not found in CONFIG: setCustomerDefaultVariables setting UGII_SITE_DIR to BASE";
        logVerbose(text);
        logInfo(text);
    }
    vars.append({"UGII_GROUP_DIR", "${KYM_DEPT_DIR}/${UG_VER}"});
}

fs::path Launcher::getAndCheckExecutable(const ConfigApplication& app, const EnvironmentMap& env) const {
    std::string text = app.program;
    text = collapseSeparators(Base::Environment::expandEnvVariables(text, env));
    logVerbose("expanded executable string = ", text);
    const std::optional<fs::path> program = Base::FileManager::pathOf(text);
    if (!program || !Base::FileManager::exists(*program)) {
        fail("Program " + (program ? native(*program) : text) + " is not found.\n  Original string = " +
             app.program + "\n  Maybe a environment variable is set wrong.");
    }
    // A directory that can be entered counts as executable for the file system, but cannot be started.
    if (Base::FileManager::isDirectory(*program) || !Base::FileManager::isExecutable(*program)) {
        fail("Program " + native(*program) + " is not executable.\n");
    }
    return *program;
}

void Launcher::checkCadEnvironment(EnvironmentMap& env) const {
    const std::string& name = SystemInformation().CadInstallPathVariable;
    if (name.empty()) {
        fail(
            "The system has not defined the environment variable for "
            "the install path of the CAD system. Cannot verify it is installed.");
    }
    const auto install = env.find(name);
    if (install == env.end()) {
        fail(name + " is not set.");
    }
    if (!Base::FileManager::existsAt(install->second)) {
        fail(name + " is set to " + install->second + ". Invalid directory.");
    }
    install->second = Base::Platform::shortPath(install->second);

    std::string& root = env["UGII_ROOT_DIR"];
    root = Base::Platform::shortPath(root);

    const auto library = env.find("UGII_LIB1");
    if (library != env.end()) {
        logInfo("UGII_LIB1 = ", library->second);
        if (!Base::FileManager::existsAt(library->second)) {
            env.erase(library);
        }
    }
}

std::vector<std::string> Launcher::buildArgList(const ConfigApplication& app,
                                                const EnvironmentMap& env) const {
    logInfo("Building argument list...");
    std::string text = app.arguments;
    std::vector<std::string> arguments =
        splitArguments(collapseSeparators(Base::Environment::expandEnvVariables(text, env)));
    logInfo("Argument list size is ", arguments.size());
    return arguments;
}

}  // namespace Kym
