#pragma once

#include <exception>

#include "kym/Loggers.h"

namespace Kym {

/// Does what is still to be done after a failure, which the caller is told; a second one is logged only.
template <typename Action>
void runAfterFailure(const Action& action) {
    try {
        action();
    } catch (const std::exception& error) {
        logInfo("Error: ", error.what());
    }
}

}  // namespace Kym
