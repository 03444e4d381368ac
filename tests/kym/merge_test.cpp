#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kym/ConfigApplication.h"
#include "kym/EnvironmentMap.h"
#include "kym/VariableList.h"

#include "tests/support/SystemSupport.h"

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

}  // namespace

// What a reference to itself gives, the fuzzer "merge" tells.
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

TEST(Merge, RefusesShortTextsThatMakeALongOne) {
    const auto times = [](std::size_t count, const std::string& text) {
        std::string all;
        for (; count > 0; --count) {
            all += text;
        }
        return all;
    };
    const EnvironmentVariable cases[][2] = {{{"A|q", times(100'000, "c")}, {"A|q", times(100'000, "q")}},
                                            {{"A|q", times(400'000, "$1")}, {"A|q", times(100'000, "q")}},
                                            {{"X", times(40'000, "$`")}, {"X", times(40'000, "x") + "$X"}},
                                            {{"X", times(40'000, "x")}, {"X", times(40'000, "$X")}},
                                            {{"X", times(600'000, "x")}, {"X", "$X" + times(600'000, "y")}}};
    for (const auto& variables : cases) {
        Variables list = {variables[0]};
        EXPECT_THAT([&] { merge(list, variables[1]); },
                    testing::ThrowsMessage<std::runtime_error>(testing::HasSubstr(" refers to itself ")));
    }
    Variables list = {{"X", "x"}};
    EXPECT_NO_THROW(merge(list, {"X", times(1'100'000, "x") + "$OTHER"})) << "it takes over nothing";

    const EnvironmentVariable start[] = {
        {"X", times(1'000'000, "x")}, {"X_PATH", "$X"}, {"X_PATH", "${X_PATH}Y"}};
    const EnvironmentVariable doubled("X_PATH", "$X_PATH$X_PATH");  // in which each "$X" is a part of "$XY"
    Kym::LaunchRecord record;
    Kym::VariableList explained(&record);
    for (const EnvironmentVariable& variable : start) {
        explained.mergeLayered(variable);
    }
    for (int i = 0; i < 11; ++i) {
        explained.mergeLayered(doubled);
    }
    std::map<std::string, std::string> environment;
    Kym::fillEnvironmentMap(std::move(explained), environment);
    EXPECT_EQ(environment.at("X_PATH"), times(2048, "$XY"));
    EXPECT_LT(Support::peakMemory() >> 20U, 1024U) << "more than one copy of a long text was made";
    Kym::VariableList repeated(&record);
    EXPECT_THAT([&] { repeated.mergeLayered(Variables(300, start[0])); },
                testing::ThrowsMessage<std::runtime_error>(
                    testing::HasSubstr("grows beyond 268435456 bytes at the variable X")));

    Variables many = {{"X", times(1'000'000, "x")}};
    for (int i = 0; i < 70; ++i) {
        many.emplace_back("Y" + std::to_string(i), "$X");
    }
    EXPECT_THAT(
        [&] { Kym::fillEnvironmentMap(Kym::VariableList(many), environment); },
        testing::ThrowsMessage<std::runtime_error>(testing::HasSubstr("grows beyond 67108864 bytes")));
}

TEST(Merge, AddsCadLibrariesInFrontOfPath) {
    Kym::ConfigApplication application;
    Variables list;
    application.mergeEnvVariables(list);
    EXPECT_EQ(text(list), "PATH=${UGII_BASE_DIR}/ugii # 0\n");
    application.mergeEnvVariables(list);
    EXPECT_EQ(text(list), "PATH=${UGII_BASE_DIR}/ugii:${UGII_BASE_DIR}/ugii # 0\n");
}
