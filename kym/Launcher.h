#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "base/platform/Export.h"
#include "kym/LaunchExplanation.h"
#include "kym/LaunchPlan.h"
#include "kym/StaleFile.h"

namespace Kym {

class ConfigApplication;
class Configuration;
class LaunchRecord;
class VariableList;
class WorkDirectory;

/// Starts the applications of a department with exactly the environment that the settings layers describe.
///
/// A launcher keeps no state: every call builds everything afresh from the stores and from the environment of
/// this process. Failures are standard exceptions with complete messages for the user. `commonConfig` is the
/// configuration's common configuration, and `workDir` the chosen working directory; both may be null.
class KYM_EXPORT Launcher {
  public:
    using EnvironmentMap = std::map<std::string, std::string>;

    /// Starts an application and returns without waiting for it. When anything fails before the start,
    /// nothing was started.
    void launchApplication(const Configuration& config, const Configuration* commonConfig,
                           const ConfigApplication& app, const WorkDirectory* workDir) const;

    /// Starts any program in the environment of a configuration. The arguments are joined with single blanks
    /// and split again like the argument text of an application.
    void launchApplication(const Configuration& config, const Configuration* commonConfig,
                           const std::string& executable, const std::vector<std::string>& arguments,
                           bool addLibraries) const;

    /// The command line that a launch would run. Fails as a launch would; changes nothing.
    std::string commandString(const Configuration& config, const Configuration* commonConfig,
                              const ConfigApplication& app) const;

    /// What a launch would do. Fails as a launch would; changes nothing.
    LaunchPlan plan(const Configuration& config, const Configuration* commonConfig,
                    const ConfigApplication& app, const WorkDirectory* workDir) const;

    /// How the variables that such a plan hands over come to their values, and what became of those that it
    /// does not; by name. The executable may be missing. Errors as of `buildEnvVarMap`, and
    /// `std::runtime_error` when there is more than 256 MiB to tell; changes nothing.
    std::vector<VariableExplanation> explain(const Configuration& config, const Configuration* commonConfig,
                                             const ConfigApplication& app,
                                             const WorkDirectory* workDir) const;

    /// Starts what `plan` computed, after it removed the stale files when the plan says so. When one of these
    /// cannot be removed, nothing is started; `Base::TaskError` when the program cannot be started.
    void launch(const LaunchPlan& plan) const;

    /// The files that `removeLogFiles` would remove now: journals, logs and the like that are older than the
    /// days which the configuration sets, in c:\temp and in the directory that the variable TEMP of this
    /// process names, not below them. None when the configuration asks for no cleanup. Errors of the file
    /// system are `boost::filesystem::filesystem_error`.
    std::vector<StaleFile> staleFiles(const Configuration& config) const;

    /// Removes these files. A file that is gone already is no error. The first that cannot be removed ends
    /// the cleanup with the file system's exception; what was removed before stays removed.
    void removeLogFiles(const Configuration& config) const;

    /// The same, and calls `removed` after each file.
    void removeLogFiles(const Configuration& config,
                        const std::function<void(const StaleFile&)>& removed) const;

    /// Fills `env`, which is passed empty, with the environment of an application: the layers merged,
    /// references expanded, separators in the Windows form, path lists free of duplicates. An expansion that
    /// fails throws `std::runtime_error` naming the variable; `env` is then left as far as it was filled.
    /// Names that differ only in the case of their letters are variables of their own here; what a launch
    /// hands over (`plan`) has the one that came into the list of variables last.
    void buildEnvVarMap(const Configuration& config, const Configuration* commonConfig,
                        const ConfigApplication& app, EnvironmentMap& env) const;

    /// The application's executable, expanded against `env`. `std::runtime_error` when it does not exist or
    /// may not be executed, as no directory may.
    boost::filesystem::path getAndCheckExecutable(const ConfigApplication& app,
                                                  const EnvironmentMap& env) const;

    /// Checks that `env` names an existing CAD installation (`std::runtime_error` otherwise) and puts its
    /// variables into short path form. "UGII_LIB1" is removed when it names nothing that exists. Entries
    /// changed before a failure stay changed.
    void checkCadEnvironment(EnvironmentMap& env) const;

  private:
    struct Layer;
    struct Assembly;
    static const std::vector<Layer>& layers();
    static boost::filesystem::path settingsFile(const Assembly& of);

    void addCurrentEnvVarsToMap(VariableList& vars) const;
    void addKymSystemEnvVarsToMap(const Configuration& config, VariableList& vars) const;
    void setSymbolDirVariable(const Configuration& config, VariableList& vars) const;
    void setCustomerDefaultVariables(const Configuration& config, VariableList& vars) const;
    /// Builds the environment; the names of those variables in it that another one supersedes on Windows.
    /// Tells `record`, unless that is null, how they come about.
    std::vector<std::string> assemble(const Configuration& config, const Configuration* commonConfig,
                                      const ConfigApplication& app, EnvironmentMap& env,
                                      LaunchRecord* record) const;
    /// Makes an assembled environment the one that a launch hands over; the working directory.
    std::string finish(const std::vector<std::string>& superseded, const WorkDirectory* workDir,
                       EnvironmentMap& env, LaunchRecord* record) const;
    std::vector<std::string> buildArgList(const ConfigApplication& app, const EnvironmentMap& env) const;
};

}  // namespace Kym
