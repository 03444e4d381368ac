#include <clocale>
#include <functional>
#include <stdexcept>

#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/regex/pattern_except.hpp>

#include "base/Archiver.h"
#include "base/Environment.h"
#include "base/FileManager.h"
#include "base/PropertyList.h"
#include "kym/ConfigurationManager.h"
#include "kym/SystemInfo.h"

#include "tests/support/SiteSupport.h"
#include "tests/support/TarSupport.h"

namespace {

namespace fs = boost::filesystem;
using Kym::Configuration;
using Kym::ConfigurationSettings;

class Departments : public Support::SiteTest {
  protected:
    Departments() {
        Kym::SystemInformation().CadVersionDirectory = "nx4";
        Kym::SystemInformation().PreviousCadVersionDirectory = "nx3";
    }

    /// A department that was saved.
    Configuration makeDepartment(const std::string& name, const std::string& description = "text",
                                 const std::string& type = "Production") {
        Configuration department(site.makeDirectory("departments/" + name), false);
        department.description = description;
        department.type = type;
        department.save();
        return department;
    }

    void makeVersionFiles(const std::string& bytes) {
        site.makeFile("kym/data/install/versionFiles.tar.gz", bytes);
    }

    static std::string list(const std::string& content) {
        return "<plist version=\"1.0\"><dict>" + content + "</dict></plist>";
    }

