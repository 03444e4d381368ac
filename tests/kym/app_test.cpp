#include "kym/App.h"

#include <new>

#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Environment.h"
#include "base/FileManager.h"
#include "base/Task.h"
#include "kym/PluginsManager.h"
#include "kym/SiteSettings.h"
#include "kym/SystemInfo.h"
#include "kym/SystemPreferences.h"
#include "kym/WebBrowser.h"

#include "tests/support/ChildSupport.h"
#include "tests/support/SiteSupport.h"

namespace {

namespace fs = boost::filesystem;
using Base::Environment::setEnvVariable;
using Base::FileManager::native;
using Kym::App;
using Strings = std::vector<std::string>;

class AppTest : public Support::SiteTest {
  protected:
    AppTest() {
        setEnvVariable("XDG_CONFIG_HOME", site.root().string());  // where the system asks the environment
        Kym::SystemInformation().KymApplicationDataDirectoryName =
            fs::unique_path("kym-test-%%%%-%%%%-%%%%").string();
    }
    ~AppTest() override { fs::remove_all(Kym::SystemInformation().applicationDataPath()); }

    /// A second object, which must not be destroyed after the first one has deleted what they share.
    template <typename... Arguments>
    App* undestroyed(const Arguments&... arguments) {
        return new (storage) App(arguments...);
    }
    alignas(App) unsigned char storage[sizeof(App)];
};

class ToFile : public Base::InitializeDelegate {
  public:
    explicit ToFile(const fs::path& file) : mFile(file.string()) {}
    std::string enabledLoggers() const override { return "kym.info"; }
    std::string logFile() const override { return mFile; }

  private:
    std::string mFile;
};

TEST_F(AppTest, ThereIsOneAtATimeAndItsEndSavesThePreferences) {
    EXPECT_EQ(App::instance(), nullptr);
    {
        App app("cad");
        EXPECT_EQ(App::instance(), &app);
        EXPECT_EQ(Support::messageOf([] { App("other"); }),
                  "Trying to construct multiple application objects.");
        EXPECT_EQ(App::instance(), &app);
        EXPECT_EQ(app.getPreferenceDB(), nullptr);
        const ToFile delegate(site.root() / "app.log");
        app.initialize(&delegate);
        app.getPreferenceDB()->SetPreference("key", std::string("value"));
    }
    EXPECT_EQ(App::instance(), nullptr);
    const std::string log = Support::contentOf(site.root() / "app.log");
    EXPECT_EQ(log.find("initialized trace controller\n"), 0U) << log;
    EXPECT_LT(log.find("ReadInPlist: 8 "), log.find("initialized preference system\n")) << log;
    EXPECT_LT(log.find("initialized preference system\n"), log.find("Flushing ")) << log;

    App again("cad");
    again.initialize(nullptr);
    EXPECT_EQ(boost::any_cast<std::string>(*again.getPreferenceDB()->GetPreference("key")), "value");
}

TEST_F(AppTest, ACopySharesThePreferencesAndItsEndIsTheEndOfBoth) {
    App* original = undestroyed("cad");
    original->initialize(nullptr);
    original->getPreferenceDB()->SetPreference("key", true);
    {
        const App copy(*original);
        EXPECT_EQ(App::instance(), original);
        EXPECT_EQ(copy.getAppName(), "cad");
        EXPECT_EQ(copy.getPreferenceDB(), original->getPreferenceDB());
    }
    EXPECT_EQ(App::instance(), nullptr);
    EXPECT_NE(Kym::SystemPreferences("cad").GetPreference("key"), nullptr);

    App assigned("other");
    App* source = undestroyed(assigned);
    source->initialize(nullptr);
    assigned = *source;
    EXPECT_EQ(assigned.getPreferenceDB(), source->getPreferenceDB());
    EXPECT_EQ(App::instance(), &assigned);
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
    setEnvVariable("KYM_TEST_REPORT", native(site.root() / "report"));
    const std::string document = "file:///C:/D\xC3\xB6k \"1\"/%20&a=b.html#x";
    app.showDocumentation(document);
    EXPECT_EQ(Support::awaitReport(site.root() / "report").arguments, Strings{document});
#else
    EXPECT_THROW(app.showDocumentation("a.html"), Base::TaskError);
#endif
    EXPECT_EQ(Support::messageOf([] { Kym::openInBrowser("", "a.html"); }),
              "Web browser is undefined. Please define it in the configure program.");
}

}  // namespace
