#include "kym/Time.h"

#include <chrono>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SystemSupport.h"

using Kym::Time;
using std::chrono::days;
using std::chrono::hours;
using std::chrono::sys_days;
using std::chrono::sys_seconds;
using std::chrono::year_month_day;
using testing::ThrowsMessage;

namespace {

constexpr int lowest = std::numeric_limits<int>::min();
constexpr int highest = std::numeric_limits<int>::max();

constexpr auto standard = Time::IsoExtended;

/// The fields of a moment, taken as GMT.
Time gmt(sys_seconds moment) {
    const auto day = std::chrono::floor<days>(moment);
    const year_month_day date(day);
    const std::chrono::hh_mm_ss time(moment - day);
    return {static_cast<int>(date.year()),
            static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day())),
            static_cast<int>(time.hours().count()),
            static_cast<int>(time.minutes().count()),
            static_cast<int>(time.seconds().count()),
            Time::Gmt};
}

std::string text(const Time& time) {
    return time.isValid() ? time.toString(standard) + time.toString("%Z") : "invalid";
}

class TimeTest : public testing::Test {
  protected:
    TimeTest() { Support::useTimeZone("EST5EDT,M3.2.0,M11.1.0"); }
};

const auto refused = ThrowsMessage<std::runtime_error>("Kym::Time - Passed invalid datetime to constructor");

}  // namespace

TEST_F(TimeTest, CountsDaysAsTheCalendarDoes) {
    const sys_days first = sys_days(std::chrono::year(1755) / 1 / 1);
    Time time(1755, 1, 1, 7, 8, 9, Time::Gmt);
    for (sys_days day = first; day < sys_days(std::chrono::year(3001) / 1 / 1); day += days(1)) {
        const year_month_day date(day);
        const int year = static_cast<int>(date.year());
        ASSERT_EQ(time.year, year);
        ASSERT_EQ(time.month, static_cast<unsigned>(date.month()));
        ASSERT_EQ(time.day, static_cast<unsigned>(date.day()));
        ASSERT_EQ(time.dayOfYear(), (day - sys_days(date.year() / 1 / 1)).count() + 1);
        ASSERT_EQ(time.isLeap(), date.year().is_leap());
        const int late = time.month < 3 && year % 400 == 0 ? 1 : 0;
        const int weekday = static_cast<int>(std::chrono::weekday(day).c_encoding());
        ASSERT_EQ(time.dayOfWeek(), (weekday + late) % 7) << text(time);
        time.addDay(1);
    }
    EXPECT_EQ(text(time), "3001-01-01T07:08:09GMT");
    time.addDay(static_cast<int>((first - sys_days(std::chrono::year(3001) / 1 / 1)).count()));
    EXPECT_EQ(text(time), "1755-01-01T07:08:09GMT");
}

TEST_F(TimeTest, AddsWithCarry) {
    std::mt19937 random(1);
    std::vector<int> counts = {0, 1, -1, 59, -60, 3600, -86400, lowest, highest};
    for (int n = 0; n < 500; ++n) {
        counts.push_back(std::uniform_int_distribution<int>(lowest, highest)(random) >> (n % 31));
    }
    const sys_seconds start = sys_days(std::chrono::year(2024) / 3 / 1);
    for (const int count : counts) {
        Time seconds = gmt(start);
        seconds.addSecond(count);
        const sys_seconds sum = start + std::chrono::seconds(count);
        ASSERT_EQ(text(seconds), text(gmt(sum))) << count;
        ASSERT_EQ(seconds.diffSecond(gmt(start)), count);
        Time minutes = gmt(start);
        Time hourly = gmt(start);
        minutes.addMinute(count >> 6);
        hourly.addHour(count >> 12);
        ASSERT_EQ(text(minutes), text(gmt(start + std::chrono::minutes(count >> 6)))) << count;
        ASSERT_EQ(text(hourly), text(gmt(start + hours(count >> 12)))) << count;
    }
    const Time time = gmt(start);
    const Time later(2024, 3, 3, 18, 0, 0, Time::Local);  // zones do not count
    EXPECT_EQ(later.diffMinute(time), 3960);
    EXPECT_EQ(later.diffHour(time), 66);
    EXPECT_EQ(later.diffDay(time), 2.75);
    EXPECT_EQ(time.diffDay(later), -2.75);
    const std::int64_t century = std::int64_t{36525} * 86400;
    EXPECT_EQ(Time(2124, 3, 1, 0, 0, 0, Time::Gmt).diffSecond(time),
              static_cast<std::int32_t>(static_cast<std::uint32_t>(century - 86400)));

    // Whatever the count, the sum is right or refused, and then nothing is changed.
    Time far = time;
    far.addDay(highest);
    EXPECT_EQ(text(far), "5881634-09-09T00:00:00GMT");
    for (void (Time::*const add)(int) : {&Time::addDay, &Time::addHour, &Time::addMinute, &Time::addSecond}) {
        Time last(highest, 12, 31, 23, 59, 59, Time::Gmt);
        EXPECT_THAT([&] { (last.*add)(highest); }, refused);
        Time early(1755, 1, 1, 0, 0, 0, Time::Gmt);
        EXPECT_THAT([&] { (early.*add)(-1); }, refused);
        EXPECT_EQ(text(last) + text(early), "2147483647-12-31T23:59:59GMT1755-01-01T00:00:00GMT");
    }
}