    static std::string messageOf(const std::function<void()>& action) {
        try {
            action();
        } catch (const std::exception& error) {
            return error.what();
        }
        return "no error";
    }
};

TEST_F(Departments, ReadTheirPropertiesWhollyOrNotAtAll) {
    const std::string description = "<key>Description</key><string>new</string>";
    struct Case {
        std::string content;
        bool good;
    };
    const Case cases[] = {
        {description, true},
        {description + "<key>Cleanup Days Key</key><integer>9</integer><key>Unknown</key><array/>", true},
        {description + "<key>Do File Cleanup Key</key><false/><key>Type</key><string>Test</string>", true},
        {"<key>Type</key><string>Test</string>", false},
        {"<key>Description</key><integer>1</integer><key>Type</key><string>Test</string>", false},
        {description + "<key>Cleanup Days Key</key><string>9</string>", false},
        {description + "<key>Cleanup Days Key</key><integer>-1</integer>", false},
        {description +
             "<key>Type</key><string>Test</string><key>Do File Cleanup Key</key><integer>1</integer>",
         false}};
    Configuration department(site.root() / "departments/cam", false);
    for (const Case& testCase : cases) {
        const Configuration fresh = department;
        site.makeFile("departments/cam/.dirinfo.plist", list(testCase.content));
        if (testCase.good) {
            Configuration read(fresh.path(), true);
            EXPECT_EQ(read.description, "new");
            EXPECT_EQ(read.type == "Test", testCase.content.find("Test") != std::string::npos);
            EXPECT_EQ(read.doFileCleanup, testCase.content.find("<false/>") == std::string::npos);
            EXPECT_EQ(read.cleanupDays, testCase.content.find(">9<") == std::string::npos ? 2u : 9u);
            EXPECT_FALSE(read.needsSaving());
        } else {
            EXPECT_THROW(department.load(), boost::bad_any_cast) << testCase.content;
            EXPECT_EQ(department.description, "None") << testCase.content;
            EXPECT_EQ(department.type, "Production") << testCase.content;
        }
    }
    site.makeFile("departments/cam/.dirinfo.plist", "<plist>");
    EXPECT_THROW(department.load(), Base::PropertyListError);
    fs::remove(department.path() / ".dirinfo.plist");
    EXPECT_THROW(department.load(), Kym::InvalidConfiguration);
    EXPECT_EQ(messageOf([&] { department.load(); }),
              "Directory " + Base::FileManager::native(department.path()) + " is not valid department.");
}

TEST_F(Departments, WriteTheirPropertiesAndNoSettingsBeforeTheyAreUpdated) {
    Configuration department(site.makeDirectory("departments") / "cam/", false);
    EXPECT_EQ(department.name(), "cam");
    department.description = "Fräsen & <mehr>";
    department.doFileCleanup = false;
    department.cleanupDays = 4294967295u;
    department.settings()->setNeedsSaving(true);
    EXPECT_ANY_THROW(department.save()) << "there is no directory yet";
    fs::create_directory(department.path());
    struct Case {
        const char* common;
        const char* stored;
        fs::path path;
    };
    const Case cases[] = {{"", "", department.path()},
                          {"my common", "", department.path()},
                          {"Shared", "Shared", site.departments() / "Shared"}};
    for (const Case& testCase : cases) {
        department.commonDepartment = testCase.common;
        EXPECT_EQ(department.commonConfigPath(), testCase.path);
        department.setNeedsSaving(true);
        department.save();
        const Configuration read(department.path(), true);
        EXPECT_EQ(read.commonDepartment, testCase.stored);
        EXPECT_EQ(read.description, department.description);
        EXPECT_FALSE(read.doFileCleanup);
        EXPECT_EQ(read.cleanupDays, 4294967295u);
    }
    EXPECT_FALSE(exists(department.versionPath()));
    EXPECT_TRUE(department.needsSaving()) << "the settings wait for the version directory";
    fs::create_directories(department.versionPath() / "config");
    department.save();
    EXPECT_TRUE(exists(department.versionPath() / "config/configSettings.dat"));
    EXPECT_FALSE(department.needsSaving());
}

TEST_F(Departments, KeepTheirSettingsAndTheMarksOfAWriteThatFailed) {
    const auto file = site.makeDirectory("config") / "configSettings.dat";
    site.makeDirectory("kym/plugins/cam");
    ConfigurationSettings original;
    original.setDataFile(file);
    original.load();
    EXPECT_FALSE(original.needsSaving());
    ConfigurationSettings settings = original;
    settings.setOverlay(settings.getOverlay("base", "nx"));
    settings.workDirectories()->insertRow(-1);
    settings.commonVariables()->insertRow(-1);
    settings.disablePlugins()->setValueForListColumnRow("", 0, std::string("true"));
    settings.applications()->insertRow(-1);
    EXPECT_TRUE(original.workDirectoryList().empty());
    EXPECT_EQ(original.applications()->numberOfRowsInList(), 0) << "a copy has lists of its own";

    site.block(file);
    EXPECT_ANY_THROW(settings.save());
    EXPECT_TRUE(settings.workDirectories()->isEdited());
    EXPECT_TRUE(settings.commonVariables()->isEdited());
    EXPECT_TRUE(settings.disablePlugins()->isEdited());
    EXPECT_TRUE(settings.applications()->isEdited());
    fs::remove_all(file);
    settings.save();
    EXPECT_FALSE(settings.needsSaving());
    settings.applications()->commonVariables(0)->insertRow(-1);
    fs::remove(file);
    site.block(file);
    EXPECT_ANY_THROW(settings.save());
    EXPECT_TRUE(settings.needsSaving()) << "only a variable of an application was edited";
    fs::remove_all(file);
    settings.save();

    original.load();
    EXPECT_FALSE(original.needsSaving());
    EXPECT_EQ(original.workDirectoryList().size(), 1u);
    EXPECT_EQ(original.commonVariables()->numberOfRowsInList(), 1);
    EXPECT_TRUE(original.isPluginDisabled("cam"));
    EXPECT_FALSE(original.isPluginDisabled("CAM"));
    EXPECT_EQ(original.applicationList("x").at(0).mConfigurationName, "x");
    EXPECT_EQ(original.applicationList("y").at(0).mConfigurationName, "y");
    EXPECT_TRUE(original.hasOverlay("base", "nx"));
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
    const std::string damaged = Support::contentOf(file);

    settings.load();
    EXPECT_EQ(settings.workDirectoryList().size(), 2u);
    EXPECT_EQ(settings.unixVariables()->numberOfRowsInList(), 1) << "the file lacks the list";
    EXPECT_TRUE(settings.hasOverlay("base", "nx")) << "it comes after the damage";
    EXPECT_FALSE(settings.needsSaving());
    settings.setNeedsSaving(true);
    settings.save();
    EXPECT_EQ(Support::contentOf(file.string() + ".damaged"), damaged);
    EXPECT_NE(Support::contentOf(file), damaged);
}

TEST_F(Departments, KeepOneOverlayPerApplication) {
    ConfigurationSettings settings;
    const auto set = [&](const char* configuration, const char* application, const char* text) {
        Kym::ApplicationOverlay overlay = settings.getOverlay(configuration, application);
        overlay.description = text;
        settings.setOverlay(overlay);
    };
    EXPECT_EQ(settings.getOverlay("base", "nx").applicationId, "nx");
    EXPECT_FALSE(settings.hasOverlay("base", "nx"));
    settings.removeOverlay("base", "nx");
    EXPECT_FALSE(settings.needsSaving());
    set("base", "nx", "1");
    set("base", "NX", "2");
    set("base", "nx", "3");
    ASSERT_EQ(settings.overlays().size(), 2u);
    EXPECT_EQ(settings.overlays()[0].description, "3");
    settings.setNeedsSaving(false);
    settings.removeOverlay("base", "nx");
    EXPECT_TRUE(settings.needsSaving());
    EXPECT_EQ(settings.overlays().at(0).description, "2");
}

TEST_F(Departments, StartAReleaseWithItsFilesAndTheirOldSettings) {
    std::setlocale(LC_ALL, "C.UTF-8");
    const Support::TarEntry script{"lib/öl.bat", std::string(100'000, 'x'), 0755};
    makeVersionFiles(Support::tarGz({{"lib/", "", 0755}, script}));
    Configuration department = makeDepartment("cäm");
    const auto config = site.makeDirectory("departments/cäm/nx3/config");
    ConfigurationSettings previous;
    previous.setDataFile(config / "configSettings.dat");
    previous.setOverlay(previous.getOverlay("base", "nx"));
    previous.save();

    const fs::path before = fs::current_path();
    EXPECT_FALSE(department.isUpdated());
    department.createNXVersionDirectory();
    EXPECT_EQ(fs::current_path(), before);
    EXPECT_TRUE(department.isUpdated());
    const auto unpacked = department.versionPath() / script.name;
    EXPECT_EQ(Support::contentOf(unpacked), script.content);
    EXPECT_EQ(fs::last_write_time(unpacked), Support::tarEntryTime);
    EXPECT_TRUE(department.settings()->hasOverlay("base", "nx"));
    EXPECT_TRUE(Configuration(department.path(), true).settings()->hasOverlay("base", "nx"));

    EXPECT_FALSE(department.isWin64Updated());
    department.createWin64VersionDirectory();
    for (const char* directory : {"lib/win64", "win64/application", "win64/startup", "win64/udo"}) {
        EXPECT_TRUE(fs::is_directory(department.versionPath() / directory)) << directory;
    }
    EXPECT_TRUE(department.isWin64Updated());
    EXPECT_EQ(messageOf([&] { department.createNXVersionDirectory(); }),
              "Directory " + Base::FileManager::native(department.versionPath()) + " already exists.");
    EXPECT_TRUE(exists(unpacked)) << "a version directory that was there is left alone";
}

TEST_F(Departments, LeaveNoHalfMadeVersionDirectory) {
    Configuration department = makeDepartment("cam");
    const auto archive = site.installation() / "data/install/versionFiles.tar.gz";
    EXPECT_EQ(messageOf([&] { department.createNXVersionDirectory(); }),
              "Data file " + Base::FileManager::native(archive) + " was not found.");
    std::string noise;
    for (unsigned seed = 1; noise.size() < 200'000; seed = seed * 1664525 + 1013904223) {
        noise += static_cast<char>('a' + (seed >> 24) % 20);
    }
    const std::string whole = Support::tarGz({{"first", "content", 0444}, {"second", noise}});
    std::string damaged = whole;
    damaged.replace(20, 20, 20, '\xff');
    const fs::path before = fs::current_path();
    for (const std::string& bytes : {whole.substr(0, 60'000), whole.substr(0, 5), damaged,
                                     std::string("neither tar nor gzip"), std::string()}) {
        makeVersionFiles(bytes);
        EXPECT_THROW(department.createNXVersionDirectory(), std::runtime_error) << bytes.size();
        EXPECT_FALSE(exists(department.versionPath())) << bytes.size();
        EXPECT_EQ(fs::current_path(), before) << bytes.size();
    }
    makeVersionFiles(whole);
    site.makeDirectory("departments/cam/nx3/config/configSettings.dat");
    EXPECT_ANY_THROW(department.createNXVersionDirectory()) << "the old settings cannot be copied";
    EXPECT_FALSE(exists(department.versionPath()));
    Configuration nowhere(site.root() / "nowhere", false);
    EXPECT_THROW(nowhere.createNXVersionDirectory(), fs::filesystem_error);
}

TEST_F(Departments, AreFoundAmongOtherEntries) {
    makeDepartment("b", "first");
    makeDepartment("C", "second", "Common");
    makeDepartment("a", "first", "Development");
    site.makeFile("departments/a file");
    site.makeDirectory("departments/empty");
    site.makeDirectory("departments/directory/.dirinfo.plist");
    site.startLog("kym.info,base.assert");
    Kym::ConfigurationManager manager;
    EXPECT_EQ(site.logLines().back(), "Found 3 configurations.");
    ASSERT_EQ(manager.numberOfRowsInList(), 3);
    std::string names;
    for (int row = 0; row < 3; ++row) {
        names += boost::any_cast<std::string>(manager.valueForListColumnRow("", row));
    }
    EXPECT_EQ(names, "Cab");

    const Kym::ConfigurationManager& view = manager;
    EXPECT_EQ(manager.configurationByName("a"), manager.configuration(1));
    EXPECT_EQ(view.configurationByName("A"), nullptr);
    EXPECT_EQ(view.currentConfiguration(), nullptr);
    Base::Environment::setEnvVariable("KYM_DEPT_DIR", Base::FileManager::native(site.departments() / "b"));
    EXPECT_EQ(view.currentConfiguration(), manager.configuration(2));
    EXPECT_FALSE(view.usingFallbackConfigurations());
    Kym::SystemInformation().KymConfigFallbackDirectoryName = "depart";
    EXPECT_TRUE(view.usingFallbackConfigurations());
    names.clear();
    for (const Configuration& configuration : manager.commonConfigurations()) {
        names += configuration.name();
    }
    EXPECT_EQ(names, "C");

    site.startLog("base.assert");
    EXPECT_EQ(view.configurationByName(""), nullptr);
    EXPECT_EQ(view.configurationByPath(""), nullptr);
    EXPECT_THROW(manager.configuration(3), std::out_of_range);
    EXPECT_THROW(manager.configuration(-1), std::out_of_range);
    const auto lines = site.logLines();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_NE(lines[0].find("Configuration name is empty"), std::string::npos);
    EXPECT_NE(lines[1].find("Configuration path is empty"), std::string::npos);
    EXPECT_NE(lines[2].find("index >= 0 && index < mConfigurations.size()"), std::string::npos);
    EXPECT_NE(lines[3].find("index = -1: configuration index is out of range"), std::string::npos);
}

TEST_F(Departments, AreListedByWholeTypeOnceUpdated) {
    makeDepartment("d1", "zebra");
    makeDepartment("d2", "Ant", "Test");
    makeDepartment("d3", "ant");
    makeDepartment("old", "ant");
    for (const char* name : {"d1", "d2", "d3"}) {
        site.makeDirectory(std::string("departments/") + name + "/nx4/config");
    }
    Kym::ConfigurationManager manager;
    struct Case {
        const char* pattern;
        const char* names;
    };
    for (const Case& testCase : {Case{".*", "d2 d3 d1 "}, Case{"Prod", ""},
                                 Case{"Production|Test", "d2 d3 d1 "}, Case{"production", ""}}) {
        std::string names;
        for (const Configuration& configuration : manager.configurationList(testCase.pattern)) {
            names += configuration.name() + ' ';
        }
        EXPECT_EQ(names, testCase.names) << testCase.pattern;
    }
    EXPECT_THROW(manager.configurationList("("), boost::regex_error);

    EXPECT_FALSE(manager.anyNeedsSaving());
    manager.configurationByName("d3")->settings()->workDirectories()->insertRow(0);
    EXPECT_TRUE(manager.anyNeedsSaving());
    manager.saveDirty();
    EXPECT_FALSE(manager.anyNeedsSaving());
    EXPECT_EQ(Kym::ConfigurationManager().configurationByName("d3")->settings()->workDirectoryList().size(),
              1u);
}

TEST_F(Departments, OfADamagedKindEndTheScan) {
    makeDepartment("good");
    site.makeFile("departments/torn/.dirinfo.plist", "<plist><dict>");
    EXPECT_THROW(Kym::ConfigurationManager(), Base::PropertyListError);
    site.makeFile("departments/torn/.dirinfo.plist", list("<key>Type</key><string>Test</string>"));
    EXPECT_THROW(Kym::ConfigurationManager(), boost::bad_any_cast);
}

}  // namespace
