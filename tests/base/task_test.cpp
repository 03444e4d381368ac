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

// clang-format off
#include <windows.h>
#include <shellapi.h>
// clang-format on

#include "base/CommandLine.h"
#include "base/Environment.h"
#include "base/platform/Process.h"
#include "base/platform/windows/Wide.h"

#include "tests/support/ChildSupport.h"
#endif

namespace {

namespace fs = boost::filesystem;
using Strings = std::vector<std::string>;

std::string failureOf(const fs::path& program, const fs::path& directory = {},
                      const Strings& arguments = {}) {
    Base::Task task;
    task.setLaunchPath(program);
    task.setCurrentDirectoryPath(directory);
    task.setArguments(arguments);
    try {
        task.launch();
    } catch (const Base::TaskError& error) {
        return error.what();
    }
    return "no failure";
}

std::string failedStart(const fs::path& program) {
    return "Program " + Base::FileManager::native(program) + " could not be started: ";
}

TEST(Task, SaysWhyItCannotStart) {
    const Support::Scratch scratch;
    const fs::path file = scratch.write("text.txt", "no program");
    const std::string directory = "the working directory ";
    EXPECT_EQ(failureOf(""), "No program was named to be started.");
    EXPECT_EQ(
        failureOf(file, scratch / "gone"),
        failedStart(file) + directory + Base::FileManager::native(scratch / "gone") + " does not exist");
    EXPECT_EQ(failureOf(file, file),
              failedStart(file) + directory + Base::FileManager::native(file) + " is not a directory");
    EXPECT_EQ(failureOf(file.parent_path()), failedStart(file.parent_path()) + "it is a directory");
    EXPECT_EQ(failureOf(scratch / "gone.bat"),
              failedStart(scratch / "gone.bat") + "there is no such batch file");
    const fs::path cutOff = scratch.folder().string() + std::string("\0x", 2);
    EXPECT_NE(failureOf(file, cutOff).find("holds a NUL"), std::string::npos);
}

#if defined(_WIN32)

class StartTest : public testing::Test {
  protected:
    const Support::Scratch scratch;
    const fs::path report = scratch / "report";
    std::map<std::string, std::string> environment = {{"SAMPLE_REPORT", report.string()},
                                                      {"KYM_TEST_CHILD", Support::childProgram().string()},
                                                      {"KYM_TEST_VALUE", "\"&echo x>marker&\""},
                                                      {"SystemDrive", "C:"},  // which Wine would add
                                                      {"SystemRoot", "C:\\windows"}};

