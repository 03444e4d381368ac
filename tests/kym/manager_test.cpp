#include <functional>
#include <stdexcept>
#include <utility>

#include <boost/algorithm/string/join.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/regex/pattern_except.hpp>

#include "base/Environment.h"
#include "base/FileManager.h"
#include "base/PropertyList.h"
#include "kym/ConfigurationManager.h"
#include "kym/SystemInfo.h"

#include "tests/support/SiteSupport.h"
#include "tests/support/SystemSupport.h"
#include "tests/support/TarSupport.h"

namespace {

namespace fs = boost::filesystem;
using Base::FileManager::native;
using Kym::Configuration;
using Kym::ConfigurationManager;
using Support::messageOf;

class Manager : public Support::SiteTest {
  protected:
    Manager() { Kym::SystemInformation().CadVersionDirectory = "nx4"; }

    void makeDepartment(const std::string& name, const std::string& description = "text",
                        const std::string& type = "Production") const {
        Configuration department(site.makeDirectory("departments/" + name), false);
        department.description = description;
        department.type = type;
        department.save();
    }

    void makeVersionFiles(const std::string& bytes) const {
        site.makeFile("kym/data/install/versionFiles.tar.gz", bytes);
    }

    static std::string namesOf(const ConfigurationManager& manager) {
        return boost::join(Support::cellsOf(manager, ""), "|");
    }
};

TEST_F(Manager, FindsTheDepartmentsAmongOtherEntries) {
    makeDepartment("b", "first");
    makeDepartment("Maß & Müller", "second", "Common");
    makeDepartment("a", "first", "Development");
    site.makeFile("departments/a file");
    site.makeDirectory("departments/empty");
    site.makeDirectory("departments/directory/.dirinfo.plist");
    std::string expected = "Maß & Müller|a|b";
    if (!Support::onWindows) {  // where modes close no directory, and links are for administrators
        for (const auto& [name, mode] : {std::pair("closed", 0444), std::pair("unlisted", 0111)}) {
            makeDepartment(name);
            fs::permissions(site.departments() / name, static_cast<fs::perms>(mode));
        }
        fs::create_directory_symlink(site.departments() / "a", site.departments() / "link");
        fs::create_directory_symlink("nowhere", site.departments() / "dangling");
        expected += "|link";
    }
    const Support::Unprivileged somebody;
    ConfigurationManager manager;
    EXPECT_EQ(namesOf(manager), expected);

    EXPECT_EQ(manager.configurationByName("A"), nullptr);
    EXPECT_EQ(manager.currentConfiguration(), nullptr);
    Base::Environment::setEnvVariable("KYM_DEPT_DIR", native(site.departments() / "b"));
    EXPECT_EQ(manager.currentConfiguration(), manager.configuration(2));
    EXPECT_FALSE(manager.usingFallbackConfigurations());
    Kym::SystemInformation().KymConfigFallbackDirectoryName = "depart";
    EXPECT_TRUE(manager.usingFallbackConfigurations()) << "any part of the path";
    const auto common = manager.commonConfigurations();
    EXPECT_EQ(std::distance(common.begin(), common.end()), 1);
    EXPECT_EQ(&*common.begin(), manager.configuration(0));
}

TEST_F(Manager, KeepsTheOrderOfManyDepartments) {
    std::vector<std::string> names;
    for (int number = 100; number < 180; ++number) {
        names.push_back(std::to_string(number));
        makeDepartment(names.back());
    }
    EXPECT_EQ(namesOf(ConfigurationManager()), boost::join(names, "|"));
    for (const char* damaged : {"170", "140"}) {  // the first one is told
        site.makeFile("departments/" + std::string(damaged) + "/.dirinfo.plist", "damaged");
        EXPECT_NE(messageOf([] { ConfigurationManager(); }).find(damaged), std::string::npos);
    }
}

TEST_F(Manager, ReportsMisuseBeforeItFails) {
    ConfigurationManager manager;
    site.startLog("base.assert");
    EXPECT_EQ(manager.configurationByName(""), nullptr);
    EXPECT_EQ(manager.configurationByPath(""), nullptr);
    EXPECT_THROW(manager.renameConfiguration(-1, "x"), std::out_of_range);
    EXPECT_THROW(manager.deleteConfiguration(0), std::out_of_range);
    const std::string lines = boost::join(site.logLines(), "");
    for (const char* message : {"Configuration name is empty", "Configuration path is empty",
                                "index = -1: configuration index is out of range",
                                "index = 0: configuration index is out of range"}) {
        EXPECT_NE(lines.find(message), std::string::npos) << message;
    }
}

TEST_F(Manager, ListsUpdatedDepartmentsByWholeType) {
    makeDepartment("d1", "zebra");
    makeDepartment("d2", "Ant", "Test");
    makeDepartment("d3", "ant");
    makeDepartment("old", "ant");
    for (const char* name : {"d1", "d2", "d3"}) {
        site.makeDirectory(std::string("departments/") + name + "/nx4/config");
    }
    ConfigurationManager manager;
    for (const auto& [pattern, expected] :
         {std::pair(".*", "d2 d3 d1 "), {"Prod", ""}, {"Production", "d3 d1 "}}) {
        std::string names;
        for (const Configuration& configuration : manager.configurationList(pattern)) {
            names += configuration.name() + ' ';
        }
        EXPECT_EQ(names, expected) << pattern;
    }
    EXPECT_THROW(manager.configurationList("("), boost::regex_error);

    EXPECT_FALSE(manager.anyNeedsSaving());
    manager.configurationByName("d3")->settings()->workDirectories()->insertRow(0);
    EXPECT_TRUE(manager.anyNeedsSaving());
    manager.saveDirty();
    EXPECT_FALSE(manager.anyNeedsSaving());
    EXPECT_EQ(ConfigurationManager().configurationByName("d3")->settings()->workDirectoryList().size(), 1u);
}

TEST_F(Manager, EndsTheScanAtADamagedDepartmentOrWithoutADirectory) {
    makeDepartment("good");
    site.makeFile("departments/torn/.dirinfo.plist", "<plist><dict>");
    EXPECT_THROW(ConfigurationManager(), Base::PropertyListError);
    fs::remove_all(site.departments());
    EXPECT_EQ(messageOf([] { ConfigurationManager(); }), "KYM_UGSITE_DIR is invalid.");
}

TEST_F(Manager, CreatesADepartmentPreparedForTheRelease) {
    makeVersionFiles(Support::tarGz({{"lib/", "", 0755}, {"lib/nx.bat", "x"}}));
    makeDepartment("zebra");
    ConfigurationManager manager;
    const fs::path directory = site.departments() / "change_me";
    manager.createConfiguration();
    EXPECT_TRUE(manager.configuration(1)->isUpdated());
    EXPECT_FALSE(manager.configuration(1)->needsSaving());
    EXPECT_EQ(namesOf(ConfigurationManager()), "change_me|zebra");
    EXPECT_TRUE(Support::onWindows || (fs::status(directory).permissions() & 0777) == 0775);

    EXPECT_EQ(messageOf([&] { manager.createConfiguration(); }),
              "Directory " + native(directory) + " already exists.");
    EXPECT_EQ(namesOf(manager), "zebra|change_me");
    EXPECT_EQ(Support::contentOf(directory / "nx4/lib/nx.bat"), "x");
}

TEST_F(Manager, LeavesNothingOfADepartmentThatCannotBeCreated) {
    const std::string whole = Support::tarGz({{"closed/", "", 0555}, {"noise", Support::noise(100'000)}});
    makeVersionFiles(whole.substr(0, whole.size() / 2));
    ConfigurationManager manager;
    EXPECT_NE(messageOf([&] { manager.createConfiguration(); }).find("truncated"), std::string::npos);
    EXPECT_TRUE(fs::is_empty(site.departments()));
    EXPECT_EQ(manager.numberOfRowsInList(), 0);
}

TEST_F(Manager, PreparesADepartmentWhollyOrNotAtAll) {
    makeVersionFiles(Support::tarGz({{"menus/", "", 0755}}));
    makeDepartment("a");
    ConfigurationManager manager;
    const auto prepare = [&manager] { manager.prepareConfiguration(0); };
    EXPECT_NE(messageOf(prepare).find("version files hold no directory \"lib\""), std::string::npos);
    EXPECT_FALSE(manager.configuration(0)->isUpdated());
    site.makeDirectory("departments/a/nx4/config");
    EXPECT_NE(messageOf(prepare).find("it was not unpacked whole"), std::string::npos);
    EXPECT_TRUE(exists(site.departments() / "a/nx4/config")) << "it was there before";
    site.makeDirectory("departments/a/nx4/lib");
    prepare();
    EXPECT_TRUE(manager.configuration(0)->isWin64Updated());
}

TEST_F(Manager, RenamesADepartmentToAFreeNameThatWindowsCanHave) {
    makeDepartment("a");
    makeDepartment("b");
    site.makeDirectory("departments/empty");
    site.makeFile("departments/file");
    site.makeDirectory("departments/b/nx4/config");
    ConfigurationManager manager;
    const auto refused = [&](const std::string& name) {
        const std::string message = messageOf([&] { manager.renameConfiguration(1, name); });
        EXPECT_EQ(namesOf(manager), "a|b") << name;
        EXPECT_TRUE(exists(site.departments() / "b/.dirinfo.plist")) << name;
        return message;
    };
    for (const char* name : {"empty", "file", "a"}) {
        EXPECT_EQ(refused(name), "Directory " + native(site.departments() / name) + " already exists.");
    }
    const std::string longest = "x" + boost::join(std::vector<std::string>(127, "ü"), "");  // 255 bytes
    for (const char* name : {"", "..", "x ", "../x", "x\\y", "x:\n", "what?", "nul", "Com1", "con.txt",
                             "aux .x", "lpt\xC2\xB2"}) {
        EXPECT_NE(refused(name).find("cannot be the name of a department"), std::string::npos) << name;
    }
    for (const auto& [name, shown] :
         {std::pair<std::string, std::string>("caf\xE9", "caf\\xE9"), {longest + 'y', "ü..."}}) {
        EXPECT_NE(refused(name).find(shown + "\" cannot be the name of a department"), std::string::npos);
    }
    {
        const Support::Held held(site.departments() / "b");
        const Support::Unprivileged somebody;
        EXPECT_NE(refused("held").find("Cannot rename"), std::string::npos);
    }
    for (const auto& name : std::vector<std::string>{"b", "B", "com10", longest, "Maß Müller", ".x", "lpt"}) {
        manager.renameConfiguration(1, name);
        Configuration& renamed = *manager.configuration(1);
        EXPECT_EQ(renamed.path(), site.departments() / name);
        if (name != "B" || !Support::onWindows) {  // whose emulator leaves letter case as it is
            EXPECT_NE(ConfigurationManager().configurationByName(name), nullptr) << name;
        }
        renamed.settings()->setNeedsSaving(true);
        renamed.save();
        EXPECT_TRUE(exists(site.departments() / name / "nx4/config/configSettings.dat")) << name;
    }
    fs::remove_all(site.departments() / "lpt");
    EXPECT_THROW(manager.renameConfiguration(1, "d"), fs::filesystem_error);
    EXPECT_EQ(namesOf(manager), "a|lpt");
}

TEST_F(Manager, RenamesThroughTheTableWithoutThrowing) {
    makeDepartment("a");
    makeDepartment("b");
    ConfigurationManager manager;
    const auto rename = [&manager](const std::string& name) {
        return manager.setValueForListColumnRow("any", 0, name);
    };
    const std::string noBlanks = "configuration names must not contain spaces.";
    const std::string taken = "Directory " + native(site.departments() / "b") + " already exists.";
    site.startLog("kym.info");
    for (const auto& [name, reason] :
         {std::pair("my department", noBlanks), {"x\t", noBlanks}, {"b", taken}}) {
        EXPECT_FALSE(rename(name));
        EXPECT_EQ(site.logLines().back(), "ERROR: " + reason);
    }
    EXPECT_FALSE(manager.setValueForListColumnRow("Name", 2, std::string("x")));
    EXPECT_EQ(namesOf(manager), "a|b");
    EXPECT_TRUE(rename("à\u00a0ü")) << "a blank that does not break is none of the six";
    EXPECT_TRUE(exists(site.departments() / "à\u00a0ü/.dirinfo.plist"));
    manager.insertRow(0);
    manager.deleteRows({0, 1});
    EXPECT_EQ(manager.numberOfRowsInList(), 2) << "the table adds and removes no departments";
}

TEST_F(Manager, DeletesADepartmentWhollyOrKeepsItADepartment) {
    for (const std::string name : {"a", "b", "c"}) {
        makeDepartment(name);
        site.makeFile("departments/" + name + "/nx3/held/file", "x");
    }
    for (const char* directory : {"", "b", "b/nx3", "b/nx3/held"}) {
        Base::FileManager::setPermissions(site.departments() / directory, 0777);
    }
    ConfigurationManager manager;
    manager.configuration(1)->description = "kept";
    const fs::path file = site.departments() / "b/nx3/held/file";
    const fs::path properties = manager.configuration(1)->propertyFile();
    const std::string before = Support::contentOf(properties);
    fs::last_write_time(properties, 1'000'000'000);
    for (const fs::path& stays : {file, site.departments() / "b"}) {
        const Support::Held held(stays);
        const Support::Unprivileged somebody;
        const std::string message = messageOf([&] { manager.deleteConfiguration(1); });
        EXPECT_NE(message.find("Cannot remove everything"), std::string::npos) << message;
        EXPECT_EQ(message.find(native("nx3/held/file")) != std::string::npos, stays == file) << message;
        EXPECT_EQ(namesOf(manager), "a|b|c");
        EXPECT_EQ(namesOf(ConfigurationManager()), "a|b|c") << "it can be deleted again";
        EXPECT_EQ(Support::contentOf(properties), before) << "what was not saved stays unsaved";
        EXPECT_NE(fs::last_write_time(properties), 1'000'000'000) << "it goes first, and comes back";
    }
    manager.deleteConfiguration(1);
    EXPECT_EQ(namesOf(manager), "a|c");
    EXPECT_FALSE(exists(site.departments() / "b"));
    if (!Support::onWindows) {  // links are for administrators there
        fs::rename(site.departments() / "c", site.root() / "elsewhere");
        fs::create_directory_symlink(site.root() / "elsewhere", site.departments() / "c");
        manager.deleteConfiguration(1);
        EXPECT_FALSE(exists(symlink_status(site.departments() / "c")));
        EXPECT_TRUE(exists(site.root() / "elsewhere/nx3/held/file"));
    }
}

}  // namespace
