#include "programs/common/Json.h"

#include <stdexcept>
#include <string_view>

#include "programs/common/Text.h"

namespace {

void appendText(std::string& out, const std::string& text, const std::string& place) {
    constexpr std::string_view digits = "0123456789abcdef";
    if (!isUtf8(text)) {
        throw std::runtime_error("The text at " + (place.empty() ? "the top" : place) +
                                 " is not UTF-8, and JSON carries nothing else. Give it another value.");
    }
    out.push_back('"');
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out.push_back('\\');
            out.push_back(c);
        } else if (byte < 0x20 || byte == 0x7F) {
            out.append("\\u00").push_back(digits[byte >> 4U]);
            out.push_back(digits[byte & 0xFU]);
        } else {
            out.push_back(c);
        }
    }
    out.push_back('"');
}

}  // namespace

Json Json::object(Members members) {
    Json result;
    result.mKind = Kind::object;
    result.mMembers = std::move(members);
    return result;
}

Json Json::array() {
    Json result;
    result.mKind = Kind::array;
    return result;
}

Json Json::array(const std::vector<std::string>& texts) {
    Json result = array();
    for (const std::string& text : texts) {
        result.add(text);
    }
    return result;
}

std::string Json::document() const {
    std::string out;
    append(out, 0, "");
    return out + '\n';
}

void Json::append(std::string& out, std::size_t depth, const std::string& place) const {
    if (mKind == Kind::word) {
        out += mText;
        return;
    }
    if (mKind == Kind::text) {
        appendText(out, mText, place);
        return;
    }
    const bool isObject = mKind == Kind::object;
    out.push_back(isObject ? '{' : '[');
    std::size_t count = 0;
    for (const auto& [name, value] : mMembers) {
        out.append(count == 0 ? "\n" : ",\n").append(2 * (depth + 1), ' ');
        const std::string inside = place + '/' + (isObject ? name : std::to_string(count));
        if (isObject) {
            appendText(out, name, "a name in " + (place.empty() ? "the top" : place));
            out += ": ";
        }
        value.append(out, depth + 1, inside);
        ++count;
    }
    if (count != 0) {
        out.append("\n").append(2 * depth, ' ');
    }
    out.push_back(isObject ? '}' : ']');
}
