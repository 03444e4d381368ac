#include "programs/common/Progress.h"

#include <chrono>
#include <iostream>

#include "base/platform/Terminal.h"

Progress::Progress(const std::string& text) {
    if (Base::Platform::errorOutputIsTerminal()) {
        mThread = std::thread([this, text] { show(text); });
    }
}

Progress::~Progress() {
    if (mThread.joinable()) {
        {
            const std::lock_guard lock(mMutex);
            mHasEnded = true;
        }
        mEnded.notify_one();
        mThread.join();
    }
}

void Progress::show(const std::string& text) {
    using namespace std::chrono;
    const auto start = steady_clock::now();
    std::size_t width = 0;
    std::unique_lock lock(mMutex);
    while (!mEnded.wait_for(lock, milliseconds(500), [this] { return mHasEnded; })) {
        const auto passed = duration_cast<seconds>(steady_clock::now() - start).count();
        const std::string line = text + " ... " + std::to_string(passed) + " s";
        width = line.size();
        std::cerr << '\r' << line << std::flush;
    }
    if (width != 0) {
        std::cerr << '\r' << std::string(width, ' ') << '\r' << std::flush;
    }
}
