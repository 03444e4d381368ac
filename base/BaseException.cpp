#include "base/BaseException.h"

#include <utility>

namespace Base {

BaseException::BaseException(std::string message) : mMessage(std::move(message)) {}
BaseException::BaseException(const BaseException&) = default;
BaseException& BaseException::operator=(const BaseException&) = default;
BaseException::~BaseException() = default;

const char* BaseException::what() const noexcept { return mMessage.c_str(); }

}  // namespace Base
