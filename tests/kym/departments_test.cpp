#include <array>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>
#include <utility>

#include <boost/algorithm/string/join.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/regex/pattern_except.hpp>

#include "base/Archiver.h"
#include "base/Environment.h"
#include "base/FileManager.h"
#include "base/PropertyList.h"
#include "base/platform/FileSystem.h"
#include "kym/ConfigurationManager.h"
#include "kym/SystemInfo.h"

#include "tests/support/SiteSupport.h"
#include "tests/support/SystemSupport.h"
#include "tests/support/TarSupport.h"

namespace {

namespace fs = boost::filesystem;
using Base::FileManager::native;
using Base::FileManager::readFile;
using Kym::Configuration;
using Kym::ConfigurationManager;
using Kym::ConfigurationSettings;
using Support::messageOf;

class Departments : public Support::SiteTest {
  protected:
    Departments() {
        Kym::SystemInformation().CadVersionDirectory = "nx4";
        Kym::SystemInformation().PreviousCadVersionDirectory = "nx3";
    }

    /// A department that was saved.
    Configuration makeDepartment(const std::string& name, const std::string& description = "text",
                                 const std::string& type = "Production") const {
        Configuration department(site.makeDirectory("departments/" + name), false);
        department.description = description;
        department.type = type;
        department.save();
        return department;
    }

