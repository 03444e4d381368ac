#include <charconv>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>

#include "base/PropertyList.h"
#include "base/PropertyListFormat.h"
#include "base/Text.h"

namespace Base {

namespace {

class Reader {
  public:
    explicit Reader(const XmlFile& xml) : mXml(xml) {}

    boost::any root() const {
        const pugi::xml_node plist = mXml.root();
        if (std::string_view(plist.name()) != "plist") {
            fail(plist, std::string("expected a property list, found <") + plist.name() + ">");
        }
        checkHoldsOnlyElements(plist);
        const pugi::xml_node value = plist.first_child();
        if (!value || value.next_sibling()) {
            fail(plist, "expected exactly one value in <plist>");
        }
        return this->value(value, 1);
    }

  private:
    boost::any value(pugi::xml_node node, int depth) const {
        checkAttributes(node);
        const std::string_view name = node.name();
        if (name == "string") {
            return text(node);
        }
        if (name == "integer") {
            return integer(node);
        }
        if (name == "true" || name == "false") {
            if (!Text::trimmed(text(node)).empty()) {
                fail(node, "expected no text in <" + std::string(name) + ">");
            }
            return name == "true";
        }
        if (name == "dict" || name == "array") {
            if (depth > PropertyList::depthLimit) {
                fail(node, "nested more than " + std::to_string(PropertyList::depthLimit) + " deep");
            }
            checkHoldsOnlyElements(node);
            return name == "dict" ? dictionary(node, depth) : array(node, depth);
        }
        if (name == "real") {
            return real(node);
        }
        if (name == "data") {
            return data(node);
        }
        if (name == "date") {
            return PropertyList::Date{date(node)};
        }
        fail(node, "<" + std::string(name) + "> is no value of a property list");
    }

    boost::any dictionary(pugi::xml_node node, int depth) const {
        PropertyList::Dictionary dictionary;
        for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
            if (std::string_view(child.name()) != "key") {
                fail(child, std::string("expected <key>, found <") + child.name() + ">");
            }
            checkAttributes(child);
            std::string key = text(child);
            const pugi::xml_node valueNode = child.next_sibling();
            if (!valueNode || std::string_view(valueNode.name()) == "key") {
                fail(child, "the key '" + key + "' has no value");
            }
            dictionary.insert_or_assign(std::move(key), value(valueNode, depth + 1));
            child = valueNode;
        }
        return boost::any(std::move(dictionary));
    }

    boost::any array(pugi::xml_node node, int depth) const {
        PropertyList::Array array;
        for (const pugi::xml_node child : node.children()) {
            array.push_back(value(child, depth + 1));
        }
        return boost::any(std::move(array));
    }

    // Decimal, or hexadecimal after "0x", with or without a sign.
    boost::any integer(pugi::xml_node node) const {
        const std::string whole = text(node);
        std::string_view digits = Text::trimmed(whole);
        const bool negative = digits.starts_with('-');
        if (negative || digits.starts_with('+')) {
            digits.remove_prefix(1);
        }
        int base = 10;
        if (digits.starts_with("0x") || digits.starts_with("0X")) {
            base = 16;
            digits.remove_prefix(2);
        }
        std::uint64_t size = 0;
        const char* last = digits.data() + digits.size();
        const auto [end, error] = std::from_chars(digits.data(), last, size, base);
        constexpr std::uint64_t largest = std::numeric_limits<std::int64_t>::max();
        if (end != last || error == std::errc::invalid_argument) {
            fail(node, "expected an integer, found '" + whole + "'");
        }
        if (error != std::errc() || (negative && size > largest + 1)) {
            fail(node, "the integer '" + whole + "' does not fit into 64 bits");
        }
        if (negative && size != 0) {
            const long long number = -static_cast<long long>(size - 1) - 1;
            return number >= std::numeric_limits<int>::min() ? boost::any(static_cast<int>(number))
                                                             : boost::any(number);
        }
        if (size <= std::numeric_limits<unsigned int>::max()) {
            return static_cast<unsigned int>(size);
        }
        return size <= largest ? boost::any(static_cast<long long>(size))
                               : boost::any(static_cast<unsigned long long>(size));
    }

    boost::any real(pugi::xml_node node) const {
        const std::string whole = text(node);
        std::string_view digits = Text::trimmed(whole);
        if (digits.starts_with('+') && !digits.starts_with("+-")) {
            digits.remove_prefix(1);
        }
        double number = 0;
        const char* last = digits.data() + digits.size();
        const auto [end, error] = std::from_chars(digits.data(), last, number);
        if (end != last || error != std::errc()) {
            fail(node, "expected a real number, found '" + whole + "'");
        }
        return number;
    }

    boost::any data(pugi::xml_node node) const {
        std::string bytes;
        if (!Text::decodeBase64(text(node), bytes)) {
            fail(node, "the text of <data> is no base64");
        }
        return std::vector<char>(bytes.begin(), bytes.end());
    }

    std::string date(pugi::xml_node node) const {
        std::string date(Text::trimmed(text(node)));
        if (!isPropertyListDate(date)) {
            fail(node, "expected a date like 2024-12-31T23:59:59Z, found '" + date + "'");
        }
        return date;
    }

    std::string text(pugi::xml_node node) const {
        std::string joined;
        const std::optional<std::string_view> text = XmlFile::text(node, joined);
        if (!text) {
            fail(node, std::string("expected text only in <") + node.name() + ">");
        }
        return std::string(*text);
    }

    void checkAttributes(pugi::xml_node node) const {
        if (XmlFile::repeatsAttribute(node)) {
            fail(node, "damaged file: an attribute stands twice in one element");
        }
    }

    void checkHoldsOnlyElements(pugi::xml_node node) const {
        if (!XmlFile::holdsOnlyElements(node)) {
            fail(node, std::string("expected no text in <") + node.name() + ">");
        }
    }

    [[noreturn]] void fail(pugi::xml_node node, const std::string& reason) const {
        throw XmlFile::Error(mXml.line(node), reason);
    }

    const XmlFile& mXml;
};

}  // namespace

boost::any readPropertyList(const XmlFile& xml) {
    return Reader(xml).root();
}

bool isPropertyListDate(std::string_view text) {
    const std::size_t year = text.find_first_not_of("0123456789");
    constexpr std::string_view form = "-dd-ddTdd:dd:ddZ";
    if (year == 0 || text.size() != year + form.size()) {
        return false;
    }
    for (std::size_t i = 0; i < form.size(); ++i) {
        const char c = text[year + i];
        if (form[i] == 'd' ? c < '0' || c > '9' : c != form[i]) {
            return false;
        }
    }
    return true;
}

}  // namespace Base
