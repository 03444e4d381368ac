#include "kym/Launcher.h"

#include <algorithm>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Environment.h"
#include "base/FileManager.h"
#include "base/Task.h"
#include "kym/BaseSettings.h"
#include "kym/ConfigApplication.h"
#include "kym/Configuration.h"
#include "kym/PluginsManager.h"
#include "kym/SiteSettings.h"
#include "kym/SystemInfo.h"
#include "kym/WorkDirectory.h"

#include "tests/support/SiteSupport.h"
#include "tests/support/SystemSupport.h"

using Base::FileManager::native;
using Kym::Configuration;
using Kym::EnvironmentVariable;
using testing::Contains;
using testing::HasSubstr;
using testing::StartsWith;
using testing::ThrowsMessage;

namespace {

using Variables = std::vector<EnvironmentVariable>;
using Lines = std::vector<std::string>;

void fill(Kym::EnvVariableListSource* list, const Variables& variables) {
    for (const auto& variable : variables) {
        Support::addRow(*list, {{"Name", variable.name}, {"Value", variable.value}});
    }
}

std::string slashed(std::string text) {
    std::replace(text.begin(), text.end(), '/', '\\');
    return text;
}

/// A site whose layers a test fills, with a department "design", its common department "shared" and one
/// plugin.
class LauncherTest : public Support::SiteTest {
  protected:
    LauncherTest() {
        Base::Environment::setEnvVariable("LAUNCHER_TEST_FROM_PROCESS", "process");
        Kym::PluginsManagement().addPlugin(site.makeDirectory("plugins/cam"));
        Kym::SiteInformation().useWindowsRegistry = false;
        Kym::SiteInformation().winNxInstallPath.value = "C:\\nx";
        config.doFileCleanup = false;  // the machine keeps its old files
    }

    Configuration department(const std::string& name) {
        return Configuration(site.makeDirectory("departments/" + name), false);
    }

    Kym::Launcher::EnvironmentMap build(const Configuration* commonConfig = nullptr) {
        Kym::Launcher::EnvironmentMap env;
        launcher.buildEnvVarMap(config, commonConfig, app, env);
        return env;
    }

    std::string variable(const std::string& name, const Configuration* commonConfig = nullptr) {
        const auto env = build(commonConfig);
        const auto found = env.find(name);
        return found == env.end() ? "(unset)" : found->second;
    }

    /// A file that may be executed on both systems, but is no program of either.
    boost::filesystem::path makeProgram(const std::string& relative) {
        auto program = site.makeFile(relative, "exit");
        Base::FileManager::setPermissions(program, 0775);
        return program;
    }

    Kym::Launcher launcher;
    Configuration config = department("design");
    Kym::ConfigApplication app;
};

}  // namespace

TEST_F(LauncherTest, LaterLayersExtendAndReplaceEarlierOnes) {
    Configuration shared = department("shared");
    config.commonDepartment = "shared";
    const auto trace = [](const char* layer) {
        return Variables{{"TRACE", std::string("${TRACE}>") + layer}};
    };
    fill(Kym::SiteInformation().commonVariables(), trace("site"));
    fill(Kym::SiteInformation().winVariables(), trace("site-win"));
    fill(Kym::SiteInformation().unixVariables(), trace("site-unix"));
    fill(Kym::BaseInformation().commonVariables(), trace("base"));
    fill(Kym::PluginsManagement().plugin(0, false)->commonVariables(), trace("plugin"));
    fill(shared.settings()->commonVariables(), trace("shared"));
    fill(config.settings()->commonVariables(), trace("design"));
    fill(config.settings()->commonVariables(), {{"LAUNCHER_TEST_FROM_PROCESS", ""}, {"UG_VER", "mine"}});
    fill(app.winVariables(), trace("app"));

    EXPECT_EQ(variable("TRACE", &shared), ">site>site-win>base>plugin>shared>design>app");
    EXPECT_EQ(variable("TRACE"), ">site>site-win>base>plugin>design>app");
    EXPECT_EQ(variable("LAUNCHER_TEST_FROM_PROCESS"), "(unset)");
    EXPECT_EQ(variable("UG_VER"), Kym::SystemInformation().CadVersionDirectory);

    site.makeFile("kym/symbol/symbol_library.txt");
    EXPECT_NE(variable("UGII_SYMBOL_LIBRARY_DIR"), "(unset)");
    app.disableCustomization = true;
    auto env = build(&shared);
    EXPECT_EQ(env["TRACE"], ">site>site-win>app");
    EXPECT_EQ(env["LAUNCHER_TEST_FROM_PROCESS"], "process");
    for (const char* name : {"UGII_SITE_DIR", "UGII_GROUP_DIR", "UGII_SYMBOL_LIBRARY_DIR"}) {
        EXPECT_EQ(env.count(name), 0U) << name;
    }
}

