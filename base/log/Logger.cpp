#include "base/log/Logger.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include "base/BaseKit.h"
#include "base/log/LogOutput.h"
#include "base/platform/FileSystem.h"

namespace Base::log {
namespace {

struct Settings {
    std::vector<std::string> enabled;
    std::unique_ptr<Platform::AppendFile> file;  // null: standard error
    std::vector<Logger*> loggers;
    std::vector<ProcessLogger*> processLoggers;
    bool settled = false;
    bool ended = false;  // the loggers of the process are gone

    bool isEnabled(const std::string& name) const {
        return !name.empty() && std::any_of(enabled.begin(), enabled.end(), [&](const std::string& item) {
            return item == "all" || item == name;
        });
    }
};

// Never destroyed: loggers and streams of other files' statics may be used after any static of this file.
Settings& settings() {
    static Settings& instance = *new Settings;
    return instance;
}

std::vector<std::string> namesIn(const std::string& list) {
    std::vector<std::string> names;
    boost::algorithm::split(names, list, boost::algorithm::is_any_of(","));
    for (std::string& name : names) {
        boost::algorithm::trim(name);
    }
    names.erase(std::remove(names.begin(), names.end(), std::string()), names.end());
    return names;
}

}  // namespace

Logger::Logger(std::string name) : mName(std::move(name)), mOn(false) {
    if (!settings().settled) {
        BaseKit::initialize(nullptr);
    }
    mOn = settings().isEnabled(mName);
    settings().loggers.push_back(this);
}

Logger::~Logger() {
    std::vector<Logger*>& loggers = settings().loggers;
    loggers.erase(std::remove(loggers.begin(), loggers.end(), this), loggers.end());
}

struct ProcessLoggersEnd {
    ~ProcessLoggersEnd() {
        settings().ended = true;
        for (ProcessLogger* logger : settings().processLoggers) {
            delete std::exchange(logger->mLogger, nullptr);
        }
    }
};

const Logger& ProcessLogger::make() {
    static const ProcessLoggersEnd end;
    if (settings().ended) {
        mLogger = new Logger("");  // for good
    } else {
        settings().processLoggers.push_back(this);
        mLogger = new Logger(mName);
    }
    return *mLogger;
}

void configureLoggers(const std::string& enabled, const std::string& file) {
    Settings& current = settings();
    std::vector<std::string> names = namesIn(enabled);
    std::unique_ptr<Platform::AppendFile> output;
    std::string complaint;
    if (!names.empty() && !file.empty()) {
        boost::system::error_code error;
        output = std::make_unique<Platform::AppendFile>(Platform::reachablePath(file), error);
        if (error) {
            complaint = "Cannot open the log file " + file + ": " + error.message() +
                        "; logging to standard error.\n";
            output.reset();
        }
    }
    current.enabled = std::move(names);
    current.file = std::move(output);
    current.settled = true;
    for (Logger* logger : current.loggers) {
        logger->mOn = current.isEnabled(logger->mName);
    }
    writeLog(complaint);
}

void writeLog(std::string_view text) noexcept {
    if (settings().file) {
        settings().file->append(text);
    } else {
        std::fwrite(text.data(), 1, text.size(), stderr);
        std::fflush(stderr);
    }
}

}  // namespace Base::log
