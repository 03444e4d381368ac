#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <tuple>
#include <utility>

#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>

#include "base/Archiver.h"
#include "base/Environment.h"
#include "base/FileManager.h"
#include "base/platform/UserFolders.h"
#include "kym/ArchiveMembers.h"
#include "kym/BaseSettings.h"
#include "kym/Configuration.h"
#include "kym/PluginsManager.h"
#include "kym/SiteSettings.h"
#include "kym/SystemInfo.h"

#include "tests/support/SiteSupport.h"
#include "tests/support/SystemSupport.h"

using namespace Kym;
using Base::Environment::setEnvVariable;
using Base::FileManager::native;
using Base::FileManager::readFile;
using Support::messageOf;
using Texts = std::vector<std::string>;
using Edits = std::vector<std::function<void()>>;
namespace fs = boost::filesystem;

namespace {

void addVariable(EnvVariableListSource* source, const std::string& name, const std::string& value) {
    Support::addRow(*source, {{"Name", name}, {"Value", value}});
}

std::string text(const std::vector<EnvironmentVariable>& variables) {
    std::string all;
    for (const EnvironmentVariable& variable : variables) {
        all += variable.name + "=" + variable.value + "\n";
    }
    return all;
}

/// What a layer holds: its variables for all systems, for Unix and for Windows, then its applications.
std::string state(SettingsProtocol& layer, const std::vector<ConfigApplication>& applications = {}) {
    std::string all;
    for (EnvVariableListSource* list :
         {layer.commonVariables(), layer.unixVariables(), layer.winVariables()}) {
        all += boost::join(Support::cellsOf(*list, "Name"), " ") + "=" +
               boost::join(Support::cellsOf(*list, "Value"), " ") + "|";
    }
    for (const ConfigApplication& application : applications) {
        all += application.mConfigurationName + ":" + application.applicationId;
    }
    return all;
}

Edits variableEdits(SettingsProtocol& layer) {
    return {[&] { addVariable(layer.commonVariables(), "C", "c"); },
            [&] { addVariable(layer.unixVariables(), "U", "u"); },
            [&] { addVariable(layer.winVariables(), "W", "w"); }};
}

template <typename Layer>
Edits edits(Layer& layer) {
    Edits all = variableEdits(layer);
    all.push_back([&] { Support::addRow(*layer.applications(), {{"AppID", "nx"}}); });
    all.push_back([&] { addVariable(layer.applications()->unixVariables(0), "A", "a"); });
    return all;
}

class Stores : public Support::SiteTest {
  protected:
    /// Every edit has the store written, but not forgotten when the file cannot be written.
    template <typename Store>
    void checkSaving(Store& store, const fs::path& file, const Edits& all) {
        EXPECT_FALSE(store.needsSaving());
        store.save();
        EXPECT_FALSE(fs::exists(file)) << "nothing was edited";
        for (std::size_t edit = 0; edit < all.size(); ++edit) {
            SCOPED_TRACE(native(file) + ", edit " + std::to_string(edit));
            all[edit]();
            EXPECT_TRUE(store.needsSaving());
            site.block(file);
            EXPECT_THROW(store.save(), fs::filesystem_error);
            EXPECT_TRUE(store.needsSaving());
            fs::remove(file);
            store.save();
            EXPECT_FALSE(store.needsSaving());
        }
    }

    /// A damaged file changes nothing, not even what stands before the damage.
    template <typename Store>
    void checkFailingLoad(Store& store, const fs::path& file) {
        std::vector<EnvironmentVariable> others{{"OTHER", "o"}};
        Base::Archiver archiver(file);
        archiver.encode("Plugin Type", std::string("other"));
        encodeMember(archiver, "Common Variables", others);
        archiver.encode("Application List", true);
        archiver.finishEncoding();
        const std::string before = state(store, store.applicationList());
        EXPECT_THROW(store.load(), Base::ArchiveError);
        EXPECT_EQ(state(store, store.applicationList()), before);
        EXPECT_FALSE(store.needsSaving());
    }
};

using SystemStore = Stores;
using SiteStore = Stores;

}  // namespace

class DepartmentsDiscovery : public testing::TestWithParam<Texts> {
  protected:
    std::string whole(const std::string& pattern) const {
        return native(boost::replace_all_copy(pattern, "@", site.root().string()));
    }

    Support::Site site;
};

