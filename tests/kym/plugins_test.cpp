#include <algorithm>
#include <array>
#include <stdexcept>
#include <tuple>

#include <boost/filesystem/operations.hpp>

#include "kym/Configuration.h"
#include "kym/PluginsManager.h"

#include "tests/support/SiteSupport.h"

namespace {

using Kym::PluginSettings;
using Support::cellsOf;
using Strings = std::vector<std::string>;

class Plugins : public Support::SiteTest {
  protected:
    /// A plugin that sets TRAIL to what it was before and its own name, and has one application.
    void makePlugin(const std::string& directory, const std::string& type = "Site-wide") {
        PluginSettings plugin(site.makeDirectory(directory));
        plugin.pluginType = type;
        Support::addRow(*plugin.commonVariables(),
                        {{"Name", "TRAIL"}, {"Value", "${TRAIL}/" + plugin.name()}});
        Support::addRow(*plugin.applications(), {{"AppID", plugin.name()}});
        plugin.save();
    }

    static std::string trail(const Kym::Configuration& department) {
        std::vector<Kym::EnvironmentVariable> variables;
        Kym::PluginsManagement().mergeEnvVariables(&department, variables);
        return variables.empty() ? "" : variables.at(0).value;
    }
};

TEST_F(Plugins, StandInOneOrderAndExternalOnesCanBeEditedAlone) {
    makePlugin("kym/plugins/b");
    makePlugin("kym/plugins/C");
    site.makeFile("kym/plugins/a file");
    auto& plugins = Kym::PluginsManagement();
    EXPECT_EQ(cellsOf(plugins, "Name"), (Strings{"C", "a file", "b"}));

    const auto external = site.makeDirectory("external/x");
    plugins.addPlugin(external);
    EXPECT_EQ(plugins.plugin(3, true)->name(), "x") << "the whole list is edited";
    plugins.editExternalPluginsOnly();
    EXPECT_EQ(cellsOf(plugins, "Name"), Strings{"x"});
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
    Kym::PluginsManagement().addPlugin(site.root() / "external/late");
    const std::array<const char*, 3> cases[] = {
        {"Development", "", "/all/cam/late"},    {"Production", "", "/all"},
        {"site-wide", "", "/all/lower"},         {"Development", "cam", "/all/late"},
        {"Development", "CAM", "/all/cam/late"}, {"Production", "all", ""}};
    for (const auto& [type, disabled, expected] : cases) {
        Kym::Configuration department(site.root() / "department", false);
        department.type = type;
        auto* source = department.settings()->disablePlugins();
        const Strings plugins = cellsOf(*source, "Name");
        const auto row = std::find(plugins.begin(), plugins.end(), disabled) - plugins.begin();
        if (row != source->numberOfRowsInList()) {
            source->setValueForListColumnRow("", static_cast<int>(row), std::string("True"));
        }
        EXPECT_EQ(trail(department), expected) << type << ' ' << disabled;
        std::string applications;
        for (auto& application : Kym::PluginsManagement().applicationList(department)) {
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
    Strings disabled;
    Kym::DisablePluginSource source(&disabled);
    const std::tuple<int, const char*, Strings> cases[] = {{1, "false", {"a"}},
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
    EXPECT_EQ(cellsOf(source, "Disable"), (Strings{"True", "True", "True", "False"}));

    EXPECT_THROW(source.setValueForListColumnRow("", 4, std::string("true")), std::out_of_range);
    Kym::PluginsManagement().addPlugin(site.makeDirectory("external/e"));
    EXPECT_EQ(cellsOf(source, "Name"), (Strings{"a", "b", "c", "d"})) << "later plugins are not seen";
}

}  // namespace
