#pragma once

#include <memory>
#include <ostream>
#include <sstream>

#include "base/log/Logger.h"

namespace Base::log {

/// A stream on a logger, null when the logger is off. What was written goes out, whole, when the stream is
/// destroyed. With the logger off nothing is formatted; write it as a condition, so that not even the
/// operands are computed:
///
///     if (LoggerStream line{logger}) line << "saving " << FileManager::native(file) << std::endl;
class LoggerStream {
  public:
    explicit LoggerStream(const Logger& logger);
    ~LoggerStream();
    LoggerStream(const LoggerStream&) = delete;
    LoggerStream& operator=(const LoggerStream&) = delete;

    explicit operator bool() const { return mText != nullptr; }

    template <typename Value>
    LoggerStream& operator<<(const Value& value) {
        if (mText) {
            *mText << value;
        }
        return *this;
    }
    LoggerStream& operator<<(std::ostream& (*manipulator)(std::ostream&)) {
        if (mText) {
            *mText << manipulator;
        }
        return *this;
    }

  private:
    std::unique_ptr<std::ostringstream> mText;
};

}  // namespace Base::log
