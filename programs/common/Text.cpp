#include "programs/common/Text.h"

#include <boost/algorithm/string/join.hpp>

namespace {

void appendEscaped(std::string& out, std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        out.append("\\x") += {digits[byte >> 4U], digits[byte & 0xFU]};
    }
}

/// Of one character: those that terminals obey stand below U+0020 and from U+007F to U+009F.
bool isControl(std::string_view character) {
    const auto first = static_cast<unsigned char>(character.front());
    return first < 0x20 || first == 0x7F ||
           (first == 0xC2 && static_cast<unsigned char>(character.back()) < 0xA0);
}

std::string shown(std::string_view text, bool keepLines) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        const std::string_view character = text.substr(0, length == 0 ? 1 : length);
        if (character == "\n") {
            result += keepLines ? "\n" : "\\n";
        } else if (length == 0 || isControl(character)) {
            appendEscaped(result, character);
        } else {
            result += character;
        }
        text.remove_prefix(character.size());
    }
    return result;
}

}  // namespace

std::size_t characterLength(std::string_view text) {
    const auto byte = [&](std::size_t place) { return static_cast<unsigned char>(text[place]); };
    const unsigned char first = byte(0);
    if (first < 0x80) {
        return 1;
    }
    const std::size_t length = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
    if (length == 0 || text.size() < length) {
        return 0;
    }
    for (std::size_t place = 1; place < length; ++place) {
        if ((byte(place) & 0xC0U) != 0x80U) {
            return 0;
        }
    }
    const unsigned char second = byte(1);
    const bool refused = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                         (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
    return refused ? 0 : length;
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

std::string printable(std::string_view text) {
    return shown(text, false);
}

std::string printableLines(std::string_view text) {
    return shown(text, true);
}

std::string quoted(const std::string& text) {
    return '"' + printable(text) + '"';
}

std::string joined(const std::vector<std::string>& texts) {
    return boost::join(texts, ", ");
}

std::string wordFor(const std::string& name) {
    const bool isPlain = !name.empty() && name.find_first_of(" \t&|<>^()[]{};'`!,*?") == std::string::npos;
    return isPlain ? printable(name) : quoted(name);
}

std::string nativeText(boost::filesystem::path path) {
    return path.make_preferred().string();
}
