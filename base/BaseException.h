#pragma once

#include <exception>
#include <string>

#include "base/platform/Export.h"

namespace Base {

/// The root of the library's own exceptions. It carries one complete message, ready to be shown to a user:
/// bytes that are not UTF-8, and control characters other than tabs and line breaks, are replaced by \xNN.
class BASE_EXPORT BaseException : public std::exception {
  public:
    explicit BaseException(const std::string& message);
    BaseException(const BaseException&);
    BaseException& operator=(const BaseException&);
    ~BaseException() override;

    const char* what() const noexcept override;

  private:
    std::string mMessage;
};

}  // namespace Base
