#pragma once

#include <string>

#include "base/platform/Export.h"

namespace Base {

/// What a program may settle when it initialises the library. Every answer has a default.
class BASE_EXPORT InitializeDelegate {
  public:
    virtual ~InitializeDelegate();

    /// The loggers to switch on: names separated by commas, or "all". Default: the value of KYM_LOG.
    virtual std::string enabledLoggers() const;

    /// The file to which log lines are appended; empty means standard error. Default: the value of
    /// KYM_LOG_FILE.
    virtual std::string logFile() const;
};

namespace BaseKit {

/// Sets up logging. `delegate` may be null, which gives the defaults, and is not kept. Without this call the
/// defaults hold from the first use of a logger on.
BASE_EXPORT void initialize(const InitializeDelegate* delegate);

}  // namespace BaseKit
}  // namespace Base