// KYM_BASE_DIR, KYM_UGSITE_DIR, what exists below the root besides "departments" and "kym", and what is found
// (empty: nothing). "@" stands for the root.
TEST_P(DepartmentsDiscovery, TakesTheFirstDirectory) {
    const Texts& given = GetParam();
    site.makeDirectory(given[2]);
    site.makeFile("file");
    setEnvVariable("KYM_TEST_ROOT", native(site.root()));
    setEnvVariable("KYM_BASE_DIR", whole(given[0]));
    setEnvVariable("KYM_UGSITE_DIR", whole(given[1]));
    const SystemInfo& system = SystemInformation();
    site.startLog();
    for (const char* later : {"unused", "ugsite"}) {
        if (given[3].empty()) {
            EXPECT_EQ(messageOf([&] { system.localDepartmentsPath(); }),
                      "Problem determining where local department directory is located.\n"
                      "Usually defined by KYM_UGSITE_DIR environment variable.");
        } else {
            EXPECT_EQ(system.localDepartmentsPath(), whole(given[3]));
        }
        setEnvVariable("KYM_UGSITE_DIR", native(site.makeDirectory(later)));
    }
    EXPECT_EQ(site.logLines().at(0),
              given[1].empty() ? whole("Checking for ugsite as sibling of @/kym")
                               : "Checking if variable" + whole(given[1]) + " can is a valid ugsite");
}

INSTANTIATE_TEST_SUITE_P(
    SystemStore, DepartmentsDiscovery,
    testing::Values(Texts{"${KYM_TEST_ROOT}/kym", "${KYM_TEST_ROOT}/departments", "ugsite", "@/departments"},
                    Texts{"@/kym", "@/file", "ugsite", "@/ugsite"},
                    Texts{"@/kym//", "${KYM_UGSITE_DIR}", "ugsite", "@/ugsite"},
                    Texts{"@/kym", "", "kym/fb_ugsite", "@/kym/fb_ugsite"}, Texts{"@/kym", "", "kym", ""}),
    [](const auto& suite) { return std::to_string(suite.index); });

TEST_F(SystemStore, ReadsTheVariableOfTheInstallationOnce) {
    setEnvVariable("KYM_BASE_DIR", "");
    EXPECT_EQ(messageOf([] { SystemInformation(); }), "KYM_BASE_DIR is not set.");
    setEnvVariable("KYM_BASE_DIR", site.installation().string());
    EXPECT_EQ(messageOf([] { BaseInformation(); }), "KYM_BASE_DIR is not set.");
}

TEST_F(SystemStore, IsMadeWhenTheInstallationIsADirectory) {
    const fs::path place = site.makeFile("${file");
    setEnvVariable("KYM_BASE_DIR", place.string());
    EXPECT_EQ(messageOf([] { SystemInformation(); }),
              "KYM_BASE_DIR is set to a invalid directory:\n  " + native(place));
    fs::remove(place);
    fs::create_directory(place);
    EXPECT_EQ(SystemInformation().installPath(), place);
}

TEST_F(SystemStore, MakesTheApplicationDataDirectory) {
    setEnvVariable("XDG_CONFIG_HOME", site.root().string());  // where the system asks the environment
    SystemInfo& system = SystemInformation();
    system.KymApplicationDataDirectoryName = fs::unique_path("kym-test-%%%%-%%%%-%%%%").string();
    const fs::path wanted = *Base::Platform::applicationDataFolder() / system.KymApplicationDataDirectoryName;
    Base::FileManager::replaceFile(wanted, "");
    EXPECT_EQ(messageOf([&] { system.applicationDataPath(); }),
              "The path " + native(wanted) + " is not a directory.\n");
    fs::remove(wanted);
    EXPECT_EQ(system.applicationDataPath(), wanted);
    EXPECT_TRUE(fs::is_directory(wanted));
    EXPECT_TRUE(Support::onWindows || fs::status(wanted).permissions() == 0775);
    system.KymApplicationDataDirectoryName = "other";
    EXPECT_EQ(SystemInfo(system).applicationDataPath(), wanted);
    fs::remove(wanted);
}

