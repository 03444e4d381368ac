#include "base/Task.h"

#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "base/FileManager.h"

#include "gtest/gtest.h"
#include "tests/support/ScratchSupport.h"

#if defined(_WIN32)
#include <algorithm>
#include <random>
#include <windows.h>

#include "base/CommandLine.h"
#include "base/Environment.h"
#include "base/platform/Process.h"

#include "tests/support/ChildSupport.h"
#endif

namespace {

namespace fs = boost::filesystem;
using Strings = std::vector<std::string>;

std::string failureOf(Base::Task& task) {
    try {
        task.launch();
    } catch (const Base::TaskError& error) {
        return error.what();
    }
    return "no failure";
}

std::string failureOf(const fs::path& program, const fs::path& directory = {}) {
    Base::Task task;
    task.setLaunchPath(program);
    task.setCurrentDirectoryPath(directory);
    return failureOf(task);
}

std::string failedStart(const fs::path& program) {
    return "Program " + Base::FileManager::native(program) + " could not be started: ";
}

TEST(Task, SaysWhyItCannotStart) {
    const Support::Scratch scratch;
    const fs::path file = scratch.write("text.txt", "no program");
    const std::string directory = "the working directory ";
    Base::Task unset;
    EXPECT_NE(failureOf(unset).find("No program"), std::string::npos);
    EXPECT_EQ(
        failureOf(file, scratch / "gone"),
        failedStart(file) + directory + Base::FileManager::native(scratch / "gone") + " does not exist");
    EXPECT_EQ(failureOf(file, file),
              failedStart(file) + directory + Base::FileManager::native(file) + " is not a directory");
    EXPECT_EQ(failureOf(file.parent_path()), failedStart(file.parent_path()) + "it is a directory");
    EXPECT_EQ(failureOf(scratch / "gone.bat"),
              failedStart(scratch / "gone.bat") + "there is no such batch file");
}

#if defined(_WIN32)

class StartTest : public testing::Test {
  protected:
    const Support::Scratch scratch;
    const fs::path report = scratch / "report";
    std::map<std::string, std::string> environment = {{"KYM_TEST_REPORT", report.string()},
                                                      {"KYM_TEST_CHILD", Support::childProgram().string()},
                                                      {"KYM_TEST_VALUE", "\"&echo x>marker&\""},
                                                      {"SystemRoot", "C:\\windows"}};

    void start(const fs::path& program, const Strings& arguments, const fs::path& directory = {}) {
        Base::Task task;
        task.setLaunchPath(program);
        task.setArguments(arguments);
        task.setCurrentDirectoryPath(directory);
        task.setEnvironment(environment);
        task.launch();
    }

    fs::path batchFile(const std::string& name) {
        return scratch.write(name, "@\"%KYM_TEST_CHILD%\" %*\r\n");
    }
};

// clang-format off
// What cmd.exe would take apart, expand or redirect.
const Strings hostile = {
    "", "a b", "a\tb", "\"", "\"x y\"", "a\"b c", "a\\", "a b\\", "\\\"", "a\\\\\"b\\", "&echo x>marker",
    "a&echo x>marker", "\"&echo x>marker&\"", "\"\"&echo x>marker", "|echo x>marker", "^",
    "^\"&echo x>marker", "<in", ">marker", "(a)", "!PATH!", "a=b,c;d", "/?", "*", "'a'`b`",
    "\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80"};
const Strings percent = {
    "%", "100%", "%PATH%", "a%KYM_TEST_VALUE%b", "%KYM_TEST_VALUE:~1%", "%%KYM_TEST_VALUE%%",
    "\"%KYM_TEST_VALUE%\"", "%1 %*", "%cd%", "%=C:%", "^%PATH^%"};
// clang-format on

// How many random starts there are: KYM_TEST_STARTS, else a few.
std::size_t startCount() {
    const std::string count = Base::Environment::getEnvVariable("KYM_TEST_STARTS");
    return count.empty() ? 100 : std::stoul(count);
}

class RandomStartTest : public StartTest {
  protected:
    static constexpr std::size_t together = 10;

    std::size_t below(std::size_t end) { return static_cast<std::size_t>(mRandom() % end); }

