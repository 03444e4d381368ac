#include "base/platform/Calendar.h"

#include <time.h>

namespace Base::Platform {

static_assert(sizeof(std::time_t) == sizeof(std::int64_t));

namespace {

using BreakDown = std::tm*(const std::time_t*, std::tm*);

bool breakDown(BreakDown& function, std::int64_t seconds, std::tm& result) {
    std::tm time{};
    const auto value = static_cast<std::time_t>(seconds);
    if (!function(&value, &time)) {
        return false;
    }
    result = time;
    return true;
}

}  // namespace

bool breakDownLocal(std::int64_t seconds, std::tm& result) {
    ::tzset();
    return breakDown(::localtime_r, seconds, result);
}

bool breakDownGmt(std::int64_t seconds, std::tm& result) {
    return breakDown(::gmtime_r, seconds, result);
}

std::int64_t secondsOfLocal(std::tm time) {
    // Left to itself, mktime adds what is beyond a minute across a change to or from daylight-saving time.
    const std::time_t asGmt = ::timegm(&time);
    std::tm normal{};
    if (!::gmtime_r(&asGmt, &normal)) {
        return -1;
    }
    normal.tm_isdst = -1;
    return std::mktime(&normal);
}

std::int64_t secondsWestOfGmt() {
    ::tzset();
    return ::timezone;
}

bool hasDaylightSaving() {
    ::tzset();
    return ::daylight != 0;
}

}  // namespace Base::Platform