TEST_F(SystemStore, SurvivesAFileThatCannotBeUnderstoodOrRead) {
    const fs::path file = site.installation() / "config" / "sysinfo.dat";
    {
        Base::Archiver archiver(file);
        archiver.encode("KymConfigPathEnvVarName", std::string("KYM_TEST_SITE"));
        archiver.encode("BroadcastDirectoryName", 5);
        archiver.encode("CadVersionDataFilename", std::string("lost"));
        archiver.finishEncoding();
    }
    SystemInfo& system = SystemInformation();
    EXPECT_EQ(
        (Texts{system.KymConfigPathEnvVarName, system.BroadcastDirectoryName, system.CadVersionDataFilename}),
        (Texts{"KYM_TEST_SITE", "broadcast", "versionFiles.tar.gz"}));
    fs::remove(file);
    system.tcEngDatabaseVariable = "MY_DATA";
    checkSaving(system, file, {[&] { system.settingsChanged(); }});
    EXPECT_EQ(SystemInfo().tcEngDatabaseVariable, "MY_DATA");
    const std::string whole = readFile(file);
    {
        const Support::Unreadable held(file);
        EXPECT_EQ(SystemInfo().tcEngDatabaseVariable, "TC_DATA");
    }
    system.settingsChanged();
    system.save();
    EXPECT_EQ(readFile(file.string() + ".damaged"), whole);
    setEnvVariable("KYM_TEST_SITE", site.root().string());
    SiteInformation().settingsChanged();
    SiteInformation().save();
    EXPECT_TRUE(fs::exists(site.root() / "site_settingsNx4.dat")) << "under the name that was read";
}

TEST_F(Stores, AreWrittenWhenEditedAndReadBackWholly) {
    const fs::path baseFile = site.installation() / "config" / "baseSettings.dat";
    BaseSettings& base = BaseInformation();
    checkSaving(base, baseFile, edits(base));
    BaseSettings baseRead;
    EXPECT_EQ(state(baseRead, baseRead.applicationList()), "C=c|U=u|W=w|Base KYM:nx");
    EXPECT_EQ(baseRead.applications()->unixVariables(0)->numberOfRowsInList(), 1);
    checkFailingLoad(baseRead, baseFile);
    std::vector<EnvironmentVariable> variables;
    baseRead.mergeEnvVariables(variables);
    EXPECT_EQ(text(variables), "C=c\nW=w\n");

    const fs::path directory = site.makeDirectory("cam");
    PluginSettings plugin(directory);
    plugin.pluginType = "Test";
    checkSaving(plugin, directory / "settings.dat", edits(plugin));
    PluginSettings pluginRead(directory);
    EXPECT_EQ(state(pluginRead, pluginRead.applicationList()), "C=c|U=u|W=w|cam Plugin:nx");
    checkFailingLoad(pluginRead, directory / "settings.dat");
    EXPECT_EQ(pluginRead.pluginType, "Test");

    const fs::path file = site.makeDirectory("nx4") / "configSettings.dat";
    site.makeDirectory("kym/plugins/cam");
    ConfigurationSettings settings;
    settings.setDataFile(file);
    settings.load();
    Edits all = edits(settings);
    all.push_back([&] { settings.setNeedsSaving(true); });
    all.push_back([&] { settings.setOverlay(settings.getOverlay("base", "nx")); });
    all.push_back([&] { Support::addRow(*settings.workDirectories(), {{"Path", "p"}}); });
    all.push_back([&] { settings.disablePlugins()->setValueForListColumnRow("", 0, std::string("true")); });
    checkSaving(settings, file, all);
    ConfigurationSettings copy;
    copy.setDataFile(file);
    copy.load();
    EXPECT_FALSE(copy.needsSaving());
    EXPECT_EQ(state(copy, copy.applicationList("x")), "C=c|U=u|W=w|x:nx");
}

TEST_F(SiteStore, WritesItsFileWhenChangedAndReadsItBack) {
    const fs::path file = SystemInformation().localDepartmentsPath() / "site_settingsNx4.dat";
    SiteSettings& settings = SiteInformation();
    settings.unixExternalPluginsLocation = "/plugins";
    Edits all = variableEdits(settings);
    all.push_back([&] { settings.settingsChanged(); });
    checkSaving(settings, file, all);
    SiteSettings again;
    EXPECT_EQ(state(again) + again.unixExternalPluginsLocation, "C=c|U=u|W=w|/plugins");
}

