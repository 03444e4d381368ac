#include <functional>
#include <new>

#include <boost/filesystem/operations.hpp>
#include <boost/smart_ptr/make_shared.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Environment.h"
#include "base/FileManager.h"
#include "base/PropertyList.h"
#include "base/Task.h"
#include "kym/App.h"
#include "kym/PluginsManager.h"
#include "kym/SiteSettings.h"
#include "kym/SystemInfo.h"
#include "kym/SystemPreferences.h"
#include "kym/WebBrowser.h"

#include "tests/support/ChildSupport.h"
#include "tests/support/ScratchSupport.h"
#include "tests/support/SiteSupport.h"
#include "tests/support/SystemSupport.h"

namespace {

namespace fs = boost::filesystem;
using Base::Environment::setEnvVariable;
using Base::FileManager::native;
using Base::FileManager::readFile;
using Kym::App;
using Kym::SystemPreferences;
using Strings = std::vector<std::string>;
using Dictionary = Base::PropertyList::Dictionary;

std::string textOf(const boost::shared_ptr<boost::any>& value) {
    return value ? boost::any_cast<std::string>(*value) : "(none)";
}

void save(const fs::path& file, const boost::any& root) {
    fs::create_directories(file.parent_path());
    Base::PropertyList(file, boost::make_shared<boost::any>(root)).saveList();
}

/// What a call writes to standard error.
std::string complaintOf(const std::function<void()>& call) {
    testing::internal::CaptureStderr();
    call();
    return testing::internal::GetCapturedStderr();
}

/// A process that was started for the department "design $b" and its common department "shared", and knows a
/// variable b.
class PreferencesTest : public Support::SiteTest {
  protected:
    PreferencesTest() {
        setEnvVariable("XDG_CONFIG_HOME", site.root().string());  // where the system asks the environment
        Kym::SystemInformation().KymApplicationDataDirectoryName =
            fs::unique_path("kym-test-$UG_VER-%%%%-%%%%-%%%%").string();
        setEnvVariable("KYM_DEPT_DIR", native(site.makeDirectory("departments/design $b")));
        setEnvVariable("KYM_COMMONDEPT_DIR", native(site.departments() / "shared"));
        setEnvVariable("UG_VER", "nx4");
        setEnvVariable("b", "of another");
    }
    ~PreferencesTest() override { fs::remove_all(userData()); }

