#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <utility>

#include "base/range/iterator_range.h"

namespace Base::range {

/// Walks forward over those elements between two iterators that satisfy a predicate. Iterators are equal when
/// they stand at the same element, whichever copy of a range they come from.
template <typename Underlying, typename Predicate>
class filter_iterator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = typename std::iterator_traits<Underlying>::value_type;
    using difference_type = typename std::iterator_traits<Underlying>::difference_type;
    using pointer = typename std::iterator_traits<Underlying>::pointer;
    using reference = typename std::iterator_traits<Underlying>::reference;

    filter_iterator() = default;
    filter_iterator(const iterator_range<Underlying>& elements, std::shared_ptr<const Predicate> predicate)
        : mPosition(elements.begin()), mEnd(elements.end()), mPredicate(std::move(predicate)) {
        skip();
    }

    reference operator*() const { return *mPosition; }
    pointer operator->() const { return std::addressof(*mPosition); }
    filter_iterator& operator++() {
        ++mPosition;
        skip();
        return *this;
    }
    filter_iterator operator++(int) {
        filter_iterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const filter_iterator& other) const { return mPosition == other.mPosition; }

  private:
    void skip() {
        while (mPosition != mEnd && !(*mPredicate)(*mPosition)) {
            ++mPosition;
        }
    }

    Underlying mPosition{};
    Underlying mEnd{};
    std::shared_ptr<const Predicate> mPredicate;
};

/// A view of those elements of a range that satisfy a predicate, in the order of the range. Nothing is
/// copied: the range must live as long as the view and its iterators are used, and changes to it show in the
/// next `begin()`. The predicate is asked while iterating, never before.
///
///     filtered_range<const std::vector<std::string>, NameFilter<std::string>> texts(files, isText);
template <typename Range, typename Predicate>
class filtered_range {
    using Underlying = decltype(std::begin(std::declval<Range&>()));

  public:
    using iterator = filter_iterator<Underlying, Predicate>;
    using const_iterator = iterator;

    filtered_range(Range& range, Predicate predicate)
        : mRange(&range), mPredicate(std::make_shared<const Predicate>(std::move(predicate))) {}

    iterator begin() const { return from(std::begin(*mRange)); }
    iterator end() const { return from(std::end(*mRange)); }
    bool empty() const { return begin() == end(); }

  private:
    iterator from(Underlying first) const { return iterator({first, std::end(*mRange)}, mPredicate); }

    Range* mRange;
    std::shared_ptr<const Predicate> mPredicate;
};

}  // namespace Base::range
