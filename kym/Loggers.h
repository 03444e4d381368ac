#pragma once

#include "base/log/LoggerStream.h"

namespace Kym {

/// "kym.info": one line per major step. "kym.verbose": the detail. Made on first use, destroyed at exit; the
/// stores, which live on, then get a logger that is off.
const Base::log::Logger& infoLogger();
const Base::log::Logger& verboseLogger();

}  // namespace Kym
