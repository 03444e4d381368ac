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
    friend void configureLoggers(const std::string& enabled, const std::string& file);

    std::string mName;
    bool mOn;
};

/// Settles which loggers, living and to come, are on (names separated by commas, or "all") and the file that
/// lines are appended to; an empty name means standard error. When the file cannot be opened, standard error
/// is used and told so.
void configureLoggers(const std::string& enabled, const std::string& file);

}  // namespace Base::log