    // Short or, now and then, as long as can be.
    std::string text(const Strings& pieces) {
        std::string text;
        for (std::size_t i = below(8); i > 0; --i) {
            text += pieces[below(pieces.size())];
        }
        return below(2000) == 0 ? text + std::string(31000, 'x') + text : text;
    }

    fs::path reportOf(std::size_t number) const { return scratch / ("report" + std::to_string(number)); }

    void start(std::size_t number, const Strings& arguments) {
        environment["KYM_TEST_REPORT"] = reportOf(number).string();
        StartTest::start(Support::childProgram(), arguments);
    }

  private:
    std::mt19937 mRandom{11};
};

TEST_F(RandomStartTest, EveryArgumentArrivesByteForByte) {
    const Strings pieces = {"a",  " ", "\t", "\"", "\\", "\\\"", "%", "&", "\xC3\xA4", "\xF0\x9F\x98\x80",
                            "\n", "^", "*"};
    for (std::size_t done = 0; done < startCount(); done += together) {
        std::vector<Strings> lists(together);
        for (std::size_t number = 0; number < together; ++number) {
            std::size_t size = 0;
            for (std::size_t i = below(60); i > 0 && size < 500; --i) {
                size += lists[number].emplace_back(text(pieces)).size();
            }
            start(number, lists[number]);
        }
        for (std::size_t number = 0; number < together; ++number) {
            const Support::ChildReport got = Support::awaitReport(reportOf(number));
            ASSERT_EQ(got.arguments, lists[number]);
            ASSERT_EQ(got.words, lists[number]);
        }
    }
}

TEST_F(RandomStartTest, EveryEnvironmentArrivesByteForByte) {
    const Strings inNames = {"a", "A", "_", " ", "(", "%", ".", "\xC3\xA4", "\xE2\x82\xAC", "\t", "\""};
    const Strings inValues = {"a",  "=",  ";", "%", "\"",       "\\",
                              "\n", "\r", "$", " ", "\xC3\xA4", "\xF0\x9F\x98\x80"};
    const auto own = environment;
    for (std::size_t done = 0; done < startCount() / 10; done += together) {
        std::vector<Strings> expected(together);
        for (std::size_t number = 0; number < together; ++number) {
            environment = own;
            for (std::size_t i = below(100); i > 0; --i) {
                environment["v" + std::to_string(i) + text(inNames).substr(0, 100)] = text(inValues);
            }
            start(number, {});
            for (const auto& [name, value] : environment) {
                expected[number].push_back(name + '=' + value);
            }
        }
        for (std::size_t number = 0; number < together; ++number) {
            std::erase(expected[number], "SystemRoot=C:\\windows");  // which the report leaves out
            Strings got = Support::awaitReport(reportOf(number)).environment;
            std::sort(got.begin(), got.end());
            std::sort(expected[number].begin(), expected[number].end());
            ASSERT_EQ(got, expected[number]);
        }
    }
}

TEST_F(StartTest, EnvironmentAndDirectoryArriveExactly) {
    environment["LONG"] = std::string(32000, 'v') + "\xE2\x82\xAC";
    environment["\xC3\x84ther"] = "\xC3\xA4\\;=%x%";
    environment["a"] = environment["EMPTY"] = "";
    const fs::path directory = scratch / "working directory \xE2\x82\xAC";
    const fs::path program = directory / "a program \xC3\xA4.exe";
    fs::create_directory(directory);
    fs::copy_file(Support::childProgram(), program);
    start(program, {}, directory);
    const Support::ChildReport got = Support::awaitReport(report);
    EXPECT_EQ(
        got.environment,
        (Strings{"a=", "EMPTY=", "KYM_TEST_CHILD=" + environment["KYM_TEST_CHILD"],
                 "KYM_TEST_REPORT=" + report.string(), "KYM_TEST_VALUE=" + environment["KYM_TEST_VALUE"],
                 "LONG=" + environment["LONG"], "\xC3\x84ther=" + environment["\xC3\x84ther"]}));
    EXPECT_TRUE(fs::equivalent(got.directory, directory)) << got.directory;
}

TEST_F(StartTest, BatchFilesGetTheirArgumentsAndNothingElseRuns) {
    const fs::path folder = scratch / "b&c (100%) \xC3\xA4";
    fs::create_directory(folder);
    const fs::path plain = batchFile("x.bat");
    const fs::path odd = folder / "y ^.CMD";
    fs::copy_file(plain, odd);
    Strings all = hostile;
    all.push_back("END");
    for (const fs::path& script :
         {plain, odd, fs::path(plain.string() + "."), fs::path(plain.string() + " ")}) {
        start(script, all, fs::absolute(plain).parent_path());
        EXPECT_EQ(Support::awaitReport(report).arguments, all) << script;
    }
    for (const std::string& argument : hostile) {
        start(plain, {argument, "END"}, fs::absolute(plain).parent_path());
        EXPECT_EQ(Support::awaitReport(report).arguments, (Strings{argument, "END"}));
    }
    EXPECT_FALSE(fs::exists(scratch / "marker"));

    Base::Task task;
    task.setLaunchPath(plain.string() + "::$DATA");
    EXPECT_NE(failureOf(task), "no failure");
    task.setLaunchPath(plain);
    task.setArguments({"a\nb"});
    EXPECT_EQ(
        failureOf(task),
        failedStart(plain) +
            "The argument \"a\\x0Ab\" cannot be passed to a program: a batch file cannot get a line break.");

    // cmd.exe would run the file elsewhere.
    const std::string verbatim = "\\\\?\\" + folder.string();
    for (const std::string& directory : {verbatim, std::string("//server/share")}) {
        EXPECT_EQ(failureOf(plain, directory),
                  failedStart(plain) + "no batch file can start in the working directory " +
                      Base::FileManager::native(directory) + ", which does not begin with a drive letter");
    }
}

// Who reads what this process writes would otherwise wait for the end of the program.
TEST_F(StartTest, TheOutputOfThisProcessStaysItsOwn) {
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    HANDLE output = nullptr;
    HANDLE input = nullptr;
    ASSERT_TRUE(::CreatePipe(&output, &input, &inheritable, 0));
    const HANDLE before = ::GetStdHandle(STD_OUTPUT_HANDLE);
    ::SetStdHandle(STD_OUTPUT_HANDLE, input);
    start(Support::childProgram(), {});
    ::SetStdHandle(STD_OUTPUT_HANDLE, before);
    ::CloseHandle(input);
    Support::awaitReport(report);
    char byte = 0;
    DWORD count = 0;
    EXPECT_FALSE(::ReadFile(output, &byte, 1, &count, nullptr)) << "the program wrote to this process's pipe";
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_BROKEN_PIPE));
    ::CloseHandle(output);
}