TEST_F(LauncherTest, AddsItsOwnVariables) {
    Kym::SystemInfo& system = Kym::SystemInformation();
    system.KymConfigPathEnvVarName = "MY_SITE_DIR";
    Base::Environment::setEnvVariable("KYM_COMMONDEPT_DIR", "of an outer launch");
    EXPECT_EQ(variable("KYM_COMMONDEPT_DIR"), "(unset)");
    EXPECT_EQ(variable("UGII_SITE_DIR"), slashed(native(site.installation())));

    config.commonDepartment = "shared";
    const std::string shared = slashed(native(site.departments() / "shared"));
    const std::string design = slashed(native(config.path())), release = "\\" + system.CadVersionDirectory;
    auto env = build();
    for (const auto& [name, value] : std::map<std::string, std::string>{
             {"KYM_DEPT_DIR", design},
             {"KYM_COMMONDEPT_DIR", shared},
             {"UGII_SITE_DIR", shared + release},
             {"UGII_GROUP_DIR", design + release},
             {"UGII_UGDOC_BASE_DIR", "C:\\nx\\ugdoc"},
             {"OS", "win64"},
             {"OSA", "win64"},
             {"SCRIPTx", "bat"},
             {system.KymConfigPathEnvVarName, slashed(native(site.departments()))}}) {
        EXPECT_EQ(env[name], value) << name;
    }
    EXPECT_THAT(env.at("PATH"), StartsWith("C:\\nx\\ugii;"));

    // The nearest symbol library counts.
    for (const auto& place : {site.installation(), config.commonConfigVersionPath(), config.versionPath()}) {
        site.makeFile(boost::filesystem::relative(place, site.root()) / "symbol" / "symbol_library.txt");
        EXPECT_EQ(variable("UGII_SYMBOL_LIBRARY_DIR"), slashed(native(place / "symbol")));
    }
}

// The value of any one variable is told by the fuzzer "merge".
TEST_F(LauncherTest, EvaluatesValuesForWindowsPrograms) {
    Base::Environment::setEnvVariable("Launcher_Test_Mixed_Path", "C:\\a;C:\\a;c:\\b");
    EXPECT_EQ(variable("LAUNCHER_TEST_MIXED_PATH"), "C:\\a;c:\\b");
    fill(config.settings()->commonVariables(), {{"LOOP", "$POOL"}, {"POOL", "x${LOOP}"}});
    EXPECT_THAT([&] { build(); },
                ThrowsMessage<std::exception>(AllOf(StartsWith("Error expanding variable 'LOOP'.\n"),
                                                    HasSubstr("LOOP"), HasSubstr("POOL"))));
}