    fs::path userData() const { return Kym::SystemInformation().applicationDataPath(); }
    fs::path user() const { return userData() / "preferences"; }
    fs::path userFile() const { return user() / "cad.plist"; }
    fs::path department(const std::string& name) const {
        return site.departments() / name / "nx4" / "preferences";
    }
};

TEST_F(PreferencesTest, TheFirstOfEightFilesThatHasAKeySuppliesIt) {
    std::vector<fs::path> files;
    for (const fs::path& directory :
         {user(), department("design $b"), department("shared"), site.installation() / "preferences"}) {
        for (const char* name : {"cad.plist", "global.plist"}) {
            files.push_back(directory / name);
            save(files.back(),
                 Dictionary{{"group", Dictionary{{"key", files.back().string()}}}, {"own", true}});
        }
    }
    save(department("other") / "cad.plist", Dictionary{{"group", Dictionary{{"key", std::string("other")}}}});
    for (std::size_t i = 0; i < files.size(); ++i) {
        EXPECT_EQ(textOf(SystemPreferences("cad").GetPreference("group/key")), files[i].string());
        const SystemPreferences ofOther((site.departments() / "other").string(), "cad");
        EXPECT_EQ(textOf(ofOther.GetPreference("group/key")), i < 2 ? files[i].string() : "other");
        save(files[i], Dictionary{{"group", Dictionary{{"key/", true}, {"Key", true}}}, {"own", true}});
    }
    EXPECT_EQ(SystemPreferences("cad").GetPreference("group/key"), nullptr);
    save(files[0], Dictionary{{"group", std::string("no dictionary")}});
    save(files[7], Dictionary{{"group", Dictionary{{"key", std::string("found")}}}});
    EXPECT_EQ(textOf(SystemPreferences("cad").GetPreference("group/key")), "found");
}

TEST_F(PreferencesTest, AKeyNamesDictionariesInOneDomainUntilItIsWritten) {
    fs::create_directories(department("design $b").parent_path());
    SystemPreferences preferences("cad");
    preferences.SetPreference("a/b/c", 1U);
    preferences.SetPreference("a/b/c", std::string("again"));
    preferences.SetPreference("a//", true);
    preferences.SetPreference("ab", std::string("department"), preferences.AnyApplication(),
                              preferences.AnyUser());
    EXPECT_EQ(Support::messageOf([&] { preferences.SetPreference("a/b/c/d/e", true); }),
              "The preference 'a/b/c/d/e' cannot be set in " + native(userFile()) +
                  ": what would have to hold 'd' is not a dictionary.");
    std::string deepest = "deep";
    for (int names = 1; names < Base::PropertyList::depthLimit; ++names) {
        deepest += "/x";
    }
    EXPECT_THROW(preferences.SetPreference(deepest + "/x", true), Base::BaseException);
    preferences.SetPreference(deepest, true);
    EXPECT_EQ(textOf(preferences.GetPreference("a/b/c")), "again");
    EXPECT_EQ(textOf(preferences.GetPreference("ab")), "department");
    EXPECT_EQ(preferences.GetPreference("ab", "cad.plist", preferences.CurrentUser()), nullptr);
    EXPECT_EQ(preferences.GetPreference("ab/c"), nullptr);

    preferences.Flush();
    EXPECT_TRUE(preferences.needsSaving()) << "the department's are not written";
    EXPECT_FALSE(fs::exists(user() / "global.plist"));
    preferences.Flush(preferences.AnyUser());
    EXPECT_FALSE(preferences.needsSaving());
    EXPECT_TRUE(Support::onWindows || fs::status(user()).permissions() == 0775);
    const SystemPreferences read("cad");
    EXPECT_EQ(boost::any_cast<Dictionary>(*read.GetPreference("a/b")).size(), 1U);
    EXPECT_TRUE(boost::any_cast<bool>(*read.GetPreference("a//")));
    EXPECT_EQ(textOf(read.GetPreference("ab", "global.plist", read.AnyUser())), "department");

    save(userFile(), Dictionary{{"others", true}});
    preferences.Flush();
    EXPECT_NE(SystemPreferences("cad").GetPreference("others"), nullptr) << "written once only";
}

TEST_F(PreferencesTest, ARemovalTakesAWholeNameAndIsWrittenWithTheNextSet) {
    save(userFile(), Dictionary{{"a", Dictionary{{"b", true}}}, {"a/b", true}, {"", true}});
    const std::string before = readFile(userFile());
    SystemPreferences preferences("cad");
    SystemPreferences copy = preferences;
    preferences.RemovePreference("");
    preferences.RemovePreference("a/b");
    preferences.RemovePreference("c", "no.plist", "nowhere");
    preferences.Flush();
    EXPECT_EQ(readFile(userFile()), before);
    EXPECT_FALSE(preferences.needsSaving());
    EXPECT_NE(preferences.GetPreference("a/b"), nullptr);
    preferences.RemovePreference("a");
    EXPECT_EQ(copy.GetPreference("a/b"), nullptr) << "a copy shares the domains";
    copy.SetPreference("new", true);
    preferences.Flush();
    EXPECT_EQ(readFile(userFile()), before) << "but writes what was set in itself";
    copy.Flush();
    const auto after = Base::PropertyList(userFile()).list();
    EXPECT_EQ(boost::any_cast<Dictionary&>(*after).size(), 2U);
}

TEST_F(PreferencesTest, AFileThatCannotBeReadIsSkippedAndNotLost) {
    save(user() / "global.plist", Dictionary{{"key", std::string("global")}});
    const auto expectSkipped = [&](const std::string& reason) {
        site.startLog("kym.info");
        SystemPreferences preferences("cad");
        EXPECT_THAT(site.logLines(), testing::Contains(testing::HasSubstr(reason)));
        EXPECT_EQ(textOf(preferences.GetPreference("key")), "global");
        preferences.SetPreference("key", std::string("new"));
        EXPECT_EQ(textOf(preferences.GetPreference("key")), "global") << "the domain is not searched";
        preferences.Flush();
    };
    const std::pair<std::string, std::string> files[] = {
        {"<plist version='1.0'>\n<dict>\n", native(userFile()) + ":"},
        {"<plist version='1.0'><array/></plist>",
         "Invalid preference file: " + native(userFile()) + "  Root object was not dictionary"},
    };
    for (const auto& [content, reason] : files) {
        fs::remove(user() / "cad.plist.damaged");
        Base::FileManager::replaceFile(userFile(), content);
        expectSkipped(reason);
        EXPECT_EQ(readFile(user() / "cad.plist.damaged"), content);
        EXPECT_EQ(textOf(SystemPreferences("cad").GetPreference("key")), "new");
    }
    site.block(userFile());
    testing::internal::CaptureStderr();
    expectSkipped("cannot be read: ");
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::StartsWith("Unable to save preferences\nCannot replace the file: "));
}

