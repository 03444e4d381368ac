#include "kym/Time.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <functional>
#include <limits>
#include <stdexcept>

#include "base/SmartAssert.h"
#include "base/platform/Calendar.h"
#include "kym/Loggers.h"

namespace Kym {

namespace {

constexpr int firstYear = 1755;

constexpr std::array<const char*, 7> weekdays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                 "Thursday", "Friday", "Saturday"};
constexpr std::array<const char*, 12> months = {"January",   "February", "March",    "April",
                                                "May",       "June",     "July",     "August",
                                                "September", "October",  "November", "December"};
constexpr std::array<const char*, 12> monthCodes = {"JA", "FE", "MR", "AP", "MY", "JN",
                                                    "JL", "AU", "SE", "OC", "NO", "DE"};
constexpr std::array<int, 12> monthLengths = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

const char* formatText(Time::TimeFormat format) {
    switch (format) {
        case Time::Standard:
            return "%a %b %d %H:%M:%S %Y";
        case Time::IsoBasic:
            return "%Y%m%dT%H%M%S";
        case Time::IsoExtended:
            return "%Y-%m-%dT%H:%M:%S";
    }
    return "";
}

std::string padded(int value, std::size_t width) {
    std::string digits = std::to_string(value);
    digits.insert(0, width - std::min(width, digits.size()), '0');
    return digits;
}

std::int32_t wrapped(std::int64_t value) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

using Fields = std::array<int, 6>;

Fields fieldsOf(const Time& time) {
    return {time.year, time.month, time.day, time.hour, time.minute, time.second};
}

bool isLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

bool areValid(const Fields& fields) {
    const auto& [year, month, day, hour, minute, second] = fields;
    if (fields == Fields{}) {
        return true;
    }
    if (year < firstYear || month < 1 || month > 12) {
        return false;
    }
    const int length =
        month == 2 && isLeapYear(year) ? 29 : monthLengths[static_cast<std::size_t>(month - 1)];
    return day >= 1 && day <= length && hour >= 0 && hour <= 23 && minute >= 0 && minute <= 59 &&
           second >= 0 && second <= 59;
}

[[noreturn]] void refuseFields() {
    throw std::runtime_error("Kym::Time - Passed invalid datetime to constructor");
}

// A year that counts from March ends with the leap day; what is summed up is the Julian day number. In 64
// bits it is exact for every valid year.
std::int64_t dayNumber(const Time& time) {
    const bool beforeMarch = time.month < 3;
    const std::int64_t month = beforeMarch ? time.month + 9 : time.month - 3;
    const std::int64_t year = std::int64_t{time.year} - (beforeMarch ? 1 : 0);
    return time.day + (153 * month + 2) / 5 + 1721119 + 1461 * (year % 100) / 4 + 146097 * (year / 100) / 4;
}

Time onDay(std::int64_t number, const Time& timeOfDay) {
    const std::int64_t quarters = 4 * number - 6884477;
    const std::int64_t century = quarters / 146097;
    const std::int64_t inCentury = (quarters % 146097 / 4) * 4 + 3;
    const std::int64_t inYear = (inCentury % 1461 / 4 + 1) * 5 - 3;
    const std::int64_t month = inYear / 153;
    const std::int64_t year = 100 * century + inCentury / 1461 + (month >= 10 ? 1 : 0);
    if (year < firstYear || year > std::numeric_limits<std::int32_t>::max()) {
        refuseFields();
    }
    return {static_cast<int>(year),
            static_cast<int>(month >= 10 ? month - 9 : month + 3),
            static_cast<int>(inYear % 153 / 5) + 1,
            timeOfDay.hour,
            timeOfDay.minute,
            timeOfDay.second,
            timeOfDay.zone};
}

/// Sets a field that has `modulus` values to a sum; what it has no room for is returned.
int setWithCarry(std::uint8_t& field, std::int64_t sum, int modulus) {
    const std::int64_t rest = sum % modulus;
    field = static_cast<std::uint8_t>(rest < 0 ? rest + modulus : rest);
    return static_cast<int>(sum / modulus - (rest < 0 ? 1 : 0));
}

/// Sets the fields; false, and nothing is changed, when they cannot be told.
bool breakDown(std::int64_t seconds, Time& time) {
    std::tm fields{};
    const bool known = time.zone == Time::Local ? Base::Platform::breakDownLocal(seconds, fields)
                                                : Base::Platform::breakDownGmt(seconds, fields);
    if (!known || fields.tm_year > std::numeric_limits<int>::max() - 1900) {
        return false;
    }
    time.year = fields.tm_year + 1900;
    time.month = static_cast<std::uint8_t>(fields.tm_mon + 1);
    time.day = static_cast<std::uint8_t>(fields.tm_mday);
    time.hour = static_cast<std::uint8_t>(fields.tm_hour);
    time.minute = static_cast<std::uint8_t>(fields.tm_min);
    time.second = static_cast<std::uint8_t>(fields.tm_sec);
    return true;
}

/// Whether `compare` holds for any field of a time and the same one of the other time, in the time's zone.
template <typename Compare>
bool anyField(const Time& time, Time other, Compare compare) {
    other.toTime(time.zone);
    const Fields left = fieldsOf(time);
    const Fields right = fieldsOf(other);
    return !std::equal(left.begin(), left.end(), right.begin(), std::not_fn(compare));
}

}  // namespace

