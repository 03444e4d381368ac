#include <algorithm>
#include <iterator>
#include <list>
#include <string>
#include <vector>

#include "base/NameFilter.h"
#include "base/range/filtered_range.h"

#include "gtest/gtest.h"

namespace {

using Base::range::filtered_range;
using Names = std::vector<std::string>;
using ByName = filtered_range<const Names, Base::NameFilter<std::string>>;

static_assert(std::forward_iterator<ByName::iterator>);
static_assert(std::is_same_v<std::iter_reference_t<ByName::iterator>, const std::string&>);

TEST(FilteredRange, AsksThePredicateLateAndSeesTheRangeAsItIs) {
    std::list<int> numbers = {1};
    int asked = 0;
    const filtered_range view(numbers, [&asked](int number) { return ++asked > 0 && number > 1; });
    const auto copy = view;  // NOLINT(performance-unnecessary-copy-initialization): it is to see the same
    EXPECT_EQ(asked, 0);
    EXPECT_TRUE(view.empty());
    numbers.insert(numbers.end(), {5, 0, 0, 7, 1});
    auto position = view.begin();
    EXPECT_EQ(position, copy.begin());
    EXPECT_EQ(*position++, 5);
    EXPECT_EQ(*position, 7);
    EXPECT_EQ(std::next(position), copy.end());
}

TEST(FilteredRange, IteratorsOutliveTheView) {
    const Names names = {"Design", "Common", "Common"};
    const auto view = [&] { return ByName(names, {[](const std::string& name) { return name; }, "Com.*"}); };
    EXPECT_EQ(&*std::find(++view().begin(), view().end(), "Common"), &names[2]);
}

}  // namespace
