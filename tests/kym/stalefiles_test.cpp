#include "kym/StaleFiles.h"

#include <filesystem>
#include <fstream>
#include <limits>
#include <utility>

#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Environment.h"
#include "base/FileManager.h"
#include "base/Task.h"
#include "base/platform/FileSystem.h"
#include "kym/ConfigApplication.h"
#include "kym/Configuration.h"
#include "kym/Launcher.h"
#include "kym/Time.h"

#include "tests/support/SiteSupport.h"
#include "tests/support/SystemSupport.h"

namespace fs = boost::filesystem;
using Base::FileManager::native;
using Kym::Time;
using testing::ElementsAre;

namespace {

constexpr std::int64_t secondsPerDay = 86400;

/// A site whose folder "temp" TEMP names; local time changes on 8 March 2026.
class StaleFilesTest : public Support::SiteTest {
  protected:
    StaleFilesTest() {
        Support::useTimeZone("EST5EDT,M3.2.0,M11.1.0");
        Base::Environment::setEnvVariable("TEMP", native(temp));
    }

    fs::path file(const fs::path& name, std::int64_t written) const {
        const fs::path made = Base::Platform::reachablePath(temp / name);
        fs::create_directories(made.parent_path());
        const std::ofstream content{std::filesystem::path(made.native())};
        fs::last_write_time(made, written);
        return temp / name;
    }

    /// The name and the age of each stale file but the machine's own; one is removed as soon as another was
    /// visited.
    std::vector<std::pair<fs::path, int>> staleFiles(std::uint32_t days,
                                                     const char* removed = nullptr) const {
        std::vector<std::pair<fs::path, int>> found;
        Kym::visitStaleFiles(now, days, [&](const Kym::StaleFile& stale) {
            if (stale.path.parent_path() != "c:\\temp") {
                found.emplace_back(stale.path.filename(), stale.age);
            }
            if (removed) {
                fs::remove(temp / removed);
            }
        });
        return found;
    }

    const fs::path temp = site.makeDirectory("temp");
    const Time now{2026, 3, 10, 12, 0, 0, Time::Local};
};

}  // namespace

TEST_F(StaleFilesTest, AreThoseOfTheProgramsInTheDirectoryItself) {
    const std::int64_t old = now.getTime() - 10 * secondsPerDay;
    std::vector<std::pair<fs::path, int>> expected;
    for (const char* name : {".log", "a.b.log", "a.c", "a.dlg", "a.h", "a.jnl", "a.mon", "a.pax", "a.prt",
                             "a.qaf", "a.rol_bin", "a.syslog", "a.tmp"}) {
        file(name, old);
        expected.emplace_back(name, 10);
    }
    for (const char* name : {"a.LOG", "a.logs", "a.log.txt", "a.csv", "a.cc", "log", "axlog", "a.", "a.lo",
                             "below/a.log", "a.log ~"}) {
        file(name, old);
    }
    fs::last_write_time(site.makeDirectory("temp/directory.log"), old);
    // Not every system lets a name be that is no text.
    fs::path::string_type noText(1, static_cast<fs::path::value_type>(Support::onWindows ? 0xD800 : 0xFF));
    noText += fs::path(".tmp").native();
    const bool made = std::ofstream{std::filesystem::path((temp / noText).native())}.is_open();
    EXPECT_TRUE(made || Support::onWindows);
    if (!Support::onWindows) {  // links are for administrators there
        fs::create_directory_symlink(temp / "below", temp / "link.log");
        fs::create_symlink("nowhere", temp / "dangling.log");
    }
    if (made) {
        fs::last_write_time(temp / noText, old);
        expected.emplace_back(noText, 10);
    }
    EXPECT_EQ(staleFiles(2), expected);
    EXPECT_TRUE(staleFiles(10).empty());
    EXPECT_TRUE(staleFiles(std::numeric_limits<std::uint32_t>::max()).empty());
    // What somebody else removes meanwhile is passed over.
    EXPECT_EQ(staleFiles(2, "a.c").size(), expected.size() - 1);
}

