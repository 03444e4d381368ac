#include <random>

#include <boost/regex.hpp>
#include <gtest/gtest.h>

#include "kym/ConfigApplication.h"
#include "kym/LaunchText.h"
#include "kym/VariableList.h"

#include "bench/Transcription.h"

using Kym::EnvironmentVariable;

namespace {

using Variables = std::vector<EnvironmentVariable>;

std::string text(const Variables& variables) {
    std::string all;
    for (const auto& variable : variables) {
        all += variable.name + "=" + variable.value + " #" + variable.comment + " " +
               std::to_string(static_cast<int>(variable.type)) + "\n";
    }
    return all;
}

void merge(Variables& target, const EnvironmentVariable& variable) {
    Kym::mergeIndexed(target, [&](Kym::VariableList& list) { list.mergeLayered(variable); });
}

/// Texts made of pieces that mean something to the rules: references, expressions, separators, replacements.
class HostileTexts {
  public:
    explicit HostileTexts(std::vector<std::string> pieces) : mPieces(std::move(pieces)) {}

    std::string operator()(int longest) {
        std::string result;
        for (int count = std::uniform_int_distribution<int>(0, longest)(mRandom); count > 0; --count) {
            result += mPieces[std::uniform_int_distribution<std::size_t>(0, mPieces.size() - 1)(mRandom)];
        }
        return result;
    }

  private:
    std::vector<std::string> mPieces;
    std::mt19937 mRandom{20240229};
};

}  // namespace

TEST(Merge, FollowsTheLayerRule) {
    struct Case {
        const char* current;  // null: there is no such variable yet
        const char* value;
        const char* expected;
    };
    const Case cases[] = {
        {"C:\\a\\b", "${FOO};D:\\x", "C:\\a\\b;D:\\x"},
        {nullptr, "$FOO/bin", "/bin"},
        {"now", "$FOOBAR", "nowBAR"},
        {"old", "", ""},
        {"a", "$FOO:${FOO}:$OTHER:${FOO:$Foo", "a:a:$OTHER:${FOO:$Foo"},
        {"cost $$5", "$FOO", "cost $5"},
    };
    for (const Case& c : cases) {
        Variables list(c.current ? 1 : 0, {"FOO", std::string(c.current ? c.current : "")});
        merge(list, {"FOO", std::string(c.value)});
        ASSERT_EQ(list.size(), 1U);
        EXPECT_EQ(list[0].value, c.expected) << c.value;
    }
}

TEST(Merge, KeepsPlaceNameAndTypeOfTheFirstOfAName) {
    Variables list = {{"A", "1"}, {"B", "2"}, {"A", "3"}};
    list[0].type = Kym::PlatformType::Unix;
    EnvironmentVariable later("A", "${A}x");
    later.comment = "later";
    later.type = Kym::PlatformType::Windows;

    Variables layered = list;
    merge(layered, later);
    EXPECT_EQ(text(layered), "A=1x #later 1\nB=2 # 0\nA=3 # 0\n");

    Variables plain = list;
    Kym::mergeIndexed(plain, [&](Kym::VariableList& merged) {
        merged.mergePlain(later);
        merged.mergePlain({"", "x"});
        merged.mergePlain({"B", ""});
        merged.mergePlain({"C", "4"});
    });
    EXPECT_EQ(text(plain), "A=${A}x #later 2\nB=2 # 0\nA=3 # 0\nC=4 # 0\n");
}

TEST(Merge, AddsCadLibrariesInFrontOfPath) {
    Kym::ConfigApplication application;
    Variables list;
    application.mergeEnvVariables(list);
    EXPECT_EQ(text(list), "PATH=${UGII_BASE_DIR}/ugii # 0\n");
    application.mergeEnvVariables(list);
    EXPECT_EQ(text(list), "PATH=${UGII_BASE_DIR}/ugii:${UGII_BASE_DIR}/ugii # 0\n");
    application.addUgLibsToPath = false;
    list = {{"Path", "x"}};
    application.mergeEnvVariables(list);
    EXPECT_EQ(text(list), "Path=x # 0\n");
}