TEST_F(PreferencesTest, FurtherDirectoriesAreSearchedFirstOrLast) {
    const auto further = [&](const std::string& name) {
        for (const char* file : {"cad.plist", "global.plist"}) {
            save(site.root() / name / file, Dictionary{{"all", name + file}, {file, name}});
        }
        return (site.root() / name).string();
    };
    const std::string front = further("front"), back = further("back"), unread = further("unread");
    save(userFile(), Dictionary{{"all", std::string("user")}, {"cad.plist", std::string("user")}});
    SystemPreferences preferences("cad");
    preferences.addPath((site.root() / "nowhere").string(), true);
    preferences.addPath(back, false);
    EXPECT_EQ(textOf(preferences.GetPreference("all")), "user");
    EXPECT_EQ(textOf(preferences.GetPreference("global.plist")), "back");
    EXPECT_EQ(textOf(preferences.GetPreference("all", "cad.plist", back)), "backcad.plist");
    preferences.addPath(front, true);
    EXPECT_EQ(textOf(preferences.GetPreference("all")), "frontglobal.plist");
    EXPECT_EQ(textOf(preferences.GetPreference("cad.plist")), "front");

    save(site.root() / "front" / "global.plist", Dictionary{{"all", std::string("anew")}});
    preferences.SetPreference("all", std::string("forgotten"), "global.plist", front);
    preferences.addPath(front, false);
    EXPECT_EQ(textOf(preferences.GetPreference("all")), "anew");
    EXPECT_FALSE(preferences.needsSaving());

    const std::string before = readFile(site.root() / "unread" / "cad.plist");
    preferences.SetPreference("key", true, "cad.plist", unread);
    preferences.Flush(unread);
    EXPECT_EQ(readFile(site.root() / "unread" / "cad.plist.damaged"), before);
}

TEST_F(PreferencesTest, WhatCannotBeWrittenIsToldAndKept) {
    SystemPreferences preferences("cad");
    Base::FileManager::replaceFile(user(), "");
    preferences.SetPreference("key", true);
    EXPECT_EQ(complaintOf([&] { preferences.Flush(); }),
              "Unable to save preferences\nThe path " + native(user()) + " is not a directory.\n\n");
    EXPECT_EQ(readFile(user()), "");
    fs::remove(user());
    preferences.SetPreference("other", 'c', preferences.AnyApplication(), preferences.CurrentUser());
    EXPECT_THAT(complaintOf([&] { preferences.Flush(); }), testing::HasSubstr("key 'other'"));
    preferences.RemovePreference("other", preferences.AnyApplication(), preferences.CurrentUser());
    EXPECT_EQ(complaintOf([&] { preferences.Flush(); }), "");
    EXPECT_FALSE(preferences.needsSaving());
    EXPECT_NE(SystemPreferences("cad").GetPreference("key"), nullptr);
}

TEST_F(PreferencesTest, AProcessWithoutAUserHasTheOtherPreferences) {
    if (!Support::onWindows) {  // where the system always knows the folder
        setEnvVariable("XDG_CONFIG_HOME", "");
        setEnvVariable("HOME", "");
        EXPECT_EQ(Support::messageOf([] { SystemPreferences("cad"); }),
                  "ERROR: Problem getting user's application data folder.");
    }
    save(site.installation() / "preferences" / "cad.plist", Dictionary{{"key", std::string("installation")}});
    SystemPreferences preferences("cad");
    EXPECT_EQ(textOf(preferences.GetPreference("key")), "installation");
    EXPECT_EQ(preferences.CurrentUser().empty(), !Support::onWindows);
    preferences.Flush();
    EXPECT_FALSE(fs::exists("preferences")) << "in the working directory";
}