// Some emulations of cmd.exe expand what a batch file gets a second time, so the program stands in its place.
TEST_F(StartTest, TheInterpreterExpandsNothing) {
    Strings all = hostile;
    all.insert(all.end(), percent.begin(), percent.end());
    Base::Platform::ProcessStart command;
    command.program = Base::Platform::batchInterpreter();
    command.directory = fs::absolute(report).parent_path();
    command.environment = Base::CommandLine::environmentBlock(environment);
    command.commandLine = Base::CommandLine::batchCommandLine(command.program.string(), "C:\\x.bat", all);
    const std::size_t script = command.commandLine.find("C:\\x.bat");
    command.commandLine.replace(script, 8, Support::childProgram().string());
    ASSERT_EQ(Base::Platform::startProcess(command), std::nullopt);
    EXPECT_EQ(Support::awaitReport(report).arguments, all);
    EXPECT_FALSE(fs::exists(scratch / "marker"));
}

TEST_F(StartTest, GivesTheReasonOfTheSystem) {
    const fs::path text = scratch.write("text.exe", "no program");
    for (const auto& [program, number] : std::vector<std::pair<fs::path, std::string> >{
             {scratch / "gone.exe", "(error 2)"}, {text, "(error 193)"}}) {
        const std::string message = failureOf(program);
        EXPECT_EQ(message.find(failedStart(program)), 0U) << message;
        EXPECT_NE(message.find(number), std::string::npos) << message;
    }
}

#endif

}  // namespace
