#include "base/Environment.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gtest/gtest.h"
#include "tests/support/ScratchSupport.h"

namespace {

using Base::Environment::expandEnvVariables;
using Base::Environment::ExpansionError;
using Base::Environment::VariableMap;

TEST(Expansion, ReplacesReferencesAndNothingElse) {
    const VariableMap variables = {
        {"A", "1"},          {"A_b2", "2"},     {"X(X86)", "3"}, {"NEST", "<$A${DEEP}>"},
        {"DEEP", "${A_b2}"}, {"EMPTY", ""},     {"_", "4"},      {"MONEY", "5$"},
        {"GONE", "$NOT"},    {"2nd", "second"}, {"a", "lower"},  {" ", "blank"}};
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", ""},
        {"no reference {A} }", "no reference {A} }"},
        {"$A", "1"},
        {"$A$A${A}", "111"},
        {"$A_b2.$A-b2", "2.1-b2"},
        {"${X(X86)}\\bin", "3\\bin"},
        {"$X(X86)", "$X(X86)"},
        {"[$NEST] [$NEST]", "[<12>] [<12>]"},
        {"x${EMPTY}y$EMPTY", "xy"},
        {"$_ $__", "4 $__"},
        {"$a$A", "lower1"},
        {"${ }${}$ $$A", "blank${}$ $1"},
        {"$P$G $NOT ${NOT} $GONE", "$P$G $NOT ${NOT} $NOT"},
        {"$2nd ${2nd}", "$2nd second"},
        {"${MONEY}A", "5$A"},
        {"$\xC3\xA4$A\xC3\xA4",
         "$\xC3\xA4"
         "1\xC3\xA4"},
        {"${A$A}", "${A$A}"},
        {"end$", "end$"},
        {std::string("\0$A\0", 4), std::string("\0001\0", 3)},
    };
    for (auto [text, expected] : cases) {
        const std::string before = text;
        EXPECT_EQ(&expandEnvVariables(text, variables), &text);
        EXPECT_EQ(text, expected) << before;
    }
}

TEST(Expansion, RefusesWhatHasNoEndAndLeavesTheText) {
    const VariableMap variables = {{"A", "-$B-"},         {"B", "${C}"},    {"C", "$A"},
                                   {"SELF", "x;${SELF}"}, {"OPEN", "q${A"}, {"OK", "1"},
                                   {"USES_OPEN", "$OPEN"}};
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"$OK $A", "A -> B -> C -> A"}, {"$C", "C -> A -> B -> C"},   {"$SELF", "SELF -> SELF"},
        {"$OK ${A", "$OK ${A"},         {"$USES_OPEN", "OPEN: q${A"}, {"${", "${"},
    };
    for (auto [text, expected] : cases) {
        const std::string before = text;
        try {
            expandEnvVariables(text, variables);
            ADD_FAILURE() << before << " gave " << text;
        } catch (const ExpansionError& error) {
            EXPECT_NE(std::string(error.what()).find(expected), std::string::npos) << error.what();
        }
        EXPECT_EQ(text, before);
    }
}

TEST(Expansion, IsBoundedInDepthAndSize) {
    const auto name = [](int number) { return "V" + std::to_string(number); };
    const int depth = 10000;
    const std::size_t limit = std::size_t{1} << 20;
    VariableMap chain;
    VariableMap doubling;
    for (int i = 0; i < depth; ++i) {
        chain[name(i)] = "$" + name(i + 1);
        doubling[name(i)] = "$" + name(i + 1) + "$" + name(i + 1);
    }
    chain[name(depth)] = "end";
    std::string text = "$V0";
    EXPECT_EQ(expandEnvVariables(text, chain), "end");

    chain[name(depth)] = "$V0";
    text = "$V0";
    try {
        expandEnvVariables(text, chain);
        ADD_FAILURE() << "a cycle has no expansion";
    } catch (const ExpansionError& error) {
        EXPECT_LT(std::string_view(error.what()).size(), 1000U);
    }

    doubling[name(depth)] = "";
    EXPECT_EQ(expandEnvVariables(text, doubling), "");

    doubling[name(depth)] = "x";
    text = "$V0";
    try {
        expandEnvVariables(text, doubling);
        ADD_FAILURE() << "gave " << text.size() << " bytes";
    } catch (const ExpansionError& error) {
        EXPECT_NE(std::string(error.what()).find("variable V"), std::string::npos) << error.what();
    }

    const VariableMap big = {{"BIG", std::string(limit, 'x')}};
    text = "$BIG";
    EXPECT_EQ(expandEnvVariables(text, big).size(), limit);
    for (std::string beyond : {"y$BIG", "$BIG$BIG", "${BIG}y"}) {
        EXPECT_THROW(expandEnvVariables(beyond, big), ExpansionError) << beyond;
    }
}