TEST_F(PreferencesTest, TheListIsWhatCanBeFound) {
    save(userFile(), Dictionary{{"a", Dictionary{{"b", 1U}, {"empty", Dictionary()}}},
                                {"flat", std::string("user")},
                                {"with/slash", true}});
    save(user() / "global.plist",
         Dictionary{{"a", std::string("hidden")}, {"flat", Dictionary{{"inner", true}}}, {"global", true}});
    Strings found;
    const SystemPreferences preferences("cad");
    for (const auto& [key, value, file] : preferences.preferences()) {
        found.push_back(key + " " + file.filename().string());
        EXPECT_EQ(preferences.GetPreference(key)->type(), value.type()) << key;
    }
    EXPECT_EQ(found, (Strings{"a/b cad.plist", "a/empty cad.plist", "flat cad.plist",
                              "flat/inner global.plist", "global global.plist"}));
}

using AppTest = PreferencesTest;

TEST_F(AppTest, ThereIsOneAtATimeAndTheEndOfACopyIsItsEndToo) {
    alignas(App) unsigned char storage[sizeof(App)];  // a second end would delete the preferences twice
    App* app = new (storage) App("cad");
    EXPECT_EQ(Support::messageOf([] { App("other"); }), "Trying to construct multiple application objects.");
    EXPECT_EQ(app->getPreferenceDB(), nullptr);
    app->initialize(nullptr);
    app->getPreferenceDB()->SetPreference("key", std::string("value"));
    {
        const App copy(*app);
        EXPECT_EQ(App::instance(), app);
        EXPECT_EQ(copy.getPreferenceDB(), app->getPreferenceDB());
    }
    EXPECT_EQ(App::instance(), nullptr);
    EXPECT_EQ(textOf(SystemPreferences("cad").GetPreference("key")), "value");
}

TEST_F(AppTest, DocumentationOpensInTheBrowserOfThisSystem) {
    const fs::path programs = site.makeDirectory("programs");
    setEnvVariable("PROGRAMFILES", programs.string());
    // Where "\" does not separate, this is the name of one file.
    const fs::path browser = programs.string() + "\\Internet Explorer\\iexplore.exe";
    const App app("cad");
    const auto complaint = [&] { return Support::messageOf([&] { app.showDocumentation("a.html"); }); };
    EXPECT_EQ(complaint(), "The executable " + native(browser) + " was not found.");

    Kym::SiteInformation().winExternalPluginsLocation =
        site.makeDirectory("external/cam").parent_path().string();
    Kym::SiteInformation().settingsChanged();
    Kym::SiteInformation().save();
    fs::create_directories(browser.parent_path());
    Base::FileManager::replaceFile(browser, "");
    Base::FileManager::setPermissions(browser, 0664);
    setEnvVariable("PATHEXT", ".COM");
    const std::string shown = Kym::SiteInformation().getWebBrowser();
    EXPECT_EQ(complaint(), "The executable " + native(shown) + " is not executable.");
    EXPECT_EQ(Kym::PluginsManagement().numberOfRowsInList(), 1) << "the site settings are read anew";

    setEnvVariable("PATHEXT", "");
    Base::FileManager::setPermissions(browser, 0775);
#if defined(_WIN32)
    fs::copy_file(Support::childProgram(), browser, fs::copy_options::overwrite_existing);
    setEnvVariable("SAMPLE_REPORT", native(site.root() / "report"));
    const std::string document = "file:///C:/D\xC3\xB6k \"1\"/%20&a=b.html#x";
    app.showDocumentation(document);
    EXPECT_EQ(Support::awaitReport(site.root() / "report")["Arguments:"], Strings{document});
#else
    EXPECT_THROW(app.showDocumentation("a.html"), Base::TaskError);
#endif
    EXPECT_EQ(Support::messageOf([] { Kym::openInBrowser("", "a.html"); }),
              "Web browser is undefined. Please define it in the configure program.");
}

}  // namespace