TEST_F(StaleFilesTest, AreOlderThanTheDaysOnTheCalendar) {
    const auto written = [](int day, int hour, int minute) {
        return Time(2026, 3, day, hour, minute, 0, Time::Local).getTime();
    };
    file("2.99.log", written(7, 12, 1));
    file("3.log", written(7, 12, 0));  // 71 hours ago
    file("future.log", written(31, 0, 0));
    file("never.log", -100'000'000);  // a time that Windows cannot tell
    std::vector<std::pair<fs::path, int>> expected = {{"3.log", 3}};
    if (!Support::onWindows) {
        expected.emplace_back("never.log", now.diffDay(Time(-100'000'000, Time::Local)));
    }
    EXPECT_EQ(staleFiles(2), expected);
    EXPECT_EQ(staleFiles(1).size(), expected.size() + 1);

    const fs::path deep =
        file(fs::path(std::string(150, 'a')) / std::string(150, 'b') / "deep.log", 1'000'000);
    Base::Environment::setEnvVariable("TEMP", native(deep.parent_path()));
    EXPECT_EQ(staleFiles(2).size(), 1u);
    fs::current_path(temp);  // which stands for no TEMP that is missing
    for (const std::string& place : {native(temp / "3.log"), std::string(), std::string(5000, 'x')}) {
        Base::Environment::setEnvVariable("TEMP", place);
        EXPECT_TRUE(staleFiles(2).empty()) << place;
    }
    if (!Support::onWindows) {  // where it is the machine's own
        const fs::path place = "c:\\temp";
        file(place / "once.log", 1'000'000);
        Base::Environment::setEnvVariable("TEMP", place.string());
        int visits = 0;
        Kym::visitStaleFiles(now, 2, [&visits](const Kym::StaleFile&) { ++visits; });
        EXPECT_EQ(visits, 1);
    }
    fs::current_path(site.root().parent_path());
    Base::FileManager::removeAll(temp);
}

// So many days that no file of the machine's own c:\temp is that old.
TEST_F(StaleFilesTest, AreRemovedBeforeALaunch) {
    const std::int64_t old = Time::currentLocalTime().getTime() - 9001 * secondsPerDay - 8640;
    const fs::path first = file("1.log", old);
    const fs::path blocked = file("2.log", old);
    const fs::path last = file("3.log", old);
    const fs::path young = file("4.log", old + secondsPerDay / 5);
    Kym::Launcher launcher;
    Kym::Configuration config(site.makeDirectory("departments/design"), false);
    config.cleanupDays = 9000;
    config.doFileCleanup = false;
    Kym::ConfigApplication app;
    app.program = native(site.makeFile("program.exe"));
    Base::FileManager::setPermissions(app.program, 0775);
    launcher.removeLogFiles(config);
    EXPECT_TRUE(launcher.staleFiles(config).empty());
    // Nothing is in the way of a start, which fails for another reason.
    EXPECT_THROW(launcher.launchApplication(config, nullptr, app, nullptr), Base::TaskError);
    EXPECT_TRUE(fs::exists(first));

    config.doFileCleanup = true;
    EXPECT_EQ(launcher.staleFiles(config).size(), 3U);
    {
        const Support::Unreadable held(blocked);
        EXPECT_THROW(launcher.launchApplication(config, nullptr, app, nullptr), fs::filesystem_error);
    }
    EXPECT_FALSE(fs::exists(first));
    EXPECT_TRUE(fs::exists(last));
    const Kym::LaunchPlan plan = launcher.plan(config, nullptr, app, nullptr);
    Base::Environment::setEnvVariable("TEMP", "${TEMP}");
    EXPECT_THROW(launcher.launch(plan), Base::Environment::ExpansionError);

    Base::Environment::setEnvVariable("TEMP", native(temp));
    fs::remove(blocked);
    site.startLog("kym.info");
    std::vector<fs::path> told;
    launcher.removeLogFiles(config, [&told](const Kym::StaleFile& removed) { told.push_back(removed.path); });
    EXPECT_THAT(told, ElementsAre(last));
    EXPECT_THAT(site.logLines(), ElementsAre("Removing tmp files greater than 9000 days old:",
                                             "  looking in c:\\temp", "  looking in " + native(temp),
                                             "  Removing " + native(last) + " which is 9001 days old."));
    EXPECT_FALSE(fs::exists(last));
    EXPECT_TRUE(fs::exists(young));
}
