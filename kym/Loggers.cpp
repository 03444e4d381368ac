#include "kym/Loggers.h"

namespace Kym {

const Base::log::Logger& infoLogger() {
    static const Base::log::Logger logger("kym.info");
    return logger;
}

const Base::log::Logger& verboseLogger() {
    static const Base::log::Logger logger("kym.verbose");
    return logger;
}

}  // namespace Kym
