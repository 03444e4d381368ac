#include "base/NameFilter.h"

#include <boost/regex.hpp>

namespace Base {

class NamePattern::Compiled {
  public:
    explicit Compiled(const std::string& pattern) : expression(pattern, boost::regex::perl) {}

    boost::regex expression;
};

NamePattern::NamePattern(const std::string& pattern) : mCompiled(std::make_shared<const Compiled>(pattern)) {}

bool NamePattern::matches(const std::string& name) const {
    return boost::regex_match(name, mCompiled->expression);
}

}  // namespace Base
