#include "base/SmartAssert.h"

#include <string_view>

#include "base/log/LoggerStream.h"

namespace Base {
namespace {

std::string_view fileName(std::string_view file) {
    const std::size_t separator = file.find_last_of("/\\");
    return separator == file.npos ? file : file.substr(separator + 1);
}

const log::Logger& assertLogger() {
    static constinit log::ProcessLogger logger("base.assert");
    return logger.get();
}

}  // namespace

smart_assert::smart_assert(const char* expression, int level, const char* file, int line,
                           const char* function)
    : mOn(assertLogger().isOn()) {
    if (!mOn) {
        return;
    }
    std::ostringstream head;
    head << "Assertion failed (level " << level << "): " << expression << ", " << fileName(file) << ':'
         << line << ", " << function;
    mHead = head.str();
}

smart_assert::~smart_assert() {
    if (!mOn) {
        return;
    }
    try {
        log::LoggerStream line(assertLogger());
        line << mHead;
        if (!mValues.empty()) {
            line << ':' << mValues;
        }
        if (!mMessage.empty()) {
            line << ": " << mMessage;
        }
        line << std::endl;
    } catch (...) {
        // An assertion is reported where that is possible, and never becomes an error of its own.
    }
}

smart_assert& smart_assert::message(const std::string& text) {
    mMessage = text;
    return *this;
}

}  // namespace Base
