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
        const char* name;
        const char* value;
        const char* expected;
    };
    const Case cases[] = {
        {"C:\\a\\b", "PATH", "${PATH};D:\\x", "C:\\a\\b;D:\\x"},
        {nullptr, "FOO", "$FOO/bin", "/bin"},
        {"now", "FOO", "$FOOBAR", "nowBAR"},
        {"old", "FOO", "new", "new"},
        {"old", "FOO", "", ""},
        {"a", "FOO", "$FOO:${FOO}:$OTHER:${FOO", "a:a:$OTHER:${FOO"},
        {"${UGII_BASE_DIR}\\bin;$X", "FOO", "$FOO;c", "${UGII_BASE_DIR}\\bin;$X;c"},
        {"cost $$5", "FOO", "$FOO", "cost $5"},
        {"$$", "Foo", "$FOO", "$FOO"},
    };
    for (const Case& c : cases) {
        Variables list;
        if (c.current) {
            list.emplace_back(c.name, std::string(c.current));
        }
        merge(list, {c.name, std::string(c.value)});
        ASSERT_EQ(list.size(), 1U);
        EXPECT_EQ(list[0].value, c.expected) << c.name << " = " << c.value;
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
            std::string expectedFailure;
            std::string actualFailure;
            try {
                Transcription::mergeLayered(variable, expected);
            } catch (const boost::regex_error& error) {
                expectedFailure = error.what();
            }
            try {
                merge(actual, variable);
            } catch (const boost::regex_error& error) {
                actualFailure = error.what();
            }
            ASSERT_EQ(actualFailure, expectedFailure) << variable.name;
            ASSERT_EQ(text(actual), text(expected)) << variable.name << " = " << variable.value;
            failures += actualFailure.empty() ? 0 : 1;
        }
    }
    EXPECT_GT(failures, 0) << "no name of the input was a bad expression";
}

TEST(LaunchText, CleansPathLists) {
    const std::pair<const char*, const char*> cases[] = {
        {"C:\\a;C:\\a;c:\\b", "C:\\a;c:\\b"},
        {"\\usr\\lib:\\opt\\lib", "\\usr\\lib;\\opt\\lib"},
        {"\\\\server\\\\share;C:\\x\\\\y;\"C:\\Program Files\\z\";;",
         "\\\\server\\share;C:\\x\\y;C:\\Program Files\\z"},
        {"${A}/ugii:C:\\x;D:/y", "${A}\\ugii;C:\\x;D:\\y"},
        {"", ""},
        {";;", ""},
    };
    for (const auto& [value, expected] : cases) {
        EXPECT_EQ(Kym::cleanPathList(value), expected) << value;
    }
}

TEST(LaunchText, EqualsItsDefinitionOnHostileInput) {
    HostileTexts texts({"C",    ":",  ";",     "\\", "/",    "\"", "a",     "_",
                        "1",    " ",  "\t",    "\n", "\r",   "\f", "\v",    "é",
                        "\x85", "-x", "http:", "//", "\\\\", ";",  "C:\\a", std::string(1, '\0')});
    for (int round = 0; round < 20000; ++round) {
        const std::string text = texts(9);
        ASSERT_EQ(Kym::cleanPathList(text), Transcription::cleanPathList(text))
            << testing::PrintToString(text);
        ASSERT_EQ(Kym::collapseSeparators(text), Transcription::collapseSeparators(text))
            << testing::PrintToString(text);
        ASSERT_EQ(Kym::splitArguments(text), Transcription::splitArguments(text))
            << testing::PrintToString(text);
    }
}

TEST(LaunchText, SplitsArgumentsGreedily) {
    EXPECT_EQ(Kym::splitArguments("-a \"x y\" -b"), (std::vector<std::string>{"-a", "\"x y\"", "-b"}));
    EXPECT_EQ(Kym::splitArguments("\"a\" \"b\""), (std::vector<std::string>{"\"a\" \"b\""}));
    EXPECT_EQ(Kym::splitArguments(" \t "), std::vector<std::string>{});
}

TEST(LaunchText, KnowsWhichVariablesAreHandedOn) {
    for (const char* name : {"A", "a_1", "COMMONPROGRAMFILES(X86)", ""}) {
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