// The quick ways must not differ from the expressions that define the merge, whatever names and values hold.
TEST(Merge, EqualsItsDefinitionOnHostileInput) {
    HostileTexts names(
        {"A", "B", "_", "1", "A", "B", ".", "*", "(", ")", "[", "+", "\\", "^", "$", "{", "é", "|"});
    HostileTexts values({"$A",     "${A}",     "$B",        "${B}",      "$AB",
                         "$",      "{",        "}",         "\\",        "\\\\",
                         "/",      "$&",       "$1",        "${1}",      "$$",
                         "$`",     "$'",       "$+",        "$+{",       "^",
                         "$MATCH", "${MATCH}", "${^MATCH}", "$PREMATCH", "$LAST_PAREN_MATCH",
                         "$_",     "$^N",      "\\n",       "\\x{41}",   "x",
                         "é",      "\n",       "(?",        ":",         "&"});
    int failures = 0;
    for (int round = 0; round < 4000; ++round) {
        Variables expected;
        Variables actual;
        for (int step = 0; step < 4; ++step) {
            const EnvironmentVariable variable(round % 3 == 0 ? names(2) : "A", values(5));
            const auto failure = [](const auto& call) -> std::string {
                try {
                    call();
                    return "";
                } catch (const boost::regex_error& error) {
                    return error.what();
                }
            };
            const std::string failed = failure([&] { merge(actual, variable); });
            ASSERT_EQ(failed, failure([&] { Transcription::mergeLayered(variable, expected); }))
                << variable.name;
            failures += failed.empty() ? 0 : 1;
            ASSERT_EQ(text(actual), text(expected)) << variable.name << " = " << variable.value;
        }
    }
    EXPECT_GT(failures, 0) << "no name of the input was a bad expression";
}

TEST(LaunchText, CleansPathLists) {
    const std::pair<const char*, const char*> cases[] = {
        {"C:\\a;C:\\a;c:\\b", "C:\\a;c:\\b"},
        {"\\usr\\lib:${A}/opt", "\\usr\\lib;${A}\\opt"},
        {"\\\\server\\\\share;\"C:\\Program Files\\z\";;", "\\\\server\\share;C:\\Program Files\\z"},
    };
    for (const auto& [value, expected] : cases) {
        EXPECT_EQ(Kym::cleanPathList(value), expected);
    }
}

TEST(LaunchText, EqualsItsDefinitionOnHostileInput) {
    HostileTexts texts({"C",    ":",  ";",     "\\", "/",    "\"", "a",     "_",
                        "1",    " ",  "\t",    "\n", "\r",   "\f", "\v",    "é",
                        "\x85", "-x", "http:", "//", "\\\\", ";",  "C:\\a", std::string(1, '\0')});
    for (int round = 0; round < 20000; ++round) {
        const std::string text = texts(9);
        SCOPED_TRACE(testing::PrintToString(text));
        ASSERT_EQ(Kym::cleanPathList(text), Transcription::cleanPathList(text));
        ASSERT_EQ(Kym::collapseSeparators(text), Transcription::collapseSeparators(text));
        ASSERT_EQ(Kym::splitArguments(text), Transcription::splitArguments(text));
    }
}

TEST(LaunchText, SplitsArgumentsGreedily) {
    EXPECT_EQ(Kym::splitArguments(" -a \"x y\" -b"), (std::vector<std::string>{"-a", "\"x y\"", "-b"}));
    EXPECT_EQ(Kym::splitArguments("\"a\" \"b\""), (std::vector<std::string>{"\"a\" \"b\""}));
}

TEST(LaunchText, KnowsWhichVariablesAreHandedOn) {
    for (const char* name : {"A", "a_1", "COMMONPROGRAMFILES(X86)"}) {
        EXPECT_TRUE(Kym::isValidVariableName(name)) << name;
    }
    for (const char* name : {"1ABC", "A-B", "_A", "(X86)", "PROGRAMFILES(x86)", "É", "AÉ", " A"}) {
        EXPECT_FALSE(Kym::isValidVariableName(name)) << name;
    }
    for (const char* name : {"PATH", "LIBPATH", "XPATHX"}) {
        EXPECT_TRUE(Kym::isPathVariable(name)) << name;
    }
    for (const char* name : {"CLASSPATH", "MY_CLASSPATH_X", "Path", "PAT"}) {
        EXPECT_FALSE(Kym::isPathVariable(name)) << name;
    }
}
