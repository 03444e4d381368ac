// Formatting of times and counting of days: an input is a date, a time of day, a number and a format. The
// texts are those of the C run-time and the days those of the C++ calendar, but for the deliberate deviation
// of the weekday.
#include <algorithm>
#include <chrono>
#include <ctime>
#include <stdexcept>

#include "kym/Time.h"

#include "fuzz/Fuzz.h"

namespace {

using Fuzz::require;
using Kym::Time;
namespace chrono = std::chrono;

/// The same day of the years from 2000 to 2399; days come again every 400 years.
chrono::sys_days inKnownYears(const Time& time) {
    return chrono::sys_days(chrono::year(2000 + time.year % 400) / time.month / time.day);
}

/// Since the start of the year 0.
std::int64_t secondsOf(const Time& time) {
    const auto day = std::int64_t{146097} * (time.year / 400) +
                     (inKnownYears(time) - chrono::sys_days(chrono::year(2000) / 1 / 1)).count();
    return ((day * 24 + time.hour) * 60 + time.minute) * 60 + time.second;
}

std::tm fieldsOf(const Time& time) {
    std::tm fields{};
    fields.tm_year = time.year < 10000 ? time.year - 1900 : 0;
    fields.tm_mon = time.month - 1;
    fields.tm_mday = time.day;
    fields.tm_hour = time.hour;
    fields.tm_min = time.minute;
    fields.tm_sec = time.second;
    const bool isEarlyInCentury = time.year % 400 == 0 && time.month < 3;
    const unsigned weekday = chrono::weekday(inKnownYears(time)).c_encoding();
    fields.tm_wday = static_cast<int>(isEarlyInCentury ? (weekday + 1) % 7 : weekday);
    return fields;
}

std::string expected(const Time& time, std::string_view format) {
    constexpr std::string_view ofRuntime = "AaBbdHMSm";
    const std::string codes = "JAFEMRAPMYJNJLAUSEOCNODE";
    const std::tm fields = fieldsOf(time);
    std::string text;
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%' || i + 1 == format.size()) {
            text += format[i];
            continue;
        }
        const char specifier = format[++i];
        const std::string year = std::to_string(time.year);
        if (ofRuntime.find(specifier) != ofRuntime.npos) {
            const char part[] = {'%', specifier, '\0'};
            char buffer[32];
            text.append(buffer, std::strftime(buffer, sizeof buffer, part, &fields));
        } else if (specifier == 'Y') {
            text += year;  // which has four digits or more
        } else if (specifier == 'y') {
            text += year.substr(year.size() - 2);
        } else if (specifier == 'e') {
            text += std::to_string(time.day);
        } else if (specifier == 'G') {
            text += codes.substr(std::size_t{2} * (time.month - 1U), 2);
        } else if (specifier == 'Z') {
            text += time.zone == Time::Gmt ? "GMT" : "";
        } else {
            text += specifier == '%' ? "%" : std::string{'%', specifier};
        }
    }
    return text;
}

template <typename Call>
bool passes(const Call& call) {
    try {
        call();
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

bool isSame(const Time& left, const Time& right) {
    return left.year == right.year && left.month == right.month && left.day == right.day &&
           left.hour == right.hour && left.minute == right.minute && left.second == right.second &&
           left.zone == right.zone;
}

void checkCounting(const Time& time, int count) {
    const std::int64_t first = secondsOf(Time(1755, 1, 1, 0, 0, 0, Time::Gmt));
    const std::int64_t last = secondsOf(Time(0x7fffffff, 12, 31, 23, 59, 59, Time::Gmt));
    for (const auto& [add, length] : {std::pair(&Time::addSecond, 1),
                                      {&Time::addMinute, 60},
                                      {&Time::addHour, 3600},
                                      {&Time::addDay, 24 * 60 * 60}}) {
        const std::int64_t distance = std::int64_t{count} * length, sum = secondsOf(time) + distance;
        Time moved = time;
        const bool isMoved = passes([&, add = add] { (moved.*add)(count); });
        require(isMoved == (first <= sum && sum <= last), "a time moves within the years that there are");
        require(isMoved ? moved.isValid() && moved.zone == time.zone && secondsOf(moved) == sum
                        : isSame(moved, time),
                "it moves by the calendar, or not at all", time.toString("%Y-%m-%d"));
        require(!isMoved || moved.diffSecond(time) == static_cast<std::int32_t>(distance),
                "times differ by what was added");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz::Source source(Fuzz::textOf(data, std::min<std::size_t>(size, 24)));
    const std::uint64_t number = source.number();
    Time time;
    time.year = static_cast<std::int32_t>(number % 4 == 0 ? number >> 32U : 1700 + (number >> 2U) % 1400);
    time.month = static_cast<std::uint8_t>(source.byte() % 16);
    time.day = static_cast<std::uint8_t>(source.byte() % 34);
    time.hour = static_cast<std::uint8_t>(source.byte() % 26);
    time.minute = static_cast<std::uint8_t>(source.byte() % 64);
    time.second = static_cast<std::uint8_t>(source.byte() % 64);
    time.zone = source.byte() % 2 == 0 ? Time::Local : Time::Gmt;
    const auto count = static_cast<std::int32_t>(source.number() >> 32U) / 2;
    const std::string format(Fuzz::textOf(data, size).substr(std::min<std::size_t>(size, 24)));

    const chrono::year_month_day date(chrono::year(time.year % 400 + 2000), chrono::month(time.month),
                                      chrono::day(time.day));
    const bool isReal =
        time.year >= 1755 && date.ok() && time.hour < 24 && time.minute < 60 && time.second < 60;
    require(time.isValid() == (isReal || time.isEmpty()), "a time is valid when its date is real");
    require(passes([&] { time.toString(format); }) == time.isValid(), "an invalid time has no text");
    if (!isReal) {
        return 0;
    }
    require(time.toString(format) == expected(time, format), "a text is as the run-time has it", format);
    const bool isEarlyInCentury = time.year % 400 == 0 && time.month < 3;
    require(time.dayOfWeek() == fieldsOf(time).tm_wday, "the weekday is that of the calendar",
            isEarlyInCentury ? "one late" : "");
    const auto newYear = inKnownYears(Time(time.year, 1, 1, 0, 0, 0, Time::Gmt));
    require(time.dayOfYear() == (inKnownYears(time) - newYear).count() + 1, "the days of a year are counted");
    checkCounting(time, count);
    return 0;
}