Time::Time(int y, int m, int d, int h, int min, int s, TimeZone z)
    : year(y),
      month(static_cast<std::uint8_t>(m)),
      day(static_cast<std::uint8_t>(d)),
      hour(static_cast<std::uint8_t>(h)),
      minute(static_cast<std::uint8_t>(min)),
      second(static_cast<std::uint8_t>(s)),
      zone(z) {
    if (!areValid({y, m, d, h, min, s})) {
        refuseFields();
    }
}

Time::Time(std::int64_t seconds, TimeZone z) : zone(z) {
    setTime(seconds);
}

Time::Time(const std::string&, TimeFormat, TimeZone z) : zone(z) {}

Time::Time(const std::string&, const std::string&, TimeZone z) : zone(z) {}

Time Time::currentLocalTime() {
    return {std::time(nullptr), Local};
}

Time Time::currentGmtTime() {
    return {std::time(nullptr), Gmt};
}

std::string Time::currentDateInGMFormat() {
    return currentLocalTime().toString("%d%G%y");
}

void Time::setTime(const std::int64_t& seconds) {
    if (!breakDown(seconds, *this)) {
        clear();
    }
}

void Time::setTime(const std::string&, const std::string&) {
    logInfo("setTime using format string is not implemented yet.");
}

std::int64_t Time::getTime() const {
    if (year < std::numeric_limits<int>::min() + 1900) {
        return -1;
    }
    std::tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    if (zone != Gmt) {
        return Base::Platform::secondsOfLocal(fields);
    }
    fields.tm_sec -= static_cast<int>(Base::Platform::secondsWestOfGmt());
    const std::int64_t seconds = Base::Platform::secondsOfLocal(fields);
    std::tm local{};
    if (!Base::Platform::breakDownLocal(seconds, local)) {
        return -1;
    }
    const bool daylightSaving = local.tm_isdst > 0 && Base::Platform::hasDaylightSaving();
    return daylightSaving ? seconds + 3600 : seconds;
}

void Time::toTime(TimeZone target) {
    if (target == zone) {
        return;
    }
    const std::int64_t seconds = getTime();
    Time converted = *this;
    converted.zone = target;
    if (seconds != -1 && breakDown(seconds, converted)) {
        *this = converted;
    }
}

void Time::setTimeZone(TimeZone label) {
    zone = label;
    toTime(label);
}

void Time::clear() {
    const TimeZone kept = zone;
    *this = Time();
    zone = kept;
}

bool Time::isEmpty() const {
    return fieldsOf(*this) == Fields{};
}

bool Time::isValid() const {
    return areValid(fieldsOf(*this));
}

bool Time::isLeap() const {
    return isLeapYear(year);
}

int Time::dayOfWeek() const {
    const int century = year / 100;
    int inCentury = year - 100 * century;
    int fromMarch = month - 2;
    if (fromMarch < 1) {
        fromMarch = month + 10;
        --inCentury;
    }
    const int sum =
        (13 * fromMarch - 1) / 5 - (2 * century) % 7 + day + inCentury + inCentury / 4 + century / 4 + 7;
    return sum % 7;
}

