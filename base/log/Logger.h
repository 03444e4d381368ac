#pragma once

#include <string>

namespace Base::log {

/// A named trace logger. It is on when the log configuration names it (see `BaseKit`), and off otherwise; one
/// without a name is always off.
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

/// A logger that belongs to the process: made on first use, destroyed when the process ends. What outlives it
/// may go on asking for it and gets a logger that is off. To be a static object, which needs no destruction.
class ProcessLogger {
  public:
    constexpr explicit ProcessLogger(const char* name) : mName(name) {}
    ProcessLogger(const ProcessLogger&) = delete;
    ProcessLogger& operator=(const ProcessLogger&) = delete;

    const Logger& get() { return mLogger ? *mLogger : make(); }

  private:
    friend struct ProcessLoggersEnd;

    const Logger& make();

    const char* mName;
    const Logger* mLogger = nullptr;
};

/// Settles which loggers, living and to come, are on (names separated by commas, or "all") and the file that
/// lines are appended to; an empty name means standard error. When the file cannot be opened, standard error
/// is used and told so.
void configureLoggers(const std::string& enabled, const std::string& file);

}  // namespace Base::log
