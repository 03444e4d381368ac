#include "base/platform/Calendar.h"

#include <time.h>

namespace Base::Platform {

namespace {

// The end of the year 3000; the run-time may end the process when it is asked for more.
constexpr std::int64_t lastSecond = 32'535'215'999;

using BreakDown = int(std::tm*, const __time64_t*);

bool breakDown(BreakDown& function, std::int64_t seconds, std::tm& result) {
    std::tm time{};
    const __time64_t value = seconds;
    if (seconds < 0 || seconds > lastSecond || function(&time, &value) != 0) {
        return false;
    }
    result = time;
    return true;
}

}  // namespace

bool breakDownLocal(std::int64_t seconds, std::tm& result) {
    ::_tzset();
    return breakDown(::_localtime64_s, seconds, result);
}

bool breakDownGmt(std::int64_t seconds, std::tm& result) {
    return breakDown(::_gmtime64_s, seconds, result);
}

std::int64_t secondsOfLocal(std::tm time) {
    ::_tzset();
    time.tm_isdst = -1;
    return ::_mktime64(&time);
}

// The older run-time that MinGW-w64 links with has the variables only, the newer one warns of them.
#if defined(_UCRT) || defined(_MSC_VER)

std::int64_t secondsWestOfGmt() {
    ::_tzset();
    long seconds = 0;
    ::_get_timezone(&seconds);
    return seconds;
}

bool hasDaylightSaving() {
    ::_tzset();
    int hours = 0;
    ::_get_daylight(&hours);
    return hours != 0;
}

#else

std::int64_t secondsWestOfGmt() {
    ::_tzset();
    return _timezone;
}

bool hasDaylightSaving() {
    ::_tzset();
    return _daylight != 0;
}

#endif

}  // namespace Base::Platform
