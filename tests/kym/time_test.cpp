#include "kym/Time.h"

#include <array>
#include <limits>
#include <stdexcept>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SystemSupport.h"

using Kym::Time;
using testing::ThrowsMessage;

namespace {

constexpr int lowest = std::numeric_limits<int>::min();
constexpr int highest = std::numeric_limits<int>::max();

constexpr auto standard = Time::IsoExtended;

std::string text(const Time& time) {
    return time.isValid() ? time.toString(standard) + time.toString("%Z") : "invalid";
}

class TimeTest : public testing::Test {
  protected:
    TimeTest() { Support::useTimeZone("EST5EDT,M3.2.0,M11.1.0"); }
};

const auto refused = ThrowsMessage<std::runtime_error>("Kym::Time - Passed invalid datetime to constructor");

}  // namespace

// What adding gives is told by the fuzzer "time_format".
TEST_F(TimeTest, DiffersInLargerUnits) {
    const Time time(2024, 3, 1, 0, 0, 0, Time::Gmt);
    const Time later(2024, 3, 3, 18, 0, 0, Time::Local);  // zones do not count
    EXPECT_EQ(later.diffMinute(time), 3960);
    EXPECT_EQ(later.diffHour(time), 66);
    EXPECT_EQ(time.diffDay(later), -2.75);
}

TEST_F(TimeTest, MonthsAndYearsLeaveTheDay) {
    const std::pair<int, const char*> cases[] = {
        {11, "2024-12-31"}, {12, "2025-01-31"}, {-1, "2023-12-31"}, {-13, "2022-12-31"}, {1, ""}, {25, ""}};
    for (const auto& [months, expected] : cases) {
        Time moved(2024, 1, 31, 0, 0, 0, Time::Local);
        moved.addMonth(months);
        EXPECT_EQ(moved.day, 31);
        if (*expected) {
            EXPECT_EQ(moved.toString("%Y-%m-%d"), expected) << months;
        } else {
            EXPECT_THAT([&] { moved.toString(standard); },
                        ThrowsMessage<std::runtime_error>("Kym::Time::toString() - invalid time"));
        }
    }
    Time leapDay(2024, 2, 29, 0, 0, 0, Time::Local);
    leapDay.addYear(1);
    EXPECT_FALSE(leapDay.isValid());
    leapDay.addYear(highest);
    EXPECT_EQ(leapDay.year, lowest + 2024);
}

TEST_F(TimeTest, TakesRealDatesOnly) {
    const auto make = [](const std::array<int, 6>& f) {
        return text(Time(f[0], f[1], f[2], f[3], f[4], f[5], Time::Local));
    };
    EXPECT_EQ(make({}), "");
    EXPECT_EQ(make({2000, 2, 29, 23, 59, 59}), "2000-02-29T23:59:59");
    const std::array<int, 6> wrong[] = {
        {2023, 257, 30, 0, 0, 0}, {2023, 4, 31, 0, 0, 0}, {2023, 4, 30, 0, 0, -256}};
    for (const auto& fields : wrong) {
        EXPECT_THAT([&] { make(fields); }, refused) << testing::PrintToString(fields);
    }
    for (Time time : {Time(), Time("2024-01-01", Time::IsoBasic, Time::Local), Time("1", "%Y", Time::Local),
                      Time(std::numeric_limits<std::int64_t>::max(), Time::Local)}) {
        EXPECT_TRUE(time.isEmpty());
        EXPECT_EQ(time.zone, Time::Local);
        EXPECT_THAT([&] { time.addDay(1); }, refused);
        EXPECT_THAT([&] { time.dayOfYear(); }, refused);
    }
    for (const std::int64_t beyondWindows : {std::int64_t{-1}, std::int64_t{32535216000}}) {
        EXPECT_EQ(Time(beyondWindows, Time::Gmt).isEmpty(), Support::onWindows);
    }
}

