#include <algorithm>
#include <iterator>
#include <list>
#include <string>
#include <vector>

#include "base/NameFilter.h"
#include "base/range/filtered_range.h"
#include "base/range/iterator_range.h"

#include "gtest/gtest.h"

namespace {

using Base::NameFilter;
using Base::NamePattern;
using Base::range::filtered_range;

struct Department {
    std::string type;
    int number;
};

using Departments = std::vector<Department>;
using ByType = NameFilter<Department>;

static_assert(std::forward_iterator<filtered_range<const Departments, ByType>::iterator>);
static_assert(std::is_same_v<std::iter_reference_t<filtered_range<const Departments, ByType>::iterator>,
                             const Department&>);

ByType ofType(const std::string& pattern) {
    return {[](const Department& department) { return department.type; }, pattern};
}

TEST(FilteredRange, YieldsTheMatchingElementsThemselvesInOrder) {
    const struct {
        std::vector<int> numbers, even;
    } cases[] = {{{}, {}},         {{1}, {}},        {{2}, {2}},       {{1, 2, 3, 4}, {2, 4}},
                 {{2, 4}, {2, 4}}, {{1, 3, 4}, {4}}, {{2, 1, 3}, {2}}, {{2, 2, 1, 2}, {2, 2, 2}}};
    for (const auto& [numbers, even] : cases) {
        const auto isEven = [](int number) { return number % 2 == 0; };
        const filtered_range view(numbers, isEven);
        EXPECT_EQ(std::vector<int>(view.begin(), view.end()), even);
        EXPECT_EQ(view.empty(), even.empty());
    }
    const Departments departments = {{"Common", 1}, {"commons", 2}, {"Design", 3}, {"Common", 4}};
    const filtered_range<const Departments, ByType> common(departments, ofType("Common"));
    std::vector<const Department*> seen;
    for (const Department& department : common) {
        seen.push_back(&department);
    }
    EXPECT_EQ(seen, (std::vector<const Department*>{&departments[0], &departments[3]}));
}

TEST(FilteredRange, AsksThePredicateLateAndSeesTheRangeAsItIs) {
    std::list<int> numbers = {1};
    int asked = 0;
    const filtered_range view(numbers, [&asked](int number) { return ++asked > 0 && number > 1; });
    const auto copy = view;
    EXPECT_EQ(asked, 0);
    EXPECT_TRUE(view.empty());
    numbers.insert(numbers.end(), {5, 0, 7});
    asked = 0;
    auto position = view.begin();
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(position, copy.begin());
    EXPECT_EQ(*position++, 5);
    *position += 10;
    EXPECT_EQ(numbers.back(), 17);
    EXPECT_NE(position, copy.end());
    EXPECT_EQ(std::next(position), copy.end());
}

TEST(FilteredRange, IteratorsOutliveTheView) {
    const Departments departments = {{"Design", 1}, {"Common", 2}, {"Common", 3}};
    const auto view = [&] {
        return filtered_range<const Departments, ByType>(departments, ofType("Common"));
    };
    const auto found =
        std::find_if(view().begin(), view().end(), [](const auto& item) { return item.number == 3; });
    ASSERT_NE(found, view().end());
    EXPECT_EQ(found->number, 3);
}

TEST(IteratorRange, IsThePairOfItsIterators) {
    const std::string text = "abc";
    const Base::range::iterator_range tail(text.begin() + 1, text.end());
    EXPECT_EQ(std::string(tail.begin(), tail.end()), "bc");
    EXPECT_FALSE(tail.empty());
    EXPECT_TRUE(Base::range::iterator_range(text.end(), text.end()).empty());
}

TEST(NamePattern, MatchesWholeNames) {
    const struct {
        const char *pattern, *name;
        bool matches;
    } cases[] = {{"Common", "Common", true},
                 {"Common", "common", false},
                 {"Common", "Common2", false},
                 {"Common|Design", "Design", true},
                 {"D.*", "Design", true},
                 {"esig", "Design", false},
                 {"", "", true},
                 {"\\w+ü", "Menü", true}};
    for (const auto& [pattern, name, matches] : cases) {
        EXPECT_EQ(NamePattern(pattern).matches(name), matches) << pattern << " / " << name;
    }
    EXPECT_ANY_THROW(NamePattern("("));
}

}  // namespace
