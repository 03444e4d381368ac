#pragma once

#include <utility>

namespace Base::range {

/// A pair of iterators as one thing to iterate over. It owns nothing.
template <typename Iterator>
class iterator_range {
  public:
    using iterator = Iterator;
    using const_iterator = Iterator;

    iterator_range(Iterator first, Iterator last) : mFirst(std::move(first)), mLast(std::move(last)) {}

    Iterator begin() const { return mFirst; }
    Iterator end() const { return mLast; }
    bool empty() const { return mFirst == mLast; }

  private:
    Iterator mFirst;
    Iterator mLast;
};

}  // namespace Base::range
