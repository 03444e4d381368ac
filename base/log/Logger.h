#pragma once

#include <string>

namespace Base::log {

/// A named trace logger. It is on when the log configuration names it (see `BaseKit`), and off otherwise.
class Logger {
  public:
    explicit Logger(std::string name);
    ~Logger();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    const std::string& name() const { return mName; }
    bool isOn() const { return mOn; }

  private:
    friend void reconfigureLoggers();

    std::string mName;
    bool mOn;
};

}  // namespace Base::log
