#pragma once

#include <stdexcept>

namespace Kym {

/// The one instance of a store. It is made by the first call and lives until the process ends: nothing ever
/// destroys it or sets the destroyed flag, so that the stores may be used from any exit path. A constructor
/// that throws leaves no instance, and the next call tries again.
template <typename Store>
Store& processWide() {
    static Store* instance = nullptr;
    static bool destroyed = false;
    if (instance) {
        return *instance;
    }
    if (destroyed) {
        throw std::runtime_error("Dead Reference Detected");
    }
    instance = new Store;
    return *instance;
}

}  // namespace Kym