TEST_F(TimeTest, MonthsAndYearsLeaveTheDay) {
    Time time(2024, 1, 31, 0, 0, 0, Time::Gmt);
    time.addMonth(1);
    EXPECT_EQ(time.month, 2);
    EXPECT_EQ(time.day, 31);
    EXPECT_FALSE(time.isValid());
    EXPECT_THAT([&] { time.toString(standard); },
                ThrowsMessage<std::runtime_error>("Kym::Time::toString() - invalid time"));
    const struct {
        int months;
        const char* expected;
    } cases[] = {{11, "2024-12-31"}, {12, "2025-01-31"}, {-1, "2023-12-31"}, {-13, "2022-12-31"},
                 {0, "2024-01-31"},  {25, "invalid"},    {-24, "2022-01-31"}};
    for (const auto& c : cases) {
        Time moved(2024, 1, 31, 0, 0, 0, Time::Local);
        moved.addMonth(c.months);
        EXPECT_EQ(text(moved).substr(0, std::string(c.expected).size()), c.expected) << c.months;
    }
    Time leapDay(2024, 2, 29, 0, 0, 0, Time::Local);
    leapDay.addYear(1);
    EXPECT_EQ(text(leapDay), "invalid");
    leapDay.addYear(-5);
    EXPECT_EQ(text(leapDay), "2020-02-29T00:00:00");
    leapDay.addYear(highest);
    EXPECT_EQ(leapDay.year, lowest + 2019);
}

