#include "kym/Loggers.h"

namespace Kym {

namespace {

constinit Base::log::ProcessLogger info("kym.info");
constinit Base::log::ProcessLogger verbose("kym.verbose");

}  // namespace

const Base::log::Logger& infoLogger() {
    return info.get();
}

const Base::log::Logger& verboseLogger() {
    return verbose.get();
}

}  // namespace Kym
