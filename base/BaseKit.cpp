#include "base/BaseKit.h"

#include "base/Environment.h"
#include "base/log/Logger.h"

namespace Base {

InitializeDelegate::~InitializeDelegate() = default;

std::string InitializeDelegate::enabledLoggers() const {
    return Environment::getEnvVariable("KYM_LOG");
}

std::string InitializeDelegate::logFile() const {
    return Environment::getEnvVariable("KYM_LOG_FILE");
}

void BaseKit::initialize(const InitializeDelegate* delegate) {
    const InitializeDelegate defaults;
    const InitializeDelegate& chosen = delegate ? *delegate : defaults;
    log::configureLoggers(chosen.enabledLoggers(), chosen.logFile());
}

}  // namespace Base