TEST_F(TimeTest, TakesRealDatesOnly) {
    using Fields = std::vector<int>;
    const auto make = [](const Fields& f) {
        return text(Time(f[0], f[1], f[2], f[3], f[4], f[5], Time::Local));
    };
    EXPECT_EQ(make({0, 0, 0, 0, 0, 0}), "");
    EXPECT_EQ(make({1755, 1, 1, 0, 0, 0}), "1755-01-01T00:00:00");
    EXPECT_EQ(make({2000, 2, 29, 23, 59, 59}), "2000-02-29T23:59:59");
    EXPECT_EQ(make({2023, 4, 30, 0, 0, 0}), "2023-04-30T00:00:00");
    for (const Fields& fields : std::vector<Fields>{{1754, 12, 31, 0, 0, 0},
                                                    {0, 0, 0, 0, 0, 1},
                                                    {2023, 2, 29, 0, 0, 0},
                                                    {1900, 2, 29, 0, 0, 0},
                                                    {2023, 4, 31, 0, 0, 0},
                                                    {2023, 0, 1, 0, 0, 0},
                                                    {2023, 13, 1, 0, 0, 0},
                                                    {2023, 1, 0, 0, 0, 0},
                                                    {2023, 1, 1, 24, 0, 0},
                                                    {2023, 1, 1, 0, 60, 0},
                                                    {2023, 1, 1, 0, 0, 60},
                                                    {2023, 257, 1, 0, 0, 0},
                                                    {2023, 1, 1, 0, 0, -256}}) {
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
    Time time(2024, 1, 1, 0, 0, 0, Time::Gmt);
    time.clear();
    EXPECT_TRUE(time.isEmpty() && time.zone == Time::Gmt);
}

// Each zone over four days around both changes and in both seasons, every half hour.
TEST_F(TimeTest, ConvertsBetweenZones) {
    const struct {
        const char* rules;
        int offset;
        bool daylight;
    } zones[] = {{"EST5EDT,M3.2.0,M11.1.0", -18000, true},
                 {"CET-1CEST,M3.2.0,M11.1.0", 3600, true},
                 {"NST3:30NDT,M3.2.0,M11.1.0", -12600, true},
                 {"JST-9", 32400, false},
                 {"UTC0", 0, false}};
    for (const auto& zone : zones) {
        Support::useTimeZone(zone.rules);
        for (const int number : {2008, 2026, 2800}) {
            const std::chrono::year year(number);
            const std::chrono::seconds offset(zone.offset);
            const sys_seconds begin = sys_days(year / 3 / std::chrono::Sunday[2]) + hours(2) - offset;
            const sys_seconds end = sys_days(year / 11 / std::chrono::Sunday[1]) + hours(1) - offset;
            for (const sys_seconds middle :
                 {begin, end, sys_seconds(sys_days(year / 7 / 1)), sys_seconds(sys_days(year / 12 / 31))}) {
                for (int step = -96; step <= 96; ++step) {
                    const sys_seconds moment = middle + step * std::chrono::minutes(30);
                    const std::int64_t seconds = moment.time_since_epoch().count();
                    const bool summer = zone.daylight && moment >= begin && moment < end;
                    const std::string localText =
                        text(gmt(moment + offset + hours(summer ? 1 : 0))).substr(0, 19);
                    SCOPED_TRACE(zone.rules + (' ' + localText));

                    Time time(seconds, Time::Gmt);
                    EXPECT_EQ(text(time), text(gmt(moment)));
                    // The hour that local time skips is reached on the way and may come out an hour off.
                    if (!(zone.daylight && moment >= begin && moment < begin + hours(1))) {
                        EXPECT_EQ(time.getTime(), seconds);
                        time.toTime(Time::Local);
                        EXPECT_EQ(text(time), localText);
                    }
                    const Time local(seconds, Time::Local);
                    EXPECT_EQ(text(local), localText);
                    const std::int64_t difference = local.getTime() - seconds;
                    const bool twice = zone.daylight && moment >= end - hours(1) && moment < end + hours(1);
                    EXPECT_TRUE(difference == 0 || (twice && std::abs(difference) == 3600)) << difference;
                    ASSERT_FALSE(HasFailure());
                }
            }
        }
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

    // One smaller field is enough for "less", one greater field for "greater".
    const Time early(2019, 12, 31, 0, 0, 0, Time::Gmt);
    const Time late(2020, 1, 1, 0, 0, 0, Time::Gmt);
    EXPECT_TRUE(late < early && late > early && early < late && early > late);

    // A zone of any other number is GMT, but for getTime.
    Time odd(1719849600, static_cast<Time::TimeZone>(2));
    EXPECT_EQ(text(odd), "2024-07-01T16:00:00");
    EXPECT_EQ(odd.getTime(), 1719849600 + 4 * 3600);
}

TEST_F(TimeTest, Formats) {
    const Time time(2024, 3, 5, 6, 7, 8, Time::Gmt);
    const struct {
        const char* format;
        const char* expected;
    } cases[] = {{"%A %a %B %b %G|%Y %y %m %d %e|%H:%M:%S %Z",
                  "Tuesday Tue March Mar MR|2024 24 03 05 5|06:07:08 GMT"},
                 {"%Y-%m-%d %Q %% %%Y%", "2024-03-05 %Q % %Y%"},
                 {"", ""}};
    for (const auto& c : cases) {
        EXPECT_EQ(time.toString(c.format), c.expected);
    }
    EXPECT_EQ(time.toString(Time::Standard), "Tue Mar 05 06:07:08 2024");
    EXPECT_EQ(time.toString(Time::IsoBasic), "20240305T060708");
    EXPECT_EQ(time.toString(static_cast<Time::TimeFormat>(3)), "");
    std::string names;
    for (int month = 1; month <= 12; ++month) {
        names += Time(2024, month, month, 0, 0, 0, Time::Local).toString("%b%G%a%Z ");
    }
    EXPECT_EQ(names,
              "JanJAMon FebFEFri MarMRSun AprAPThu MayMYSun JunJNThu JulJLSun AugAUThu SepSEMon OctOCThu "
              "NovNOMon DecDEThu ");
}

TEST_F(TimeTest, TellsTheCurrentTime) {
    Support::useTimeZone("JST-9");
    const std::int64_t before = Time::currentGmtTime().getTime();
    const Time local = Time::currentLocalTime();
    const std::string date = Time::currentDateInGMFormat();
    const Time after = Time::currentLocalTime();
    EXPECT_GT(before, 1700000000);
    EXPECT_TRUE(before <= local.getTime() && local.getTime() <= after.getTime());
    EXPECT_THAT(date, testing::AnyOf(local.toString("%d%G%y"), after.toString("%d%G%y")));
}
