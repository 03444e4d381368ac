#pragma once

#include <string>

namespace Base {

/// A date in a property list, kept as the text of the file (2024-12-31T23:59:59Z) so that it is written back
/// unchanged.
struct PropertyListDate {
    std::string text;
    bool operator==(const PropertyListDate&) const = default;
};

}  // namespace Base
