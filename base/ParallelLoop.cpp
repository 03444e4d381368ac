#include "base/ParallelLoop.h"

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

namespace Base {

namespace {

constexpr std::size_t kLargestNumberOfThreads = 8;

}  // namespace

void parallelLoop(std::size_t count, const std::function<void(std::size_t)>& action) {
    const std::size_t threads =
        std::min<std::size_t>({std::thread::hardware_concurrency(), kLargestNumberOfThreads, count});
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
        for (std::size_t number = next++; number < count; number = next++) {
            action(number);
        }
    };
    std::vector<std::jthread> helpers;
    try {
        while (helpers.size() + 1 < threads) {
            helpers.emplace_back(work);
        }
    } catch (const std::system_error&) {
        // The threads that there are do it all.
    }
    work();
}

}  // namespace Base
