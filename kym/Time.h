#pragma once

#include <cstdint>
#include <string>

#include "base/platform/Export.h"

namespace Kym {

/// A calendar date and time of day, labelled with a time zone.
///
/// A time is empty when its six fields are zero; it is valid when it is empty or a real date from the year
/// 1755 on. Several operations below behave unlike what one expects of a calendar. That is deliberate: what
/// uses them relies on it.
///
///     Time time(2024, 2, 29, 12, 0, 0, Time::Gmt);
///     time.addDay(1);
///     time.toString(Time::IsoExtended);  // 2024-03-01T12:00:00
class KYM_EXPORT Time {
  public:
    enum TimeZone : int { Local = 0, Gmt = 1 };

    /// "%a %b %d %H:%M:%S %Y", "%Y%m%dT%H%M%S" and "%Y-%m-%dT%H:%M:%S".
    enum TimeFormat : int { Standard = 0, IsoBasic = 1, IsoExtended = 2 };

    std::int32_t year = 0;
    std::uint8_t month = 0;  ///< 1 to 12
    std::uint8_t day = 0;    ///< 1 to the length of the month
    std::uint8_t hour = 0;
    std::uint8_t minute = 0;
    std::uint8_t second = 0;
    TimeZone zone = Local;

    /// An empty local time.
    Time() = default;

    /// `std::runtime_error` when the fields make no valid time.
    Time(int year, int month, int day, int hour, int minute, int second, TimeZone zone);

    /// As `setTime`.
    Time(std::int64_t seconds, TimeZone zone);

    /// An empty time of the zone. The text is deliberately not parsed.
    Time(const std::string& text, TimeFormat format, TimeZone zone);
    Time(const std::string& text, const std::string& format, TimeZone zone);

    static Time currentLocalTime();
    static Time currentGmtTime();

    /// The current local date as day, two letters of the month and two digits of the year: "15NO26".
    static std::string currentDateInGMFormat();

    /// Sets the fields from the seconds since the start of 1970 (GMT), broken down in this time's zone. A
    /// value that the C run-time cannot break down (on Windows before 1970 and after the year 3000) clears
    /// the time.
    void setTime(const std::int64_t& seconds);

    /// The seconds since the start of 1970 (GMT); -1 when the run-time cannot tell them, and for the second
    /// before that start. Of a local hour that occurs twice the run-time picks one. A GMT time goes through
    /// local time, so that one which meets the hour that local time skips may come out an hour off.
    std::int64_t getTime() const;

    /// Converts the time into the zone. When `getTime` fails, nothing changes, the zone included.
    void toTime(TimeZone zone);

    /// Relabels the time; the fields deliberately stay as they are. `toTime` converts.
    void setTimeZone(TimeZone zone);

    /// Empties the time; the zone stays.
    void clear();

    bool isEmpty() const;
    bool isValid() const;
    bool isLeap() const;

    /// 0 is Sunday. January and February belong to the year before, but deliberately to the century of their
    /// own: in a year divisible by 400 they come out one day late (the first of January 2000, a Saturday, is
    /// 0). For valid times.
    int dayOfWeek() const;

    /// 1 is the first of January. `std::runtime_error` before the year 1755.
    int dayOfYear() const;

    /// Adds to the year and to nothing else, so that a 29 February may become invalid. Years beyond 32 bits
    /// wrap around.
    void addYear(int count);

    /// Adds to the month, carrying into the year. The day deliberately stays, so that 31 January plus one
    /// month is the invalid 31 February.
    void addMonth(int count);

    /// Add to the time, carrying into the greater fields. `std::runtime_error`, and nothing is changed, when
    /// the date that results is not valid.
    void addDay(int count);
    void addHour(int count);
    void addMinute(int count);
    void addSecond(int count);

    /// How much later this time is than the other. Zones are deliberately neither compared nor converted, and
    /// the seconds are those of 32 bits: times more than 68 years apart wrap around.
    int diffSecond(const Time& other) const;
    double diffMinute(const Time& other) const;
    double diffHour(const Time& other) const;
    double diffDay(const Time& other) const;

    /// Writes the time: %A %a weekday, %B %b month, %G two letters of the month, %Y %y year, %m month, %d
    /// day, %e day unpadded, %H %M %S, %Z "GMT" or nothing, %% a "%". Everything else stays as it stands. An
    /// empty time gives an empty text; `std::runtime_error` for an invalid one.
    std::string toString(const std::string& format) const;
    std::string toString(TimeFormat format) const;

    /// Compare with the other time converted into this one's zone. `<` and `>` deliberately hold as soon as
    /// any one field, from the year to the second, is smaller (greater) than the other's, whatever the fields
    /// before it: 2020-01-01 is both less and greater than 2019-12-31, and no order to sort by.
    bool operator==(const Time& other) const;
    bool operator<(const Time& other) const;
    bool operator>(const Time& other) const;

  private:
    /// Where parsing would be: tells "kym.info" that it is not offered. Nothing calls it.
    void setTime(const std::string& text, const std::string& format);
};

}  // namespace Kym