    void start(const fs::path& program, const Strings& arguments, const fs::path& directory = {}) {
        Base::Task task;
        task.setLaunchPath(program);
        task.setArguments(arguments);
        task.setCurrentDirectoryPath(directory);
        task.setEnvironment(environment);
        task.launch();
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

Strings asTheSystemSplits(const Strings& arguments) {
    const std::string line = Base::CommandLine::programCommandLine("p", arguments);
    int count = 0;
    wchar_t** const words = ::CommandLineToArgvW(Base::Platform::wide(line).c_str(), &count);
    Strings split;
    std::transform(words + 1, words + count, std::back_inserter(split), Base::Platform::narrow);
    ::LocalFree(words);
    return split;
}

TEST_F(StartTest, RandomArgumentsAndEnvironmentsArriveByteForByte) {
    const Strings inArguments = {
        "a", " ", "\t", "\"", "\\", "\\\"", "%", "&", "\xC3\xA4", "\xF0\x9F\x98\x80", "\n", "^", "*"};
    const Strings inNames = {"a", "A", "_", " ", "(", "%", ".", "\xC3\xA4", "\xE2\x82\xAC", "\t", "\""};
    const Strings inValues = {"a",  "=",  ";", "%", "\"",       "\\",
                              "\n", "\r", "$", " ", "\xC3\xA4", "\xF0\x9F\x98\x80"};
    std::mt19937 random(11);
    const auto below = [&random](std::size_t end) { return static_cast<std::size_t>(random() % end); };
    const auto text = [&below](const Strings& pieces) {
        std::string made;
        for (std::size_t i = below(8); i > 0; --i) {
            made += pieces[below(pieces.size())];
        }
        return below(500) == 0 ? made + std::string(32000, 'x') + made : made;  // as long as can be
    };
    const auto own = environment;
    for (std::size_t done = 0; done < startCount(); ++done) {
        Strings arguments, variables;
        std::size_t size = 0;
        for (std::size_t i = below(60); i > 0 && size < 500; --i) {
            size += arguments.emplace_back(text(inArguments)).size();
        }
        if (size > 32000 && arguments.size() > 3) {  // a whole command line has 32,767 places
            arguments.erase(arguments.begin(), arguments.end() - 3);
        }
        environment = own;
        for (std::size_t i = below(100); i > 0; --i) {
            environment["v" + std::to_string(i) + text(inNames).substr(0, 100)] = text(inValues);
        }
        for (const auto& [name, value] : environment) {
            variables.push_back(name + '=' + value);
        }
        start(Support::childProgram(), arguments);
        Support::ChildReport got = Support::awaitReport(report);
        ASSERT_EQ(got["Arguments:"], arguments);
        ASSERT_EQ(asTheSystemSplits(arguments), arguments);
        std::erase_if(got["Environment:"], [](const std::string& each) { return each.starts_with("WINE"); });
        std::sort(variables.begin(), variables.end());
        ASSERT_EQ(got["Environment:"], variables);
    }
}

TEST_F(StartTest, BatchFilesGetTheirArgumentsAndNothingElseRuns) {
    const fs::path folder = scratch / "b&c (100%) \xC3\xA4";
    fs::create_directory(folder);
    const fs::path plain = scratch.write("x.bat", "@\"%KYM_TEST_CHILD%\" %*\r\n");
    const fs::path odd = folder / "y ^.CMD";
    fs::copy_file(plain, odd);
    Strings all = hostile;
    all.push_back("END");
    for (const fs::path& script :
         {plain, odd, fs::path(plain.string() + "."), fs::path(plain.string() + " ")}) {
        start(script, all, fs::absolute(plain).parent_path());
        EXPECT_EQ(Support::awaitReport(report)["Arguments:"], all) << script;
    }
    for (const std::string& argument : hostile) {
        start(plain, {argument, "END"}, fs::absolute(plain).parent_path());
        EXPECT_EQ(Support::awaitReport(report)["Arguments:"], (Strings{argument, "END"}));
    }
    EXPECT_FALSE(fs::exists(scratch / "marker"));

    EXPECT_NE(failureOf(plain.string() + "::$DATA"), "no failure");
    EXPECT_EQ(
        failureOf(plain, {}, {"a\nb"}),
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
    const fs::path waiting =
        scratch.write("x.bat", ":again\r\n@if not exist \"%~dp0go\" goto again\r\n@\"%KYM_TEST_CHILD%\"\r\n");
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    HANDLE output = nullptr, input = nullptr;
    ASSERT_TRUE(::CreatePipe(&output, &input, &inheritable, 0));
    const HANDLE before = ::GetStdHandle(STD_OUTPUT_HANDLE);
    ::SetStdHandle(STD_OUTPUT_HANDLE, input);
    start(waiting, {});
    ::SetStdHandle(STD_OUTPUT_HANDLE, before);
    ::CloseHandle(input);
    EXPECT_FALSE(::PeekNamedPipe(output, nullptr, 0, nullptr, nullptr, nullptr)) << "the program holds it";
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_BROKEN_PIPE));
    ::CloseHandle(output);
    scratch.write("go", "");
    Support::awaitReport(report);
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
    EXPECT_EQ(Support::awaitReport(report)["Arguments:"], all);
    EXPECT_FALSE(fs::exists(scratch / "marker"));
}

TEST_F(StartTest, GivesTheReasonOfTheSystem) {
    for (const auto& [program, number] :
         {std::pair(scratch / "gone.exe", "(error 2)"), {scratch.write("text.exe", "no"), "(error 193)"}}) {
        const std::string message = failureOf(program);
        EXPECT_EQ(message.find(failedStart(program)), 0U) << message;
        EXPECT_NE(message.find(number), std::string::npos) << message;
    }
}

#endif

}  // namespace