int Time::dayOfYear() const {
    const std::int64_t first = dayNumber(Time(year, 1, 1, 0, 0, 0, zone));
    const std::int64_t self = dayNumber(*this);
    if (!(first <= self && self < first + (isLeap() ? 366 : 365))) {
        Base::smart_assert("first <= self && self < first + (isLeap() ? 366 : 365)", 300, __FILE__, __LINE__,
                           __func__)
            .value("self", self)
            .message("day outside of its year");
    }
    return static_cast<int>(self - first) + 1;
}

void Time::addYear(int count) {
    year = wrapped(std::int64_t{year} + count);
}

void Time::addMonth(int count) {
    if (count != 0) {
        addYear(setWithCarry(month, std::int64_t{month} - 1 + count, 12));
        ++month;
    }
}

void Time::addDay(int count) {
    if (count != 0) {
        *this = onDay(dayNumber(*this) + count, *this);
    }
}

void Time::addHour(int count) {
    if (count != 0) {
        Time sum = *this;
        sum.addDay(setWithCarry(sum.hour, std::int64_t{hour} + count, 24));
        *this = sum;
    }
}

void Time::addMinute(int count) {
    if (count != 0) {
        Time sum = *this;
        sum.addHour(setWithCarry(sum.minute, std::int64_t{minute} + count, 60));
        *this = sum;
    }
}

void Time::addSecond(int count) {
    if (count != 0) {
        Time sum = *this;
        sum.addMinute(setWithCarry(sum.second, std::int64_t{second} + count, 60));
        *this = sum;
    }
}

int Time::diffSecond(const Time& other) const {
    const std::int64_t days = dayNumber(*this) - dayNumber(other);
    return wrapped(((days * 24 + hour - other.hour) * 60 + minute - other.minute) * 60 + second -
                   other.second);
}

double Time::diffMinute(const Time& other) const {
    return diffSecond(other) / 60.0;
}

double Time::diffHour(const Time& other) const {
    return diffMinute(other) / 60;
}

double Time::diffDay(const Time& other) const {
    return diffHour(other) / 24;
}

std::string Time::toString(const std::string& format) const {
    if (!isValid()) {
        throw std::runtime_error("Kym::Time::toString() - invalid time");
    }
    std::string text;
    if (isEmpty()) {
        return text;
    }
    const std::string weekday = weekdays[static_cast<std::size_t>(dayOfWeek())];
    const std::string monthName = months[month - 1U];
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%' || i + 1 == format.size()) {
            text += format[i];
            continue;
        }
        switch (const char specifier = format[++i]) {
            case '%':
                text += '%';
                break;
            case 'A':
                text += weekday;
                break;
            case 'a':
                text += weekday.substr(0, 3);
                break;
            case 'B':
                text += monthName;
                break;
            case 'b':
                text += monthName.substr(0, 3);
                break;
            case 'G':
                text += monthCodes[month - 1U];
                break;
            case 'Y':
                text += padded(year, 4);
                break;
            case 'y':
                text += padded(year % 100, 2);
                break;
            case 'm':
                text += padded(month, 2);
                break;
            case 'd':
                text += padded(day, 2);
                break;
            case 'e':
                text += padded(day, 1);
                break;
            case 'H':
                text += padded(hour, 2);
                break;
            case 'M':
                text += padded(minute, 2);
                break;
            case 'S':
                text += padded(second, 2);
                break;
            case 'Z':
                text += zone == Gmt ? "GMT" : "";
                break;
            default:
                text += {'%', specifier};
        }
    }
    return text;
}

std::string Time::toString(TimeFormat format) const {
    return toString(formatText(format));
}

bool Time::operator==(const Time& other) const {
    return !anyField(*this, other, std::not_equal_to<>());
}

bool Time::operator<(const Time& other) const {
    return anyField(*this, other, std::less<>());
}

bool Time::operator>(const Time& other) const {
    return anyField(*this, other, std::greater<>());
}

}  // namespace Kym