    void makeVersionFiles(const std::string& bytes) const {
        site.makeFile("kym/data/install/versionFiles.tar.gz", bytes);
    }
};

using Manager = Departments;

std::string namesOf(const ConfigurationManager& manager) {
    return boost::join(Support::cellsOf(manager, ""), "|");
}

TEST_F(Departments, ReadTheirPropertiesWhollyOrNotAtAll) {
    const std::string described = "<key>Description</key><string>new</string>";
    const std::string typed = "<key>Type</key><string>Test</string>";
    const std::pair<std::string, std::string> cases[] = {
        {described, "new Production 1 2"},
        {described + "<key>Cleanup Days Key</key><integer>9</integer><key>Unknown</key><array/>",
         "new Production 1 9"},
        {described + typed + "<key>Do File Cleanup Key</key><false/>", "new Test 0 2"},
        {typed, "\"Description\" is missing"},
        {typed + "<key>Description</key><integer>1</integer>", "\"Description\" is not a text"},
        {typed + described + "<key>Cleanup Days Key</key><integer>-1</integer>",
         "\"Cleanup Days Key\" is not an integer"},
        {typed + described + "<key>Do File Cleanup Key</key><integer>1</integer>",
         "\"Do File Cleanup Key\" is not true"}};
    for (const auto& [content, expected] : cases) {
        site.makeFile("departments/cam/.dirinfo.plist",
                      "<plist version=\"1.0\"><dict>" + content + "</dict></plist>");
        Configuration read(site.root() / "departments/cam", false);
        std::string refusal;
        try {
            read.load();
        } catch (const boost::bad_any_cast& error) {
            refusal = error.what();
        }
        const bool isRefused = expected.starts_with('"');
        const std::string reason = native(read.propertyFile()) + ": the property " + expected;
        EXPECT_EQ(refusal.starts_with(reason), isRefused) << refusal;
        EXPECT_EQ(read.description + ' ' + read.type + ' ' + std::to_string(read.doFileCleanup) + ' ' +
                      std::to_string(read.cleanupDays),
                  isRefused ? "None Production 1 2" : expected);
        read.save();
        EXPECT_EQ(fs::remove(read.propertyFile().string() + ".damaged"),
                  isRefused || content.find("Unknown") != content.npos);
    }
    Configuration department(site.root() / "departments/cam", false);
    site.makeFile("departments/cam/.dirinfo.plist", "<plist>");
    EXPECT_THROW(department.load(), Base::PropertyListError);
    fs::remove(department.path() / ".dirinfo.plist");
    EXPECT_THROW(department.load(), Kym::InvalidConfiguration);
    EXPECT_EQ(messageOf([&] { department.load(); }),
              "Directory " + native(department.path()) + " is not valid department.");
}

TEST_F(Departments, WriteTheirPropertiesAndNoSettingsBeforeTheyAreUpdated) {
    Configuration department(site.makeDirectory("departments") / "cam/", false);
    EXPECT_EQ(department.name(), "cam");
    department.description = "Fräsen & <mehr>";
    department.cleanupDays = 4294967295u;
    department.settings()->setNeedsSaving(true);
    EXPECT_ANY_THROW(department.save()) << "there is no directory yet";
    fs::create_directory(department.path());
    const fs::path shared = site.departments() / "Shared";
    for (const std::string common : {"", "my common", "Shared"}) {
        department.commonDepartment = common;
        EXPECT_EQ(department.commonConfigPath(), common == "Shared" ? shared : department.path());
        department.setNeedsSaving(true);
        department.save();
        const Configuration read(department.path(), true);
        EXPECT_EQ(read.commonDepartment, common == "Shared" ? common : "");
        EXPECT_EQ(read.description, department.description);
        EXPECT_EQ(read.cleanupDays, 4294967295u);
        EXPECT_FALSE(read.needsSaving());
    }
    EXPECT_FALSE(exists(department.versionPath()));
    EXPECT_TRUE(department.needsSaving()) << "the settings wait for the version directory";
    fs::create_directories(department.versionPath() / "config");
    department.save();
    EXPECT_TRUE(exists(department.versionPath() / "config/configSettings.dat"));
    EXPECT_FALSE(department.needsSaving());

    const std::string saved = readFile(department.propertyFile());
    fs::last_write_time(department.propertyFile(), 1);
    std::ofstream((department.versionPath() / "config/configSettings.dat").c_str()) << "of others";
    department.description = "edited";
    department.settings()->setNeedsSaving(true);
    department.setNeedsSaving(true);
    EXPECT_THROW(department.save(), Base::FileChanged);
    EXPECT_EQ(readFile(department.propertyFile()), saved);
    EXPECT_EQ(fs::last_write_time(department.propertyFile()), 1) << "nothing is written";
}

TEST_F(Departments, TakeWhatADamagedSettingsFileHoldsAndKeepACopyOfIt) {
    const auto file = site.makeDirectory("config") / "configSettings.dat";
    ConfigurationSettings settings;
    settings.setDataFile(file);
    settings.unixVariables()->insertRow(-1);
    settings.setOverlay(settings.getOverlay("base", "nx"));
    settings.save();
    std::vector<Kym::WorkDirectory> workDirectories(2);
    Base::Archiver archiver(file);
    archiver.encodeObject("Work Directory List", &workDirectories,
                          archiver.getCoder(typeid(workDirectories)));
    archiver.encode("Windows Variables", std::string("not a list"));
    archiver.finishEncoding();
    const std::string damaged = readFile(file);

    settings.load();
    EXPECT_EQ(settings.workDirectoryList().size(), 2u);
    EXPECT_EQ(settings.unixVariables()->numberOfRowsInList(), 1) << "the file lacks the list";
    EXPECT_TRUE(settings.hasOverlay("base", "nx")) << "it comes after the damage";
    EXPECT_FALSE(settings.needsSaving());
    settings.setNeedsSaving(true);
    settings.save();
    EXPECT_EQ(readFile(file.string() + ".damaged"), damaged);
    const std::string whole = readFile(file);
    EXPECT_NE(whole, damaged);
    {
        const Support::Unreadable held(file);
        EXPECT_NO_THROW(settings.load());
    }
    settings.setNeedsSaving(true);
    settings.save();
    EXPECT_EQ(readFile(file.string() + ".damaged.1"), whole) << "it could not be read";
}

TEST_F(Departments, KeepOneOverlayPerApplication) {
    ConfigurationSettings settings;
    settings.removeOverlay("base", "nx");
    EXPECT_FALSE(settings.needsSaving());
    for (const auto& [configuration, application, text] :
         {std::array{"base", "nx", "1"}, {"base", "NX", "2"}, {"Base", "nx", "3"}, {"base", "nx", "4"}}) {
        Kym::ApplicationOverlay overlay = settings.getOverlay(configuration, application);
        overlay.description = text;
        settings.setOverlay(overlay);
    }
    ASSERT_EQ(settings.overlays().size(), 3u);
    EXPECT_EQ(settings.overlays()[0].description, "4");
    settings.setNeedsSaving(false);
    settings.removeOverlay("base", "nx");
    EXPECT_TRUE(settings.needsSaving());
    EXPECT_EQ(settings.overlays().at(0).description, "2");
}

TEST_F(Departments, StartAReleaseWithItsFilesAndTheirOldSettings) {
    const Support::TarEntry script{"lib/öl.bat", std::string(100'000, 'x'), 0755};
    makeVersionFiles(Support::tarGz({{"lib/", "", 0755}, script}));
    Configuration department = makeDepartment("cäm");
    const auto config = site.makeDirectory("departments/cäm/nx3/config");
    ConfigurationSettings previous;
    previous.setDataFile(config / "configSettings.dat");
    previous.setOverlay(previous.getOverlay("base", "nx"));
    previous.save();
    Base::FileManager::setPermissions(config / "configSettings.dat", 0444);

    const fs::path before = fs::current_path();
    department.createNXVersionDirectory();
    EXPECT_EQ(fs::current_path(), before);
    const auto unpacked = department.versionPath() / script.name;
    EXPECT_EQ(readFile(unpacked), script.content);
    EXPECT_EQ(fs::last_write_time(unpacked), Support::tarEntryTime);
    EXPECT_TRUE(department.settings()->hasOverlay("base", "nx"));
    EXPECT_TRUE(Support::onWindows || fs::status(department.versionPath()).permissions() == 0775);
    EXPECT_TRUE(Configuration(department.path(), true).settings()->hasOverlay("base", "nx"));
    const auto permissions = fs::status(department.versionPath() / "config/configSettings.dat").permissions();
    EXPECT_NE(permissions & fs::owner_write, 0) << "those of the previous release are write-protected";

    EXPECT_EQ(messageOf([&] { department.createNXVersionDirectory(); }),
              "Directory " + native(department.versionPath()) + " already exists.");
    EXPECT_TRUE(exists(unpacked)) << "a version directory that was there is left alone";

    const std::string shipped = readFile(config / "configSettings.dat");
    makeVersionFiles(Support::tarGz({{"config/", "", 0755}, {"config/configSettings.dat", shipped}}));
    Configuration other = makeDepartment("other");
    Configuration earlier(other.path(), true);
    Configuration edited = earlier;
    edited.settings()->setNeedsSaving(true);
    edited.createNXVersionDirectory();
    EXPECT_FALSE(edited.settings()->hasOverlay("base", "nx"));
    earlier.settings()->setNeedsSaving(true);
    for (Configuration* unaware : {&edited, &earlier}) {
        EXPECT_THROW(unaware->save(), Base::FileChanged) << "it never read what the archive brought";
    }
    Base::FileManager::removeAll(other.versionPath());
    other.createNXVersionDirectory();
    other.settings()->setNeedsSaving(true);
    other.save();
    EXPECT_TRUE(Configuration(other.path(), true).settings()->hasOverlay("base", "nx"));
}

TEST_F(Departments, AreMadeInAPathOfAnyLength) {
    makeVersionFiles(Support::tarGz({{"lib/", "", 0755}, {"lib/sub/file", "content"}}));
    const fs::path parent = site.departments() / std::string(150, 'a') / std::string(120, 'b');
    fs::create_directories(Base::Platform::boundlessPath(parent));
    Configuration department(parent, false);
    department.save();
    department.createNXVersionDirectory();
    department.createWin64VersionDirectory();
    EXPECT_TRUE(Configuration(parent, true).isWin64Updated());
    for (const char* directory : {"lib/win64", "win64/application", "win64/startup"}) {
        EXPECT_TRUE(Base::FileManager::isDirectory(department.versionPath() / directory)) << directory;
    }
    EXPECT_EQ(readFile(department.versionPath() / "lib/sub/file"), "content");
    Base::FileManager::removeAll(site.departments() / std::string(150, 'a'));
}

TEST_F(Departments, UnpackEntriesWhereverTheirNamesLead) {
    const fs::path elsewhere = site.makeDirectory("elsewhere");
    const std::string whole = native(elsewhere);
    std::vector<std::pair<std::vector<Support::TarEntry>, fs::path>> cases = {
        {{{"lib/../../../far above", "x"}}, site.departments() / "far above"},
        {{{whole + "/whole", "x"}}, elsewhere / "whole"},
    };
    if (!Support::onWindows) {  // where links are for the few
        cases.push_back({{{"link", "", 0777, whole}, {"link/through", "x"}}, elsewhere / "through"});
    }
    for (const auto& [entries, outside] : cases) {
        makeVersionFiles(Support::tarGz(entries));
        Configuration department = makeDepartment("cam");
        Base::FileManager::replaceFile(outside, "was there before");
        department.createNXVersionDirectory();
        EXPECT_EQ(readFile(outside), "x");
        Base::FileManager::removeAll(department.path());
    }
}

TEST_F(Departments, LeaveNoHalfMadeVersionDirectory) {
    Configuration department = makeDepartment("cam");
    const auto archive = site.installation() / "data/install/versionFiles.tar.gz";
    EXPECT_EQ(messageOf([&] { department.createNXVersionDirectory(); }),
              "Data file " + native(archive) + " was not found.");
    const std::vector<Support::TarEntry> entries = {{"first", "content", 0444},
                                                    {"second", Support::noise(200'000)}};
    const std::string whole = Support::tarGz(entries);
    std::string damaged = whole;
    damaged.replace(20, 20, 20, '\xff');
    const std::string cutAmongFiles = Support::tar(entries, false).substr(0, 60'000);
    const fs::path before = fs::current_path();
    for (const auto& [bytes, reason] : {std::pair(whole.substr(0, 60'000), "truncated gzip input"),
                                        {damaged, "decompression failed"},
                                        {cutAmongFiles, "runcated"},
                                        {std::string(), "is empty"}}) {
        makeVersionFiles(bytes);
        const std::string message = messageOf([&] { department.createNXVersionDirectory(); });
        EXPECT_NE(message.find(reason), std::string::npos) << message;
        EXPECT_FALSE(exists(department.versionPath())) << reason;
        EXPECT_EQ(fs::current_path(), before) << reason;
    }
    makeVersionFiles(whole);
    site.makeDirectory("departments/cam/nx3/config/configSettings.dat");
    EXPECT_ANY_THROW(department.createNXVersionDirectory()) << "the old settings cannot be copied";
    EXPECT_FALSE(exists(department.versionPath()));
    EXPECT_EQ(std::distance(fs::directory_iterator(department.path()), fs::directory_iterator()), 2)
        << "the properties and the previous release";
}

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
    EXPECT_THROW(manager.renameConfiguration(-1, "x"), std::out_of_range);
    EXPECT_THROW(manager.deleteConfiguration(manager.numberOfRowsInList()), std::out_of_range);
    const auto common = manager.commonConfigurations();
    EXPECT_EQ(std::distance(common.begin(), common.end()), 1);
    EXPECT_EQ(&*common.begin(), manager.configuration(0));
}

TEST_F(Manager, KeepsTheOrderOfManyDepartmentsAndEndsAtADamagedOne) {
    site.makeDirectory("kym/plugins/cam");
    std::vector<Kym::WorkDirectory> workDirectories(2);
    Base::Archiver archiver(site.root() / "settings.dat");
    archiver.encodeObject("Work Directory List", &workDirectories,
                          archiver.getCoder(typeid(workDirectories)));
    archiver.finishEncoding();
    const std::string whole = readFile(site.root() / "settings.dat");
    std::vector<std::string> names;
    for (int number = 100; number < 180; ++number) {  // none by an object, which would ask for the plugins
        names.push_back(std::to_string(number));
        site.makeFile("departments/" + names.back() + "/.dirinfo.plist",
                      "<plist version=\"1.0\"><dict><key>Description</key><string/></dict></plist>");
        site.makeFile("departments/" + names.back() + "/nx4/config/configSettings.dat",
                      number % 4 < 2 ? whole.substr(0, whole.size() / 2) : whole);
    }
    {
        ConfigurationManager manager;
        EXPECT_EQ(namesOf(manager), boost::join(names, "|"));
        for (int row = 0; row < 80; ++row) {
            const auto& read = manager.configuration(row)->settings()->workDirectoryList();
            EXPECT_EQ(read.size(), row % 4 < 2 ? 0U : 2U);
        }
    }
    {
        const std::jthread remover([this] {
            for (int number = 101; number < 180; number += 2) {
                boost::system::error_code held;  // by the scan
                fs::remove_all(site.departments() / std::to_string(number), held);
            }
        });
        for (int scan = 0; scan < 20; ++scan) {  // passes over what vanishes meanwhile
            EXPECT_GE(ConfigurationManager().numberOfRowsInList(), 40);
        }
    }
    for (const char* damaged : {"170", "140"}) {  // the first one is told
        site.makeFile("departments/" + std::string(damaged) + "/.dirinfo.plist", "damaged");
        EXPECT_NE(messageOf([] { ConfigurationManager(); }).find(damaged), std::string::npos);
    }
    fs::remove_all(site.departments());
    EXPECT_EQ(messageOf([] { ConfigurationManager(); }), "KYM_UGSITE_DIR is invalid.");
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

    manager.configurationByName("d3")->settings()->workDirectories()->insertRow(0);
    manager.saveDirty();
    EXPECT_FALSE(manager.anyNeedsSaving());
    EXPECT_EQ(ConfigurationManager().configurationByName("d3")->settings()->workDirectoryList().size(), 1u);
}

TEST_F(Manager, CreatesADepartmentPreparedForTheReleaseOrNone) {
    const std::string whole = Support::tarGz({{"lib/", "", 0555}, {"noise", Support::noise(100'000)}});
    std::string changed = whole;
    changed[whole.size() / 2] ^= 1;
    makeDepartment("zebra");
    ConfigurationManager manager;
    const fs::path directory = site.departments() / "change_me";
    for (const std::string& archive : {changed, whole + changed}) {  // a gzip file may have several members
        makeVersionFiles(archive);
        EXPECT_NE(messageOf([&] { manager.createConfiguration(); }).find("incorrect data check"),
                  std::string::npos);
        EXPECT_FALSE(exists(directory));
        EXPECT_EQ(namesOf(manager), "zebra");
    }

    makeVersionFiles(whole + std::string(512, '\0'));  // as it fills blocks of a tape
    manager.createConfiguration();
    EXPECT_TRUE(manager.configuration(1)->isUpdated());
    EXPECT_FALSE(manager.configuration(1)->needsSaving());
    EXPECT_EQ(namesOf(ConfigurationManager()), "change_me|zebra");
    EXPECT_TRUE(Support::onWindows || (fs::status(directory).permissions() & 0777) == 0775);
    EXPECT_EQ(messageOf([&] { manager.createConfiguration(); }),
              "Directory " + native(directory) + " already exists.");
    EXPECT_EQ(namesOf(manager), "zebra|change_me");
    EXPECT_TRUE(exists(directory / "nx4/noise"));
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
        std::string message = messageOf([&] { manager.renameConfiguration(1, name); });
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
    for (const auto& [name, file] :
         {std::pair("c", ".dirinfo.plist"), {"lpt", "nx4/config/configSettings.dat"}}) {
        manager.renameConfiguration(1, name);
        Configuration& renamed = *manager.configuration(1);
        std::ofstream((renamed.path() / file).c_str()) << "somebody else's";
        renamed.setNeedsSaving(true);
        renamed.settings()->setNeedsSaving(true);
        EXPECT_THROW(renamed.save(), Base::FileChanged) << "what was read is still remembered: " << file;
        Base::saveOverChanges(renamed.path() / file);
        renamed.save();
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
    const std::string before = readFile(properties);
    fs::last_write_time(properties, 1'000'000'000);
    for (const fs::path& stays : {file, site.departments() / "b"}) {
        const Support::Held held(stays);
        const Support::Unprivileged somebody;
        const std::string message = messageOf([&] { manager.deleteConfiguration(1); });
        EXPECT_TRUE(message.starts_with("Cannot remove everything")) << message;
        EXPECT_EQ(message.find(native("nx3/held/file")) != std::string::npos, stays == file) << message;
        EXPECT_EQ(namesOf(manager), "a|b|c");
        EXPECT_EQ(namesOf(ConfigurationManager()), "a|b|c") << "it can be deleted again";
        EXPECT_EQ(readFile(properties), before) << "what was not saved stays unsaved";
        EXPECT_NE(fs::last_write_time(properties), 1'000'000'000) << "it goes first, and comes back";
    }
    fs::remove(properties);
    fs::create_directory(properties);
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
