#pragma once

#include <cstdint>
#include <ctime>

/// The C run-time's conversions between seconds since the start of 1970 (GMT) and broken-down time, with 64
/// bits on every system and safe in several threads. Local time is that of the zone which the variable TZ or
/// the system sets at the time of the call.
namespace Base::Platform {

/// Breaks a time down. False, and `result` is unchanged, when the run-time cannot: no time before 1970 or
/// after the year 3000 on Windows.
bool breakDownLocal(std::int64_t seconds, std::tm& result);
bool breakDownGmt(std::int64_t seconds, std::tm& result);

/// The seconds of a local time, -1 when they cannot be told. Fields out of their ranges are carried first;
/// then the run-time decides whether it is daylight-saving time.
std::int64_t secondsOfLocal(std::tm time);

/// How many seconds the zone's standard time is west of GMT.
std::int64_t secondsWestOfGmt();

/// Whether the zone has daylight-saving time at all.
bool hasDaylightSaving();

}  // namespace Base::Platform
