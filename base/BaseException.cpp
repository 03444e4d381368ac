#include "base/BaseException.h"

#include "base/Text.h"

namespace Base {

BaseException::BaseException(const std::string& message) : mMessage(Text::readableLines(message)) {}
BaseException::BaseException(const BaseException&) = default;
BaseException& BaseException::operator=(const BaseException&) = default;
BaseException::~BaseException() = default;

const char* BaseException::what() const noexcept {
    return mMessage.c_str();
}

}  // namespace Base