// The last and the first second that are no matter of doubt, around both changes.
TEST_F(TimeTest, ConvertsBetweenZones) {
    const char* const newYork = "EST5EDT,M3.2.0,M11.1.0";
    const char* const middleEurope = "CET-1CEST,M3.2.0,M11.1.0";
    const char* const newfoundland = "NST3:30NDT,M3.2.0,M11.1.0";
    const struct {
        const char* rules;
        std::int64_t seconds;
        const char* gmt;
        const char* local;
    } cases[] = {{newYork, 1772953199, "2026-03-08T06:59:59GMT", "2026-03-08T01:59:59"},
                 {newYork, 1772956800, "2026-03-08T08:00:00GMT", "2026-03-08T04:00:00"},
                 {newYork, 1793509199, "2026-11-01T04:59:59GMT", "2026-11-01T00:59:59"},
                 {newYork, 1793516400, "2026-11-01T07:00:00GMT", "2026-11-01T02:00:00"},
                 {middleEurope, 1205024399, "2008-03-09T00:59:59GMT", "2008-03-09T01:59:59"},
                 {middleEurope, 1205028000, "2008-03-09T02:00:00GMT", "2008-03-09T04:00:00"},
                 {middleEurope, 1225580399, "2008-11-01T22:59:59GMT", "2008-11-02T00:59:59"},
                 {middleEurope, 1225587600, "2008-11-02T01:00:00GMT", "2008-11-02T02:00:00"},
                 {newfoundland, 26198400599, "2800-03-12T05:29:59GMT", "2800-03-12T01:59:59"},
                 {newfoundland, 26208014400, "2800-07-01T12:00:00GMT", "2800-07-01T09:30:00"},
                 {newfoundland, 26218963800, "2800-11-05T05:30:00GMT", "2800-11-05T02:00:00"}};
    for (const auto& [rules, seconds, gmt, local] : cases) {
        Support::useTimeZone(rules);
        Time time(seconds, Time::Gmt);
        EXPECT_EQ(text(time), gmt);
        EXPECT_EQ(time.getTime(), seconds) << gmt;
        time.toTime(Time::Local);
        EXPECT_EQ(text(time), local);
        EXPECT_EQ(time.getTime(), seconds) << local;
        EXPECT_EQ(text(Time(seconds, Time::Local)), local);
    }
}

TEST_F(TimeTest, RelabelsConvertsAndComparesInItsOwnWay) {
    const Time noon(1719849600, Time::Local);
    EXPECT_EQ(text(noon), "2024-07-01T12:00:00");
    Time labelled = noon;
    labelled.setTimeZone(Time::Gmt);
    EXPECT_EQ(text(labelled), "2024-07-01T12:00:00GMT");
    Time converted = noon;
    converted.toTime(Time::Gmt);
    EXPECT_EQ(text(converted), "2024-07-01T16:00:00GMT");
    EXPECT_TRUE(noon == converted && converted == noon);
    EXPECT_FALSE(noon == labelled || noon < converted || noon > converted);
    EXPECT_TRUE(labelled < noon && noon > labelled);

    Time never = noon;
    never.year = lowest;
    never.toTime(Time::Gmt);
    EXPECT_EQ(never.zone, Time::Local);

    // One field is enough.
    const Time early(2019, 12, 31, 0, 0, 0, Time::Gmt);
    const Time late(2020, 1, 1, 0, 0, 0, Time::Gmt);
    EXPECT_TRUE(late < early && late > early && early < late && early > late);

    // A zone of any other number is GMT, but for getTime.
    Time odd(1719849600, static_cast<Time::TimeZone>(2));
    EXPECT_EQ(text(odd), "2024-07-01T16:00:00");
    EXPECT_EQ(odd.getTime(), 1719849600 + 4 * 3600);
}

TEST_F(TimeTest, HasThreeFormatsOfItsOwn) {
    const Time time(2024, 3, 5, 6, 7, 8, Time::Gmt);
    EXPECT_EQ(time.toString(Time::Standard), "Tue Mar 05 06:07:08 2024");
    EXPECT_EQ(time.toString(Time::IsoBasic), "20240305T060708");
    EXPECT_EQ(time.toString(static_cast<Time::TimeFormat>(3)), "");
}

TEST_F(TimeTest, TellsTheCurrentTime) {
    Support::useTimeZone("JST-9");
    const Time gmt = Time::currentGmtTime();
    const Time local = Time::currentLocalTime();
    const std::string date = Time::currentDateInGMFormat();
    const Time after = Time::currentLocalTime();
    EXPECT_TRUE(gmt.zone == Time::Gmt && local.zone == Time::Local);
    EXPECT_TRUE(gmt.getTime() <= local.getTime() && local.getTime() <= gmt.getTime() + 60);
    EXPECT_THAT(date, testing::AnyOf(local.toString("%d%G%y"), after.toString("%d%G%y")));
}
