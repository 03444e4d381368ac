#pragma once

#include <cstddef>
#include <functional>

namespace Base {

/// Calls `action` once with each number from 0 to `count` - 1, in any order and on several threads at the
/// same time, and returns when all is done. The action must not throw.
void parallelLoop(std::size_t count, const std::function<void(std::size_t)>& action);

}  // namespace Base
