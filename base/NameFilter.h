#pragma once

#include <memory>
#include <string>

#include <boost/function.hpp>

#include "base/platform/Export.h"

namespace Base {

/// A compiled regular expression (Perl syntax, case-sensitive) that whole names are matched against. Cheap to
/// copy. A bad pattern throws `boost::regex_error`.
class BASE_EXPORT NamePattern {
  public:
    explicit NamePattern(const std::string& pattern);
    bool matches(const std::string& name) const;

  private:
    class Compiled;
    std::shared_ptr<const Compiled> mCompiled;
};

/// A predicate for `range::filtered_range`: whether an object's name, as the accessor tells it, matches the
/// whole pattern.
template <typename Object>
class NameFilter {
  public:
    using Accessor = boost::function<std::string(const Object&)>;

    NameFilter(const Accessor& nameOf, const std::string& pattern) : mNameOf(nameOf), mPattern(pattern) {}

    bool operator()(const Object& object) const { return mPattern.matches(mNameOf(object)); }

  private:
    Accessor mNameOf;
    NamePattern mPattern;
};

}  // namespace Base