TEST_F(SiteStore, LoadsWhatItsFileHoldsOrNothing) {
    SiteSettings& settings = SiteInformation();
    const auto load = [&](const std::vector<EnvironmentVariable>& list, const std::string& path,
                          bool damage) {
        auto variables = list;
        EnvironmentVariable installation("other name", path);
        Base::Archiver archiver(site.departments() / "site_settingsNx4.dat");
        encodeMember(archiver, "Common Environment Variables Key", variables);
        encodeMember(archiver, "Windows NX Install Path Key", installation);
        archiver.encode("Use Windows Registry Key", damage);
        if (damage) {
            archiver.encode("Windows External Plugins Location Key", 5);
        }
        archiver.finishEncoding();
        settings.load();
    };
    addVariable(settings.winVariables(), "W", "w");
    load({{"A", "1"}, {"B", "2"}}, "C:\\nx", false);
    EXPECT_EQ(state(settings), "A B=1 2|=|W=w|") << "the file lacks the last list";
    EXPECT_THROW(load({{"N", "n"}}, "new", true), Base::ArchiveError);
    EXPECT_EQ(state(settings), "A B=1 2|=|W=w|");
    EXPECT_EQ(text({settings.winNxInstallPath}), "UGII_BASE_DIR=C:\\nx\n");
    EXPECT_FALSE(settings.useWindowsRegistry);
}

TEST_F(SiteStore, MergesWhatItDerivesBeforeItsLists) {
    struct Case {
        Texts installations;  // of the CAD system, Teamcenter, the portal and the plotter
        std::vector<EnvironmentVariable> before;
        std::string after;
    };
    const Case cases[] = {
        {{"C:\\nx", "T:\\tc", "P:\\portal", "S:\\plot"},
         {},
         "UGII_BASE_DIR=C:\\nx\nUGII_ROOT_DIR=C:\\nx\\ugii\\\nTC_ROOT=T:\\tc\nTC_PORTAL_ROOT=P:\\portal\n"
         "SDI_SERVER_CFG_BASE=S:\\plot\nUGII_HTML_BROWSER=@\nUGII_SDI_SERVER_CFG_DIR=S:\\plot/win\n"
         "UGII_UGDOC_BASE_DIR=${UGII_BASE_DIR}/ugdoc\n"},
        {{"$UGII_BASE_DIR\\", "", "", ""},
         {{"UGII_ROOT_DIR", "r"}, {"UGII_BASE_DIR", "b"}, {"UGII_HTML_BROWSER", "first"}},
         "UGII_ROOT_DIR=$UGII_BASE_DIR\\\\ugii\\\nUGII_BASE_DIR=$UGII_BASE_DIR\\\n"
         "UGII_HTML_BROWSER=first\nUGII_HTML_BROWSER=@\nUGII_UGDOC_BASE_DIR=${UGII_BASE_DIR}/ugdoc\n"},
        {Texts(4),
         {{"TC_ROOT", "kept"}, {"UGII_UGDOC_BASE_DIR", ""}},
         "TC_ROOT=kept\nUGII_UGDOC_BASE_DIR=\nUGII_HTML_BROWSER=@\n"}};

    setEnvVariable("PROGRAMFILES", "Q:\\no such programs");
    const std::string browser = "Q:\\no such programs\\Internet Explorer\\iexplore.exe";
    SiteSettings& settings = SiteInformation();
    settings.useWindowsRegistry = false;
    settings.browser.value = settings.unixNxInstallPath.value = "never merged";
    addVariable(settings.unixVariables(), "UNIX", "never merged");
    for (const Case& c : cases) {
        settings.winNxInstallPath.value = c.installations[0];
        settings.winTcEngInstallPath.value = c.installations[1];
        settings.winPortalInstallPath.value = c.installations[2];
        settings.winPlotConfBase.value = c.installations[3];
        std::vector<EnvironmentVariable> variables = c.before;
        settings.mergeEnvVariables(variables);
        EXPECT_EQ(text(variables), boost::replace_all_copy(c.after, "@", browser));
    }
}

