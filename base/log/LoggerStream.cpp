#include "base/log/LoggerStream.h"

#include "base/log/LogOutput.h"

namespace Base::log {

LoggerStream::LoggerStream(const Logger& logger)
    : mText(logger.isOn() ? std::make_unique<std::ostringstream>() : nullptr) {}

LoggerStream::~LoggerStream() {
    if (mText) {
        writeLog(mText->view());
    }
}

}  // namespace Base::log