TEST(Expansion, OfAllVariablesDoesNotDependOnTheirOrder) {
    const int depth = 8000;
    VariableMap raw = {{"JOINED", "${DOLLAR}A"}, {"DOLLAR", "$"}, {"A", "x"}, {"LATER", "[$JOINED]"},
                       {"a", "[$JOINED]"},       {"Z", "$V0"},    {"V", ""}};
    for (int i = 0; i < depth; ++i) {
        raw["V" + std::to_string(i)] = "$V" + std::to_string(i + 1);
    }
    raw["V" + std::to_string(depth)] = "end";
    std::vector<std::string> names;
    for (const auto& [name, value] : raw) {
        names.push_back(name);
    }
    VariableMap expected;
    for (int order = 0; order < 2; ++order, std::reverse(names.begin(), names.end())) {
        VariableMap variables = raw;
        Base::Environment::Expander expander([&](std::string_view name) -> std::optional<std::string_view> {
            const auto found = variables.find(std::string(name));
            return found == variables.end() ? std::nullopt : std::optional<std::string_view>(found->second);
        });
        for (const std::string& name : names) {
            std::string value = variables[name];
            expander.expandVariable(name, value);
            variables[name] = value;
        }
        EXPECT_EQ(variables["LATER"], "[$A]");
        EXPECT_EQ(variables["Z"], "end");
        if (order == 0) {
            expected = variables;
        }
        EXPECT_EQ(variables, expected);
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
    setEnvVariable("KYM_TEST_OUTER", "<${" + name + "}>");
    std::string text = "$KYM_TEST_OUTER ${KYM_TEST_NOT} ${=C:} ${KYM_TEST_\xFF}";
    EXPECT_EQ(expandEnvVariables(text), "<" + value + "> ${KYM_TEST_NOT} ${=C:} ${KYM_TEST_\xFF}");
#if defined(_WIN32)
    text = "$kym_test_outer";
    EXPECT_EQ(expandEnvVariables(text), "<" + value + ">");
#endif

    const Support::Scratch scratch;
    const std::string file = scratch.write("a$KYM_TEST_OUTER", "").string();
    setEnvVariable("KYM_TEST_FILE", file);
    setEnvVariable("KYM_TEST_RELATIVE", "a$KYM_TEST_FILE");
    text = "$KYM_TEST_FILE $KYM_TEST_RELATIVE";
    EXPECT_EQ(expandEnvVariables(text), file + " a" + file) << "the path of something that exists";
    boost::filesystem::remove(file);
    text = "$KYM_TEST_FILE";
    EXPECT_NE(expandEnvVariables(text), file);

    setEnvVariable(name, "");
    EXPECT_EQ(getEnvVariable(name), "");
    text = "${" + name + "}";
    EXPECT_EQ(expandEnvVariables(text), "${" + name + "}");
    for (const std::string& bad : {std::string(), std::string("A=B"), std::string("A\0B", 3)}) {
        EXPECT_THROW(setEnvVariable(bad, "x"), Base::BaseException) << bad;
        EXPECT_EQ(getEnvVariable(bad), "") << bad;
    }
}

}  // namespace