TEST_F(SiteStore, AsksTheSystemForTheInstallPathAndTheBrowser) {
    const std::string key = SystemInformation().CadWindowsRegistryPath =
        "SOFTWARE\\" + fs::unique_path("KymTest%%%%%%%%").string() + "\\NX";
    const auto registry = [](const std::string& verb, const std::string& rest) {
        const std::string command = "reg " + verb + " \"HKLM\\" + rest;
        ASSERT_EQ(Support::onWindows ? std::system(command.c_str()) : 0, 0);
    };
    const SiteSettings& settings = SiteInformation();
    const std::pair<std::string, std::string> installations[] = {
        {"D:\\nx 4", "UGII_BASE_DIR=D:\\nx 4\nUGII_ROOT_DIR=D:\\nx 4\\ugii\\\n"},
        {"D:\\nx\\\\\\\\", "UGII_BASE_DIR=D:\\nx\\\nUGII_ROOT_DIR=D:\\nx\\\\ugii\\\n"}};
    for (const auto& [value, expected] : installations) {
        registry("add", key + "\" /v UGII_BASE_DIR /f /d \"" + value + '"');
        std::vector<EnvironmentVariable> variables;
        settings.mergeEnvVariables(variables);
        EXPECT_TRUE(text(variables).starts_with(Support::onWindows ? expected : "UGII_HTML_BROWSER="))
            << text(variables);
    }
    registry("delete", key.substr(0, key.rfind('\\')) + "\" /f");

    const fs::path browser = site.makeFile("Program Files\\Internet Explorer\\iexplore.exe");
    setEnvVariable("PROGRAMFILES", (site.root() / "Program Files").string());
    EXPECT_TRUE(fs::equivalent(settings.getWebBrowser(), browser)) << settings.getWebBrowser();
    EXPECT_EQ(settings.getWebBrowser().find(' ') == std::string::npos, Support::onWindows);
    setEnvVariable("PROGRAMFILES", "${");
    EXPECT_EQ(settings.getWebBrowser(), "${PROGRAMFILES}\\Internet Explorer\\iexplore.exe");
}

TEST_F(SiteStore, RegistersEveryEntryOfTheExternalPluginsInNameOrder) {
    const std::string external = (site.root() / "external").string();
    const auto locate = [&](const std::string& location) {
        Base::Archiver archiver(site.departments() / "site_settingsNx4.dat");
        archiver.encode("Windows External Plugins Location Key", location);
        archiver.finishEncoding();
    };
    for (const char* name : {"b", "B2", "é"}) {
        site.makeDirectory(fs::path("external") / name);
    }
    site.makeFile("external/c.txt");
    site.makeDirectory("kym/plugins/internal");
    const fs::path damaged = site.makeFile("external/b/settings.dat", "damaged");
    locate(external);
    EXPECT_THROW(SiteInformation(), Base::ArchiveError);
    EXPECT_EQ(PluginsManagement().numberOfPlugins(), 1) << "the external ones come all or none";
    fs::remove(damaged);
    SiteInformation();
    site.makeFile("external/b/settings.dat", "damaged");
    EXPECT_THROW(SiteSettings(), Base::ArchiveError);
    EXPECT_EQ(PluginsManagement().numberOfPlugins(), 5) << "those of the first reading stay";
    for (const std::string& location : {external + std::string(1, '\0'), std::string("\xff\xfe")}) {
        locate(location);
        EXPECT_NO_THROW(SiteSettings()) << "there is no such directory";
    }
    locate(external + "/c.txt");
    EXPECT_NE(Support::messageOf([] { SiteSettings(); }).find("c.txt, which "), std::string::npos);
    EXPECT_EQ(Support::cellsOf(PluginsManagement(), ""), (Texts{"internal", "B2", "b", "c.txt", "é"}));
}

namespace {

class Plugins : public Support::SiteTest {
  protected:
    /// A plugin that sets TRAIL to what it was before and its own name, and has one application.
    void makePlugin(const std::string& directory, const std::string& type = "Site-wide") {
        PluginSettings plugin(site.makeDirectory(directory));
        plugin.pluginType = type;
        addVariable(plugin.commonVariables(), "TRAIL", "${TRAIL}/" + plugin.name());
        Support::addRow(*plugin.applications(), {{"AppID", plugin.name()}});
        plugin.save();
    }

