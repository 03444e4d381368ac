#include <charconv>
#include <cmath>
#include <concepts>
#include <string_view>

#include "base/PropertyList.h"
#include "base/PropertyListFormat.h"
#include "base/Text.h"

namespace Base {

namespace {

constexpr std::string_view kHeader =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
constexpr std::size_t kDataColumns = 68;

class Writer {
  public:
    std::string document(const boost::any& root) {
        mText = kHeader;
        value(root);
        mText += "</plist>\n";
        return std::move(mText);
    }

  private:
    void value(const boost::any& any) {
        if (const auto* dictionary = boost::any_cast<PropertyList::Dictionary>(&any)) {
            writeDictionary(*dictionary);
        } else if (const auto* array = boost::any_cast<PropertyList::Array>(&any)) {
            writeArray(*array);
        } else if (const auto* text = boost::any_cast<std::string>(&any)) {
            element("string", *text);
        } else if (const auto* flag = boost::any_cast<bool>(&any)) {
            indent();
            mText += *flag ? "<true/>\n" : "<false/>\n";
        } else if (const auto* real = boost::any_cast<double>(&any)) {
            writeReal(*real);
        } else if (const auto* bytes = boost::any_cast<std::vector<char>>(&any)) {
            writeData(*bytes);
        } else if (const auto* date = boost::any_cast<PropertyList::Date>(&any)) {
            if (!isPropertyListDate(date->text)) {
                fail("'" + date->text + "' is no date like 2024-12-31T23:59:59Z");
            }
            element("date", date->text);
        } else if (!writeInteger<unsigned int, int, long, unsigned long, long long, unsigned long long>(
                       any)) {
            fail(any.empty() ? std::string("there is no value")
                             : std::string("a value of the type ") + any.type().name() +
                                   " cannot stand in a property list");
        }
    }

    template <std::integral... Integers>
    bool writeInteger(const boost::any& any) {
        const auto write = [this](const auto* number) {
            if (number) {
                element("integer", std::to_string(*number));
            }
            return number != nullptr;
        };
        return (write(boost::any_cast<Integers>(&any)) || ...);
    }

    void writeDictionary(const PropertyList::Dictionary& dictionary) {
        open("dict", dictionary.empty());
        for (const auto& [key, entry] : dictionary) {
            mPlace.push_back(key);
            element("key", key);
            value(entry);
            mPlace.pop_back();
        }
        close("dict", dictionary.empty());
    }

    void writeArray(const PropertyList::Array& array) {
        open("array", array.empty());
        for (std::size_t i = 0; i < array.size(); ++i) {
            mPlace.push_back(std::to_string(i));
            value(array[i]);
            mPlace.pop_back();
        }
        close("array", array.empty());
    }

    void writeReal(double number) {
        char digits[32];
        const auto result = std::to_chars(std::begin(digits), std::end(digits), number);
        element("real", std::isnan(number)
                            ? std::string_view("nan")
                            : std::string_view(digits, static_cast<std::size_t>(result.ptr - digits)));
    }

    void writeData(const std::vector<char>& bytes) {
        std::string text;
        Text::appendBase64(text, std::string_view(bytes.data(), bytes.size()));
        indent();
        mText += "<data>\n";
        for (std::size_t i = 0; i < text.size(); i += kDataColumns) {
            indent();
            mText.append(text, i, kDataColumns).append("\n");
        }
        indent();
        mText += "</data>\n";
    }

    void element(std::string_view name, std::string_view text) {
        if (!Text::isXml(text)) {
            fail(
                "an XML property list cannot carry the text, which holds a control character or is not "
                "UTF-8");
        }
        indent();
        mText.append("<").append(name).append(">");
        Text::appendXmlText(mText, text);
        mText.append("</").append(name).append(">\n");
    }

    void open(std::string_view name, bool empty) {
        if (mDepth == PropertyList::depthLimit) {
            fail("nested more than " + std::to_string(PropertyList::depthLimit) + " deep");
        }
        indent();
        ++mDepth;
        mText.append("<").append(name).append(empty ? "/>\n" : ">\n");
    }

    void close(std::string_view name, bool empty) {
        --mDepth;
        if (!empty) {
            indent();
            mText.append("</").append(name).append(">\n");
        }
    }

    void indent() { mText.append(static_cast<std::size_t>(mDepth), '\t'); }

    [[noreturn]] void fail(const std::string& reason) const {
        std::string place;
        for (const std::string& part : mPlace) {
            place += (place.empty() ? "" : "/") + part;
        }
        throw UnfitValue(place.empty() ? reason : "key '" + place + "': " + reason);
    }

    std::string mText;
    std::vector<std::string> mPlace;  // keys and indices that lead to the current value, for messages
    int mDepth = 0;
};

}  // namespace

UnfitValue::~UnfitValue() = default;

std::string writePropertyList(const boost::any& root) {
    return Writer().document(root);
}

}  // namespace Base