TEST_F(LauncherTest, ExplainsWhereEveryValueComesFrom) {
    Base::Environment::setEnvVariable("EXPLAINED_PATH", "C:\\a;\\\\host\\c$\\t");
    Base::Environment::setEnvVariable("Mixed_Path", "process");
    Base::Environment::setEnvVariable("UGII_HTML_BROWSER", "of an outer launch");
    fill(Kym::SiteInformation().commonVariables(), {{"EXPLAINED_PATH", "D:\\s;$EXPLAINED_PATH"}});
    fill(Kym::BaseInformation().commonVariables(), {{"EXPLAINED_PATH", "${EXPLAINED_PATH};$MORE;C:/a"},
                                                    {"MORE", "E:/m:F:\\n"},
                                                    {"ROOTED_PATH", "b"},
                                                    {"CROSSED_PATH", "${MO"},
                                                    {"mixed_path", "b"},
                                                    {"UGII_HTML_BROWSER", "mine"}});
    Kym::PluginsManagement().addPlugin(site.makeDirectory("plugins/cae"));
    for (const int plugin : {0, 1}) {
        fill(Kym::PluginsManagement().plugin(plugin, false)->winVariables(), {{"MORE", "$MORE"}});
    }
    fill(config.settings()->winVariables(),
         {{"EXPLAINED_PATH", "$EXPLAINED_PATH/tail"}, {"MORE", "E:/m:F:/n"}, {"A-B", "x"}});
    fill(app.commonVariables(), {{"EXPLAINED_PATH", "$EXPLAINED_PATH;F:\\n"},
                                 {"ROOTED_PATH", "C:\\a\\$ROOTED_PATH"},
                                 {"CROSSED_PATH", "${CROSSED_PATH}RE}"}});
    app.mConfigurationName = "cam Plugin";
    // What takes over all of itself again and again, nothing first and then a text.
    fill(config.settings()->commonVariables(), Variables(40, {"EMPTY", "$EMPTY$EMPTY"}));
    fill(config.settings()->commonVariables(), {{"LONG_PATH", "a"}});
    fill(config.settings()->commonVariables(), Variables(18, {"LONG_PATH", "$LONG_PATH;$LONG_PATH"}));

    const char* const changes[] = {"set",      "extended",   "replaced", "removed", "ineffective", "bad-name",
                                   "expanded", "separators", "cleaned",  "failed",  "superseded"};
    std::map<std::string, std::string> told;
    Kym::WorkDirectory unfinished;
    unfinished.path = "${MORE";
    for (const auto& variable : launcher.explain(config, nullptr, app, &unfinished)) {
        std::string& text = told[variable.name];
        for (const auto& step : variable.steps) {
            const auto folder = boost::filesystem::path(step.file).parent_path().filename().string();
            text += step.layer + ':' + changes[static_cast<int>(step.change)] + '(' + folder + ") ";
        }
        for (const auto& path : variable.paths) {
            text += path.text + '<' + path.layer + (path.dropped ? ",dropped " : " ");
        }
    }
    EXPECT_EQ(told["EXPLAINED_PATH"],
              "process:set() site:extended(departments) base:extended(config) configuration:extended(config) "
              "application:extended(cam) :expanded() :separators() :cleaned() "
              "D:\\s<site C:\\a<process \\\\host\\c$\\t<process E:\\m<base F:\\n<base "
              "C:\\a\\tail<configuration F:\\n<application,dropped ");
    EXPECT_EQ(told["MORE"],
              "base:set(config) plugins:extended(cam) plugins:extended(cae) "
              "configuration:replaced(config) :separators() ");
    EXPECT_EQ(told["ROOTED_PATH"], "base:set(config) application:extended(cam) C:\\a\\b<application ");
    EXPECT_THAT(told["CROSSED_PATH"], HasSubstr("E:\\m<application F:\\n<application "));
    EXPECT_THAT(told["LONG_PATH"], HasSubstr("a<configuration "));
    EXPECT_EQ(told["A-B"], "configuration:set(config) :bad-name() ");
    EXPECT_THAT(told["UGII_HTML_BROWSER"], HasSubstr("base:ineffective(config) "));
    EXPECT_EQ(told["MIXED_PATH"], "process:set() :superseded() ");
    EXPECT_EQ(told["UGII_LOCAL_USER_DEFAULTS"], "launcher:set() :failed() ");
}

TEST_F(LauncherTest, ResolvesTheExecutableOrSaysWhy) {
    const auto program = makeProgram("bin dir/cad.exe");
    const auto text = site.makeFile("bin dir/readme.txt");
    Base::FileManager::setPermissions(text, 0664);
    const Kym::Launcher::EnvironmentMap env = {{"BIN", native(program.parent_path()) + "/"}};
    const auto resolve = [&](const std::string& executable) {
        app.program = executable;
        return launcher.getAndCheckExecutable(app, env);
    };
    EXPECT_EQ(resolve("${BIN}/cad.exe"), program);
    const std::string notFound =
        "Program ${NOWHERE}cad.exe is not found.\n  Original string = ${NOWHERE}cad.exe\n"
        "  Maybe a environment variable is set wrong.";
    const std::string notExecutable = " is not executable.\n";
    for (const auto& each : std::map<std::string, std::string>{
             {"${NOWHERE}cad.exe", notFound},
             {"", "Program  is not found.\n"},
             {"\xff", "Program \\xFF is not found.\n"},  // no path on Windows
             {"$BIN", notExecutable},
             {"${BIN}readme.txt", "Program " + native(text) + notExecutable}}) {
        EXPECT_THAT([&] { resolve(each.first); }, ThrowsMessage<std::runtime_error>(HasSubstr(each.second)));
    }
    EXPECT_THROW(resolve("${BIN"), std::exception);
}

