// Property lists. An input is a file, or, behind a "v", the material of a value: what is read or made is
// written and comes back; a file that cannot be read is told so.
#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "base/FileManager.h"
#include "base/PropertyList.h"
#include "base/PropertyListFormat.h"
#include "base/Text.h"

#include "fuzz/Fuzz.h"

namespace {

using Base::PropertyList;
using Fuzz::require;

bool equal(const boost::any& left, const boost::any& right);

template <typename Value>
bool equal(const Value& left, const Value& right) {
    return left == right;
}
bool equal(double left, double right) {
    return std::isnan(left) ? std::isnan(right)
                            : std::bit_cast<std::uint64_t>(left) == std::bit_cast<std::uint64_t>(right);
}
bool equal(const PropertyList::Array& left, const PropertyList::Array& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](const boost::any& a, const boost::any& b) { return equal(a, b); });
}
bool equal(const PropertyList::Dictionary& left, const PropertyList::Dictionary& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](const auto& a, const auto& b) {
        return a.first == b.first && equal(a.second, b.second);
    });
}

template <typename... Types>
bool equalAsOneOf(const boost::any& left, const boost::any& right) {
    return ((boost::any_cast<Types>(&left) && boost::any_cast<Types>(&right) &&
             equal(boost::any_cast<const Types&>(left), boost::any_cast<const Types&>(right))) ||
            ...);
}

bool equal(const boost::any& left, const boost::any& right) {
    return equalAsOneOf<PropertyList::Dictionary, PropertyList::Array, std::string, bool, unsigned int, int,
                        long long, unsigned long long, double, std::vector<char>, PropertyList::Date>(left,
                                                                                                      right);
}

/// An integer in the type in which it comes back.
boost::any integerOf(std::uint64_t bits, bool isSigned) {
    const auto number = static_cast<long long>(bits);
    if (isSigned && number < 0) {
        return number >= std::numeric_limits<int>::min() ? boost::any(static_cast<int>(number))
                                                         : boost::any(number);
    }
    if (bits <= std::numeric_limits<unsigned int>::max()) {
        return static_cast<unsigned int>(bits);
    }
    return number >= 0 ? boost::any(number) : boost::any(static_cast<unsigned long long>(bits));
}

boost::any valueOf(Fuzz::Source& source) {
    switch (source.isEmpty() ? 0 : source.byte() % 10) {
        case 0:
            return PropertyList::Dictionary();
        case 1: {
            PropertyList::Dictionary dictionary;
            for (int count = source.byte() % 8; count > 0; --count) {
                std::string key = source.text();
                dictionary[std::move(key)] = valueOf(source);
            }
            return dictionary;
        }
        case 2: {
            PropertyList::Array array;
            for (int count = source.byte() % 8; count > 0; --count) {
                array.push_back(valueOf(source));
            }
            return array;
        }
        case 3:
            return source.text();
        case 4:
            return source.byte() % 2 == 0;
        case 5:
            return std::bit_cast<double>(source.number());
        case 6: {
            const std::string bytes = source.text();
            return std::vector<char>(bytes.begin(), bytes.end());
        }
        case 7:
            return PropertyList::Date{source.text()};
        default: {
            const unsigned shift = source.byte() % 64;
            const std::uint64_t bits = source.number() >> shift;  // before the sign, with any compiler
            return integerOf(bits, source.byte() % 2 == 0);
        }
    }
}

/// Whether a property list can carry a value.
bool isFit(const boost::any& value, int depth = 1) {
    if (const auto* dictionary = boost::any_cast<PropertyList::Dictionary>(&value)) {
        return depth <= Base::PropertyList::depthLimit &&
               std::all_of(dictionary->begin(), dictionary->end(), [depth](const auto& entry) {
                   return Base::Text::isXml(entry.first) && isFit(entry.second, depth + 1);
               });
    }
    if (const auto* array = boost::any_cast<PropertyList::Array>(&value)) {
        return depth <= Base::PropertyList::depthLimit &&
               std::all_of(array->begin(), array->end(),
                           [depth](const boost::any& element) { return isFit(element, depth + 1); });
    }
    const auto* text = boost::any_cast<std::string>(&value);
    const auto* date = boost::any_cast<PropertyList::Date>(&value);
    return text ? Base::Text::isXml(*text) : !date || Base::isPropertyListDate(date->text);
}

boost::any read(std::string_view content) {
    const PropertyList list(Fuzz::fileOf(content));
    require(list.list() != nullptr, "a file that is there has a root", content);
    return *list.list();
}

void checkComesBack(const boost::any& value) {
    const std::string written = Base::writePropertyList(value);
    const boost::any again = read(written);
    require(equal(value, again), "what was written comes back", written);
    require(Base::writePropertyList(again) == written, "the same is written for the same value", written);
}

void checkValue(std::string_view material) {
    Fuzz::Source source(material);
    const boost::any value = valueOf(source);
    const bool fit = isFit(value);
    try {
        checkComesBack(value);
        require(fit, "a value that cannot be carried is refused", material);
    } catch (const Base::UnfitValue& error) {
        require(!fit, "a value that can be carried is written", error.what());
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input = Fuzz::textOf(data, size);
    if (input.starts_with('v')) {
        checkValue(input.substr(1));
        return 0;
    }
    boost::any value;
    try {
        value = read(input);
    } catch (const Base::PropertyListError& error) {
        const std::string file = Base::FileManager::native(Fuzz::fileOf(input));
        require(std::string_view(error.what()).starts_with(file), "the message names the file", error.what());
        return 0;
    }
    checkComesBack(value);
    return 0;
}
