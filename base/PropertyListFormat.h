#pragma once

#include <string>
#include <string_view>

#include <boost/any.hpp>

#include "base/BaseException.h"
#include "base/XmlFile.h"

/// The XML text of property lists. Internal to base/; `PropertyList` is what others use.
namespace Base {

/// A value that a property list cannot carry. The message names the key.
class UnfitValue : public BaseException {
  public:
    using BaseException::BaseException;
    ~UnfitValue() override;
};

/// The root value of a parsed property list; `XmlFile::Error` when the file is none. Of a key that stands
/// twice in a dictionary the last value counts, as with other readers of the format.
boost::any readPropertyList(const XmlFile& xml);

/// Whether the text is a date as property lists have it: "2024-12-31T23:59:59Z".
bool isPropertyListDate(std::string_view text);

/// The whole text of a property list file; `UnfitValue` for a value of another type than `PropertyList`
/// lists, a string that XML cannot carry, or a nesting that is too deep.
std::string writePropertyList(const boost::any& root);

}  // namespace Base
