#pragma once

#include <cstddef>
#include <functional>

namespace Base {

/// Calls `action` once with each number from 0 to `count` - 1, in any order, and returns when all is done.
/// From `kParallelCount` on, several threads call it at the same time. It must not throw.
void parallelLoop(std::size_t count, const std::function<void(std::size_t)>& action);

constexpr std::size_t kParallelCount = 64;  // for less, threads cost more than they save

}  // namespace Base