TEST_F(LauncherTest, PlansWhatItWouldStart) {
    const auto program = makeProgram("bin/cad.exe");
    app.program = native(program);
    app.arguments = "-dir ${UG_VER_TEST}\\\\x \"two words\" \"in one\" $UNKNOWN";
    fill(app.commonVariables(),
         {{"UG_VER_TEST", "v1"}, {"UGII_LOCAL_USER_DEFAULTS", "replaced"}, {"USERPROFILE", "C:/me"}});

    const Kym::LaunchPlan plan = launcher.plan(config, nullptr, app, nullptr);
    EXPECT_EQ(plan.executable, program);
    EXPECT_EQ(plan.arguments,
              (std::vector<std::string>{"-dir", "v1\\x", "\"two words\" \"in one\"", "$UNKNOWN"}));
    EXPECT_EQ(plan.workingDirectory, "C:\\me");
    EXPECT_EQ(plan.environment.at("UGII_LOCAL_USER_DEFAULTS"), "C:\\me\\nx90_user.dpv");
    EXPECT_EQ(launcher.commandString(config, nullptr, app),
              native(program) + " -dir v1\\x \"two words\" \"in one\" $UNKNOWN");

    Kym::WorkDirectory work;
    EXPECT_EQ(launcher.plan(config, nullptr, app, &work).environment.at("UGII_LOCAL_USER_DEFAULTS"),
              "\\nx90_user.dpv");
    work.path = "${UG_VER_TEST}/w";
    EXPECT_EQ(launcher.plan(config, nullptr, app, &work).workingDirectory, "v1/w");

    // Windows knows one variable where names differ in case alone: what was set last is handed over.
    Base::Environment::setEnvVariable("CASE_ONE", "process");
    fill(Kym::BaseInformation().commonVariables(), {{"Case_One", "base"}, {"case_two", "base"}});
    fill(config.settings()->commonVariables(),
         {{"CASE_TWO", "department"}, {"Ugii_Local_User_Defaults", "x"}});
    std::map<std::string, std::string> cases;
    for (const auto& [name, value] : launcher.plan(config, nullptr, app, nullptr).environment) {
        if (boost::istarts_with(name, "case_") || boost::istarts_with(name, "ugii_local")) {
            cases[name] = value;
        }
    }
    EXPECT_EQ(cases,
              (std::map<std::string, std::string>{{"Case_One", "base"},
                                                  {"CASE_TWO", "department"},
                                                  {"UGII_LOCAL_USER_DEFAULTS", "C:\\me\\nx90_user.dpv"}}));
}

TEST_F(LauncherTest, ChecksTheCadInstallation) {
    const auto installation = site.makeDirectory("Siteware of the NX family");
    const auto root = site.makeDirectory("Siteware of the NX family/ugii");
    Kym::Launcher::EnvironmentMap env = {{"UGII_BASE_DIR", native(installation)},
                                         {"UGII_ROOT_DIR", native(root)},
                                         {"UGII_LIB1", native(installation / "gone")}};
    launcher.checkCadEnvironment(env);
    EXPECT_EQ(env.count("UGII_LIB1"), 0U);
    for (const auto& [name, directory] :
         {std::pair("UGII_BASE_DIR", installation), {"UGII_ROOT_DIR", root}}) {
        EXPECT_TRUE(boost::filesystem::equivalent(env[name], directory)) << env[name];
        EXPECT_EQ(env[name].find(' ') == std::string::npos, Support::onWindows) << env[name];
    }
    env["UGII_LIB1"] = "\xff";
    launcher.checkCadEnvironment(env);
    EXPECT_EQ(env.count("UGII_LIB1"), 0U);
    env = {{"UGII_BASE_DIR", native(installation)}, {"UGII_LIB1", native(root)}};
    launcher.checkCadEnvironment(env);
    EXPECT_EQ(env.at("UGII_ROOT_DIR"), "");
    EXPECT_EQ(env.at("UGII_LIB1"), native(root));

    const auto complaint = [&] { return Support::messageOf([&] { launcher.checkCadEnvironment(env); }); };
    env["UGII_BASE_DIR"] = "C:\\no such";
    EXPECT_EQ(complaint(), "UGII_BASE_DIR is set to C:\\no such. Invalid directory.");
    env.clear();
    EXPECT_EQ(complaint(), "UGII_BASE_DIR is not set.");
    Kym::SystemInformation().CadInstallPathVariable = "";
    EXPECT_EQ(complaint(),
              "The system has not defined the environment variable for the install path of the "
              "CAD system. Cannot verify it is installed.");
}

TEST_F(LauncherTest, StartsAnyProgramInTheEnvironmentOfADepartment) {
    const auto program = makeProgram("cad.exe");
    fill(config.settings()->commonVariables(), {{"A-B", "x"}, {"MY_PATH", "C:\\a;$OSA;C:\\a"}});
    for (const bool addLibraries : {true, false}) {
        site.startLog();
        EXPECT_THROW(launcher.launchApplication(config, nullptr, native(program), {"-a", "\"x", "y\"", "b"},
                                                addLibraries),
                     Base::TaskError);
        const Lines lines = site.logLines();
        for (const std::string& line :
             Lines{"INVALID", "  PATH string = C:\\a;win64;C:\\a", "  win64",
                   "Starting application " + native(program), "  with arguments: -a \"x y\" b "}) {
            EXPECT_THAT(lines, Contains(line));
        }
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "  C:\\nx\\ugii"), addLibraries ? 1 : 0);
    }
}
