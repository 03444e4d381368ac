#include <cstdlib>
#include <string>

#include "base/Environment.h"
#include "base/FileManager.h"
#include "base/SmartAssert.h"
#include "base/log/LoggerStream.h"

#include "gtest/gtest.h"
#include "tests/support/ScratchSupport.h"

namespace {

namespace fs = boost::filesystem;
using Base::log::Logger;
using Base::log::LoggerStream;

class LogTest : public testing::Test {
  protected:
    ~LogTest() override { Support::logTo("", ""); }

    const Support::Scratch scratch;
    const fs::path file = scratch / "trace é.log";
};

struct Costly {
    int* formatted;
    friend std::ostream& operator<<(std::ostream& stream, const Costly& value) {
        return stream << ++*value.formatted;
    }
};

TEST_F(LogTest, OnlyLoggersThatAreNamedWriteAndTheyWriteWhole) {
    const Logger info("kym.info");
    Support::logTo(" kym.info , kym.other", file);
    const Logger verbose("kym.verbose");
    int formatted = 0;
    {
        LoggerStream off(verbose);
        EXPECT_FALSE(off);
        off << Costly{&formatted} << std::endl;
        LoggerStream outer(info);
        ASSERT_TRUE(outer);
        outer << "  outer " << 1 << std::endl;
        LoggerStream(info) << "inner" << std::endl;
        EXPECT_EQ(Base::FileManager::readFile(file), "inner\n");
        outer << "tail" << std::endl;
    }
    EXPECT_EQ(formatted, 0);
    Support::logTo("kym", file);
    EXPECT_FALSE(info.isOn());
    Support::logTo("all", file);
    LoggerStream(verbose) << "appended" << std::endl;
    EXPECT_EQ(Base::FileManager::readFile(file), "inner\n  outer 1\ntail\nappended\n");
}

TEST_F(LogTest, AnUnusableLogFileIsToldOnceAndStandardErrorIsUsed) {
    testing::internal::CaptureStderr();
    const fs::path missing = scratch / "missing" / "trace.log";
    Support::logTo("all", missing);
    LoggerStream(Logger("kym.info")) << "still here" << std::endl;
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_EQ(written.find("Cannot open the log file " + missing.string()), 0U) << written;
    EXPECT_EQ(written.substr(written.find('\n') + 1), "still here\n");
}

TEST_F(LogTest, AFailedAssertionIsOneLine) {
    Support::logTo("base.assert", file);
    Base::smart_assert("index < mList->size()", 300, "/home/me/kym/List.cpp", 12, "at")
        .value("index", 7)
        .value("size", 3)
        .message("out of range");
    Base::smart_assert("!name.empty()", 300, "C:\\kym\\Name.cpp", 1, "find").message("empty");
    EXPECT_EQ(Base::FileManager::readFile(file),
              "Assertion failed (level 300): index < mList->size(), List.cpp:12, at: index = 7, size = 3: "
              "out of range\n"
              "Assertion failed (level 300): !name.empty(), Name.cpp:1, find: empty\n");
}

const Logger& exitLogger() {
    static constinit Base::log::ProcessLogger logger("exit.early");
    return logger.get();
}

struct LateSpeaker {
    ~LateSpeaker() {
        const bool late = static_cast<bool>(LoggerStream(exitLogger()));
        LoggerStream(Logger("exit.late"))
            << (late ? "a logger that is gone" : "at the very end") << std::endl;
    }
};

TEST(LogAtExit, TheVariablesSettleItAndLateStreamsDoNoHarm) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process in which no logger has been used yet
    Base::Environment::setEnvVariable("KYM_LOG", "exit.late,exit.early");
    const auto run = [] {
        static const LateSpeaker speaker;
        LoggerStream(exitLogger()) << "first" << std::endl;
        std::exit(0);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "at the very end");
    Base::Environment::setEnvVariable("KYM_LOG", "");
}

}  // namespace
