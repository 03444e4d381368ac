#include "base/Environment.h"

#include <algorithm>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "tests/support/ScratchSupport.h"
#include "tests/support/SystemSupport.h"

namespace {

using Base::Environment::expandEnvVariables;
using Base::Environment::ExpansionError;
using Base::Environment::VariableMap;

std::string failureOf(std::string text, const VariableMap& variables) {
    const std::string before = text;
    try {
        return "gave " + expandEnvVariables(text, variables);
    } catch (const ExpansionError& error) {
        EXPECT_EQ(text, before);
        return error.what();
    }
}

// What texts expand to, the fuzzer "expansion" tells.
TEST(Expansion, TellsWhatHasNoEnd) {
    VariableMap variables = {{"A", "-$B-"},         {"B", "${C}"},    {"C", "$A"},
                             {"SELF", "x;${SELF}"}, {"OPEN", "q${A"}, {"OK", "1"}};
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"$OK $A", "The variable A refers to itself: A -> B -> C -> A"},
        {"$SELF", "SELF -> SELF"},
        {"$OK ${A", "in the text: $OK ${A"},
        {"$OPEN", "in the value of OPEN: q${A"},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_NE(failureOf(text, variables).find(expected), std::string::npos) << failureOf(text, variables);
    }
    for (int i = 0; i < 10000; ++i) {
        variables["V" + std::to_string(i)] = "$V" + std::to_string((i + 1) % 10000);
    }
    EXPECT_LT(failureOf("$V0", variables).size(), 1000U);
}

TEST(Expansion, IsBoundedInSizeAndNotInDepth) {
    const int depth = 10000;
    VariableMap chain;
    VariableMap doubling = {{"BIG", std::string(std::size_t{1} << 20, 'x')}};
    for (int i = 0; i < depth; ++i) {
        const std::string next = "$V" + std::to_string(i + 1);
        chain["V" + std::to_string(i)] = next;
        doubling["V" + std::to_string(i)] = next + next;
    }
    const std::string last = "V" + std::to_string(depth);
    chain[last] = "end";
    doubling[last] = "";
    std::string text = "$V0";
    EXPECT_EQ(expandEnvVariables(text, chain), "end");
    text = "$V0";
    EXPECT_EQ(expandEnvVariables(text, doubling), "");
    doubling[last] = "x";
    EXPECT_NE(failureOf("$V0", doubling).find("The expansion of the variable V"), std::string::npos);

    text = "$BIG";
    EXPECT_EQ(expandEnvVariables(text, doubling), doubling["BIG"]);
    for (const char* beyond : {"y$BIG", "$BIG$BIG", "${BIG}y"}) {
        EXPECT_NE(failureOf(beyond, doubling).find("1048576 bytes"), std::string::npos) << beyond;
    }
}

TEST(ProcessEnvironment, TakesAndGivesValues) {
    using namespace Base::Environment;
    const std::string name = "KYM_Test_\xC3\x84";
    const std::string value = "\xE2\x82\xAC = " + std::string(32000, 'x');
    EXPECT_EQ(getEnvVariable(name), "");
    setEnvVariable(name, value);
    EXPECT_EQ(getEnvVariable(name), value);
    const std::vector<std::string> strings = environmentStrings();
    EXPECT_EQ(std::count(strings.begin(), strings.end(), name + "=" + value), 1);
    for (const std::string& text : strings) {
        EXPECT_NE(text.find('='), 0U) << text;
    }
    const auto expanded = [](std::string text) { return expandEnvVariables(text); };
    setEnvVariable("KYM_TEST_OUTER", "<${" + name + "}>");
    EXPECT_EQ(expanded("$KYM_TEST_OUTER ${KYM_TEST_NOT} ${=C:} ${KYM_TEST_\xFF}"),
              "<" + value + "> ${KYM_TEST_NOT} ${=C:} ${KYM_TEST_\xFF}");
    EXPECT_EQ(expanded("$kym_test_outer"), Support::onWindows ? "<" + value + ">" : "$kym_test_outer");

    const Support::Scratch scratch;
    const std::string file = scratch.write("a$KYM_TEST_OUTER", "").string();
    setEnvVariable("KYM_TEST_FILE", file);
    setEnvVariable("KYM_TEST_RELATIVE", "a$KYM_TEST_FILE");
    EXPECT_EQ(expanded("$KYM_TEST_FILE $KYM_TEST_RELATIVE"), file + " a" + file) << "a path that exists";
    boost::filesystem::remove(file);
    EXPECT_NE(expanded("$KYM_TEST_FILE"), file);

    setEnvVariable(name, "");
    EXPECT_EQ(getEnvVariable(name), "");
    EXPECT_EQ(expanded("${" + name + "}"), "${" + name + "}");
    for (const std::string& bad : {std::string(), std::string("A=B"), std::string("A\0B", 3)}) {
        EXPECT_THROW(setEnvVariable(bad, "x"), Base::BaseException) << bad;
        EXPECT_EQ(getEnvVariable(bad), "") << bad;
    }
    EXPECT_THROW(setEnvVariable(name, std::string("A\0B", 3)), Base::BaseException);
}

}  // namespace
