#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

/// Shows on standard error, when that is a terminal, what is being done and for how long; begins after a
/// moment, so that what is quick shows nothing. The line goes away with the object, and standard error is not
/// written to by others until then.
class Progress {
  public:
    /// `text` is ASCII, like "Reading the departments".
    explicit Progress(const std::string& text);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

  private:
    void show(const std::string& text);

    std::mutex mMutex;
    std::condition_variable mEnded;
    bool mHasEnded = false;
    std::thread mThread;
};
