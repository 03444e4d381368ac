#include "kym/Time.h"

#include <array>
#include <chrono>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <utility>
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
    const auto second = static_cast<int>((moment - day).count());
    return {static_cast<int>(date.year()),
            static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day())),
            second / 3600,
            second / 60 % 60,
            second % 60,
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
    const sys_days end = sys_days(std::chrono::year(3001) / 1 / 1);
    Time time(1755, 1, 1, 7, 8, 9, Time::Gmt);
    for (sys_days day = first; day < end; day += days(1)) {
        const year_month_day date(day);
        ASSERT_EQ(text(time), text(gmt(day + hours(7) + std::chrono::seconds(489))));
        ASSERT_EQ(time.dayOfYear(), (day - sys_days(date.year() / 1 / 1)).count() + 1);
        ASSERT_EQ(time.isLeap(), date.year().is_leap());
        const int late = time.month < 3 && time.year % 400 == 0 ? 1 : 0;
        const int weekday = static_cast<int>(std::chrono::weekday(day).c_encoding());
        ASSERT_EQ(time.dayOfWeek(), (weekday + late) % 7) << text(time);
        time.addDay(1);
    }
    time.addDay(static_cast<int>((first - end).count()));
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
    EXPECT_EQ(time.diffDay(later), -2.75);
    const std::int64_t century = std::int64_t{36524} * 86400;
    EXPECT_EQ(Time(2124, 3, 1, 0, 0, 0, Time::Gmt).diffSecond(time),
              static_cast<std::int32_t>(static_cast<std::uint32_t>(century)));

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
    const std::pair<int, const char*> cases[] = {
        {1, ""},  {11, "2024-12-31"}, {12, "2025-01-31"}, {-1, "2023-12-31"}, {-13, "2022-12-31"},
        {25, ""}, {0, "2024-01-31"}};
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
    leapDay.addYear(-5);
    EXPECT_EQ(text(leapDay), "2020-02-29T00:00:00");
    leapDay.addYear(highest);
    EXPECT_EQ(leapDay.year, lowest + 2019);
}

TEST_F(TimeTest, TakesRealDatesOnly) {
    using Fields = std::array<int, 6>;
    const auto make = [](const Fields& f) {
        return text(Time(f[0], f[1], f[2], f[3], f[4], f[5], Time::Local));
    };
    EXPECT_EQ(make({}), "");
    EXPECT_EQ(make({1755, 1, 1, 0, 0, 0}), "1755-01-01T00:00:00");
    EXPECT_EQ(make({2000, 2, 29, 23, 59, 59}), "2000-02-29T23:59:59");
    EXPECT_THAT([&] { make({0, 0, 0, 0, 0, 1}); }, refused);
    EXPECT_THAT([&] { make({1900, 2, 29, 0, 0, 0}); }, refused);
    const std::pair<std::size_t, int> wrong[] = {{0, 1754}, {1, 0},  {1, 13}, {1, 257}, {2, 0},
                                                 {2, 31},   {3, 24}, {4, 60}, {5, 60},  {5, -256}};
    for (const auto& [field, value] : wrong) {
        Fields fields = {2023, 4, 30, 0, 0, 0};
        fields[field] = value;
        EXPECT_THAT([&] { make(fields); }, refused) << field << ' ' << value;
    }
    for (Time time : {Time(), Time("2024-01-01", Time::IsoBasic, Time::Local), Time("1", "%Y", Time::Local),
                      Time(std::numeric_limits<std::int64_t>::max(), Time::Local)}) {
        EXPECT_TRUE(time.isEmpty());
        EXPECT_EQ(time.zone, Time::Local);
        EXPECT_THAT([&] { time.addDay(1); }, refused);
        EXPECT_THAT([&] { time.dayOfYear(); }, refused);
    }
    EXPECT_EQ(Time("2024-01-01", Time::IsoBasic, Time::Gmt).zone, Time::Gmt);
    EXPECT_EQ(Time("2024", "%Y", Time::Gmt).zone, Time::Gmt);
    for (const std::int64_t beyondWindows : {std::int64_t{-1}, std::int64_t{32535216000}}) {
        EXPECT_EQ(Time(beyondWindows, Time::Gmt).isEmpty(), Support::onWindows);
    }
}

// Each zone over four days around both changes and in both seasons, every half hour.
TEST_F(TimeTest, ConvertsBetweenZones) {
    const struct {
        const char* rules;
        std::chrono::seconds offset;
        std::chrono::year year;
    } zones[] = {{"EST5EDT,M3.2.0,M11.1.0", hours(-5), std::chrono::year(2026)},
                 {"CET-1CEST,M3.2.0,M11.1.0", hours(1), std::chrono::year(2008)},
                 {"NST3:30NDT,M3.2.0,M11.1.0", std::chrono::minutes(-210), std::chrono::year(2800)}};
    for (const auto& [rules, offset, year] : zones) {
        Support::useTimeZone(rules);
        const sys_seconds begin = sys_days(year / 3 / std::chrono::Sunday[2]) + hours(2) - offset;
        const sys_seconds end = sys_days(year / 11 / std::chrono::Sunday[1]) + hours(1) - offset;
        for (const sys_seconds middle :
             {begin, end, sys_seconds(sys_days(year / 7 / 1)), sys_seconds(sys_days(year / 12 / 31))}) {
            for (int step = -96; step <= 96; ++step) {
                const sys_seconds moment = middle + step * std::chrono::minutes(30);
                const std::int64_t seconds = moment.time_since_epoch().count();
                const bool summer = moment >= begin && moment < end;
                const std::string localText =
                    text(gmt(moment + offset + hours(summer ? 1 : 0))).substr(0, 19);
                SCOPED_TRACE(rules + (' ' + localText));

                Time time(seconds, Time::Gmt);
                EXPECT_EQ(text(time), text(gmt(moment)));
                // The hour that local time skips is reached on the way and may come out an hour off.
                if (moment < begin || moment >= begin + hours(1)) {
                    EXPECT_EQ(time.getTime(), seconds);
                    time.toTime(Time::Local);
                    EXPECT_EQ(text(time), localText);
                }
                const Time local(seconds, Time::Local);
                EXPECT_EQ(text(local), localText);
                const std::int64_t difference = local.getTime() - seconds;
                const bool twice = moment >= end - hours(1) && moment < end + hours(1);
                EXPECT_TRUE(difference == 0 || (twice && std::abs(difference) == 3600)) << difference;
                ASSERT_FALSE(HasFailure());
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

    // One field is enough.
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
    EXPECT_EQ(time.toString("%A %a %B %b %G|%Y %y %m %d %e|%H:%M:%S %Z|%Q %% %%Y%"),
              "Tuesday Tue March Mar MR|2024 24 03 05 5|06:07:08 GMT|%Q % %Y%");
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
    const Time gmt = Time::currentGmtTime();
    const std::int64_t before = gmt.getTime();
    const Time local = Time::currentLocalTime();
    const std::string date = Time::currentDateInGMFormat();
    const Time after = Time::currentLocalTime();
    EXPECT_TRUE(gmt.zone == Time::Gmt && local.zone == Time::Local);
    EXPECT_GT(before, 1700000000);
    EXPECT_TRUE(before <= local.getTime() && local.getTime() <= after.getTime());
    EXPECT_THAT(date, testing::AnyOf(local.toString("%d%G%y"), after.toString("%d%G%y")));
}
