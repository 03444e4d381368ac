#include "kym/Configuration.h"

#include <clocale>
#include <iterator>
#include <stdexcept>
#include <utility>

#include <boost/filesystem/operations.hpp>

#include "base/Archiver.h"
#include "base/FileManager.h"
#include "base/PropertyList.h"
#include "base/platform/FileSystem.h"
#include "kym/SystemInfo.h"

#include "tests/support/SiteSupport.h"
#include "tests/support/SystemSupport.h"
#include "tests/support/TarSupport.h"

namespace {

namespace fs = boost::filesystem;
using Kym::Configuration;
using Kym::ConfigurationSettings;
using Support::contentOf;
using Support::messageOf;

class Departments : public Support::SiteTest {
  protected:
    Departments() {
        Kym::SystemInformation().CadVersionDirectory = "nx4";
        Kym::SystemInformation().PreviousCadVersionDirectory = "nx3";
    }

    /// A department that was saved.
    Configuration makeDepartment(const std::string& name) {
        Configuration department(site.makeDirectory("departments/" + name), false);
        department.save();
        return department;
    }

    void makeVersionFiles(const std::string& bytes) {
        site.makeFile("kym/data/install/versionFiles.tar.gz", bytes);
    }
};

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
        const bool isRefused = expected.starts_with('"');
        if (isRefused) {
            EXPECT_THROW(read.load(), boost::bad_any_cast) << content;
            EXPECT_TRUE(messageOf([&] { read.load(); })
                            .starts_with(Base::FileManager::native(read.propertyFile()) + ": the property " +
                                         expected));
        } else {
            read.load();
        }
        EXPECT_EQ(read.description + ' ' + read.type + ' ' + std::to_string(read.doFileCleanup) + ' ' +
                      std::to_string(read.cleanupDays),
                  isRefused ? "None Production 1 2" : expected);
    }
    Configuration department(site.root() / "departments/cam", false);
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
    const std::string damaged = contentOf(file);

    settings.load();
    EXPECT_EQ(settings.workDirectoryList().size(), 2u);
    EXPECT_EQ(settings.unixVariables()->numberOfRowsInList(), 1) << "the file lacks the list";
    EXPECT_TRUE(settings.hasOverlay("base", "nx")) << "it comes after the damage";
    EXPECT_FALSE(settings.needsSaving());
    settings.setNeedsSaving(true);
    settings.save();
    EXPECT_EQ(contentOf(file.string() + ".damaged"), damaged);
    const std::string whole = contentOf(file);
    EXPECT_NE(whole, damaged);
    {
        const Support::Unreadable held(file);
        settings.load();
    }
    settings.setNeedsSaving(true);
    settings.save();
    EXPECT_EQ(contentOf(file.string() + ".damaged.1"), whole) << "it could not be read";
}

TEST_F(Departments, KeepOneOverlayPerApplication) {
    ConfigurationSettings settings;
    const auto set = [&](const char* configuration, const char* application, const char* text) {
        Kym::ApplicationOverlay overlay = settings.getOverlay(configuration, application);
        overlay.description = text;
        settings.setOverlay(overlay);
    };
    settings.removeOverlay("base", "nx");
    EXPECT_FALSE(settings.needsSaving());
    set("base", "nx", "1");
    set("base", "NX", "2");
    set("Base", "nx", "3");
    set("base", "nx", "4");
    ASSERT_EQ(settings.overlays().size(), 3u);
    EXPECT_EQ(settings.overlays()[0].description, "4");
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
    EXPECT_EQ(contentOf(unpacked), script.content);
    EXPECT_EQ(fs::last_write_time(unpacked), Support::tarEntryTime);
    EXPECT_TRUE(department.settings()->hasOverlay("base", "nx"));
    for (const fs::path& directory : {department.versionPath(), department.versionPath() / "config"}) {
        EXPECT_TRUE(Support::onWindows || fs::status(directory).permissions() == 0775);
    }
    EXPECT_TRUE(Configuration(department.path(), true).settings()->hasOverlay("base", "nx"));

    EXPECT_FALSE(department.isWin64Updated());
    department.createWin64VersionDirectory();
    EXPECT_TRUE(department.isWin64Updated());
    for (const char* directory : {"lib/win64", "win64/application", "win64/startup", "win64/udo"}) {
        EXPECT_TRUE(fs::is_directory(department.versionPath() / directory)) << directory;
    }
    EXPECT_EQ(messageOf([&] { department.createNXVersionDirectory(); }),
              "Directory " + Base::FileManager::native(department.versionPath()) + " already exists.");
    EXPECT_TRUE(exists(unpacked)) << "a version directory that was there is left alone";
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
    EXPECT_EQ(Base::FileManager::readFile(department.versionPath() / "lib/sub/file"), "content");
    Base::FileManager::removeAll(site.departments() / std::string(150, 'a'));
}

TEST_F(Departments, UnpackEntriesWhereverTheirNamesLead) {
    std::setlocale(LC_ALL, "C.UTF-8");
    const fs::path elsewhere = site.makeDirectory("elsewhere");
    const std::string whole = Base::FileManager::native(elsewhere);
    std::vector<std::pair<std::vector<Support::TarEntry>, fs::path>> cases = {
        {{{"../above", "x"}}, site.departments() / "cam" / "above"},
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
        EXPECT_EQ(contentOf(outside), "x");
        Base::FileManager::removeAll(department.path());
    }
}

TEST_F(Departments, LeaveNoHalfMadeVersionDirectory) {
    Configuration department = makeDepartment("cam");
    const auto archive = site.installation() / "data/install/versionFiles.tar.gz";
    EXPECT_EQ(messageOf([&] { department.createNXVersionDirectory(); }),
              "Data file " + Base::FileManager::native(archive) + " was not found.");
    const std::string whole =
        Support::tarGz({{"first", "content", 0444}, {"second", Support::noise(200'000)}});
    std::string damaged = whole;
    damaged.replace(20, 20, 20, '\xff');
    const fs::path before = fs::current_path();
    for (const std::string& bytes : {whole.substr(0, 60'000), damaged, std::string()}) {
        makeVersionFiles(bytes);
        EXPECT_THROW(department.createNXVersionDirectory(), std::runtime_error) << bytes.size();
        EXPECT_FALSE(exists(department.versionPath())) << bytes.size();
        EXPECT_EQ(fs::current_path(), before) << bytes.size();
    }
    makeVersionFiles(whole);
    site.makeDirectory("departments/cam/nx3/config/configSettings.dat");
    EXPECT_ANY_THROW(department.createNXVersionDirectory()) << "the old settings cannot be copied";
    EXPECT_FALSE(exists(department.versionPath()));
    EXPECT_EQ(std::distance(fs::directory_iterator(department.path()), fs::directory_iterator()), 2)
        << "the properties and the previous release";
}

}  // namespace
