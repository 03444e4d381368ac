#include "base/CommandLine.h"

#include <string>
#include <vector>

#include "gtest/gtest.h"

namespace {

using namespace Base::CommandLine;

// What is quoted how, the fuzzer "quoting" and the starts of real programs tell.
TEST(CommandLine, RefusesWhatCannotBePassed) {
    for (const std::string& bad :
         {std::string("a\0b", 3), std::string("\xFF"), std::string("\xC3"), std::string("\xC1\xBF")}) {
        EXPECT_THROW(programCommandLine("p", {"x", bad}), Base::TaskError);
        EXPECT_THROW(programCommandLine(bad, {}), Base::TaskError);
        EXPECT_THROW(batchCommandLine("c", "s.bat", {bad}), Base::TaskError);
        EXPECT_THROW(batchCommandLine("c", bad + ".bat", {}), Base::TaskError);
    }
    EXPECT_THROW(batchCommandLine("c", "s.bat", {"\r"}), Base::TaskError);
    EXPECT_THROW(programCommandLine("a\"b", {}), Base::TaskError);
    for (const std::string script :
         {"a\"b.bat", "s.bat\\", "s.bat.", "s.bat ", "x.exe:s.bat", "a\n.bat", "s.exe"}) {
        EXPECT_THROW(batchCommandLine("c", script, {}), Base::TaskError) << script;
    }
    try {
        programCommandLine("p", {"a\n\xC3\xA4\xFF\xE2\x82\x01" + std::string(250, 'x')});
        ADD_FAILURE() << "no error";
    } catch (const Base::TaskError& error) {
        const std::string message = error.what();
        EXPECT_TRUE(message.starts_with("The argument \"a\\x0A\xC3\xA4\\xFF\\xE2\\x82\\x01x")) << message;
        EXPECT_TRUE(message.ends_with("xxx...\" cannot be passed to a program: it is not UTF-8.")) << message;
    }
}

TEST(CommandLine, LimitsCountUtf16Units) {
    const std::string wide = "\xF0\x9F\x98\x80";  // four bytes, two units
    const auto program = [&wide](std::size_t units) {
        return programCommandLine("p", {wide + std::string(units - std::string("\"p\" ").size() - 2, 'x')});
    };
    const auto batch = [&wide](std::size_t units) {
        const std::string line = R"("c" /d /e:ON /v:OFF /c ""s.bat" "")";
        return batchCommandLine("c", "s.bat", {wide + std::string(units - line.size() - 3, 'x')});
    };
    EXPECT_EQ(program(32766).size(), 32768U);
    EXPECT_THROW(program(32767), Base::TaskError);
    EXPECT_EQ(batch(8190).size(), 8192U);
    EXPECT_THROW(batch(8191), Base::TaskError);
}

TEST(CommandLine, NothingHidesTheExtensionOfABatchFile) {
    for (const char* path : {"x.bat", "C:\\d\\x.CMD", "x.BaT.", "x.bat . .", "x.bat::$DATA", "x.bat.:s",
                             "C:x.cmd", "d/x.bat", "x.exe:y.bat", "C:\\d\\x.bat\\.", ".bat"}) {
        EXPECT_TRUE(isBatchFile(path)) << path;
    }
    for (const char* path : {"", "bat", "x.bat.exe", "x.bats", "d.bat\\x.exe", "C:\\", "x.bat_", "..."}) {
        EXPECT_FALSE(isBatchFile(path)) << path;
    }
}

TEST(EnvironmentBlock, HoldsExactlyTheGivenVariablesInTheOrderOfTheSystem) {
    using namespace std::string_literals;
    EXPECT_EQ(environmentBlock({}), u"\0\0"s);
    EXPECT_EQ(environmentBlock({{"", "x"}}), u"\0\0"s);
    EXPECT_EQ(environmentBlock({{"b", "2"},
                                {"A", ""},
                                {"_", "4"},
                                {"C", "=\xE2\x82\xAC"},
                                {"a\xC3\xA4", "\xF0\x9F\x98\x80"},
                                {"aZ", "3"},
                                {"a\xC3\x84", "5"}}),
              u"A=\0aZ=3\0a\u00E4=\U0001F600\0b=2\0C==\u20AC\0_=4\0\0"s);
    const std::vector<std::pair<std::string, std::string>> bad = {
        {"NA=ME", "x"}, {"=C:", "x"}, {"NAME"s + '\0', "x"}, {"NAME", "x\0y"s}, {"NAME", "\xFF"}};
    for (const auto& [name, value] : bad) {
        try {
            environmentBlock({{"A", "1"}, {name, value}});
            ADD_FAILURE() << name;
        } catch (const Base::TaskError& error) {
            EXPECT_NE(std::string(error.what()).find("variable " + name.substr(0, 4)), std::string::npos)
                << error.what();
        }
    }
}

}  // namespace