    static std::string trail(const Configuration& department) {
        std::vector<EnvironmentVariable> variables;
        PluginsManagement().mergeEnvVariables(&department, variables);
        return variables.empty() ? "" : variables.at(0).value;
    }
};

TEST_F(Plugins, StandInOneOrderAndExternalOnesCanBeEditedAlone) {
    makePlugin("kym/plugins/b");
    makePlugin("kym/plugins/C");
    site.makeFile("kym/plugins/a file");
    auto& plugins = PluginsManagement();
    EXPECT_EQ(Support::cellsOf(plugins, "Name"), (Texts{"C", "a file", "b"}));

    const auto external = site.makeDirectory("external/x");
    plugins.addPlugin(external);
    EXPECT_EQ(plugins.plugin(3, true)->name(), "x") << "the whole list is edited";
    plugins.editExternalPluginsOnly();
    EXPECT_EQ(Support::cellsOf(plugins, "Name"), Texts{"x"});
    EXPECT_EQ(plugins.plugin(0, true)->name(), "x");
    EXPECT_EQ(plugins.plugin(0, false)->name(), "C");
    EXPECT_TRUE(plugins.isInternalPlugin(*plugins.plugin(2, false)));
    EXPECT_FALSE(plugins.isInternalPlugin(*plugins.plugin(3, false)));

    site.startLog("base.assert");
    EXPECT_THROW(plugins.plugin(1, true), std::out_of_range);
    EXPECT_TRUE(site.logLines().empty()) << "the check comes before the offset";
    EXPECT_THROW(plugins.plugin(-1, true), std::out_of_range);
    EXPECT_NE(site.logLines().at(0).find("index = -1: plugin index is out of range"), std::string::npos);
    EXPECT_THROW(plugins.valueForListColumnRow("Name", -1), std::out_of_range);

    plugins.plugin(0, true)->setNeedsSaving(true);
    EXPECT_TRUE(plugins.anyNeedsSaving());
    plugins.saveSettings();
    EXPECT_TRUE(exists(external / "settings.dat"));
    plugins.removePlugin(external);
    EXPECT_EQ(plugins.numberOfPlugins(), 3);
    EXPECT_EQ(plugins.numberOfRowsInList(), 0);
}

TEST_F(Plugins, ApplyByTypeUnlessTheDepartmentDisablesThem) {
    makePlugin("kym/plugins/all");
    makePlugin("kym/plugins/cam", "Development");
    makePlugin("kym/plugins/lower", "site-wide");
    makePlugin("external/late", "Development");
    PluginsManagement().addPlugin(site.root() / "external/late");
    const std::array<const char*, 3> cases[] = {
        {"Development", "", "/all/cam/late"},    {"Production", "", "/all"},
        {"site-wide", "", "/all/lower"},         {"Development", "cam", "/all/late"},
        {"Development", "CAM", "/all/cam/late"}, {"Production", "all", ""}};
    for (const auto& [type, disabled, expected] : cases) {
        Configuration department(site.root() / "department", false);
        department.type = type;
        auto* source = department.settings()->disablePlugins();
        const Texts plugins = Support::cellsOf(*source, "Name");
        const auto row = std::find(plugins.begin(), plugins.end(), disabled) - plugins.begin();
        if (row != source->numberOfRowsInList()) {
            source->setValueForListColumnRow("", static_cast<int>(row), std::string("True"));
        }
        EXPECT_EQ(trail(department), expected) << type << ' ' << disabled;
        std::string applications;
        for (auto& application : PluginsManagement().applicationList(department)) {
            EXPECT_EQ(application.configurationName(), application.applicationId + " Plugin");
            applications += '/' + application.applicationId;
        }
        EXPECT_EQ(applications, expected);
    }
}

TEST_F(Plugins, AreDisabledAndEnabledThroughATable) {
    for (const char* name : {"a", "b", "c", "d"}) {
        site.makeDirectory(std::string("kym/plugins/") + name);
    }
    Texts disabled;
    DisablePluginSource source(&disabled);
    const std::tuple<int, const char*, Texts> cases[] = {{1, "false", {"a"}},
                                                         {2, "true", {"a", "b"}},
                                                         {3, "TRUE", {"a", "b", "c", "d"}},
                                                         {0, "yes", {}},
                                                         {3, "no", {"a", "b", "c"}}};
    for (const auto& [row, value, expected] : cases) {
        disabled = {"a", "b", "c"};
        source.setEdited(false);
        EXPECT_TRUE(source.setValueForListColumnRow("Name", row, std::string(value)));
        EXPECT_EQ(disabled, expected) << row << value;
        EXPECT_TRUE(source.isEdited());
    }
    EXPECT_EQ(Support::cellsOf(source, "Disable"), (Texts{"True", "True", "True", "False"}));

    EXPECT_THROW(source.setValueForListColumnRow("", 4, std::string("true")), std::out_of_range);
    PluginsManagement().addPlugin(site.makeDirectory("external/e"));
    EXPECT_EQ(Support::cellsOf(source, "Name"), (Texts{"a", "b", "c", "d"})) << "later plugins are not seen";
}

}  // namespace
