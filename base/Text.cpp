#include "base/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace Base::Text {

namespace {

constexpr std::string_view kBase64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// Counts without a branch in the loop, so that compilers turn it into vector instructions. Signed, bytes
// beyond ASCII are below zero.
template <std::size_t Size>
bool isPlainBlock(const unsigned char* bytes) {
    static_assert(Size < 256);
    unsigned char wrong = 0;
    for (std::size_t i = 0; i < Size; ++i) {
        const auto c = static_cast<signed char>(bytes[i]);
        wrong = static_cast<unsigned char>(wrong + (c < 0x20) - (c == '\t') - (c == '\n') - (c == '\r'));
    }
    return wrong == 0;
}

bool isTail(unsigned char c) {
    return (c & 0xC0) == 0x80;
}

// The length of the character that begins at `c`, 0 when XML cannot carry it.
std::size_t characterLength(const unsigned char* c, std::size_t left) {
    const unsigned char lead = c[0];
    if (lead < 0x80) {
        return lead >= 0x20 || isBlank(static_cast<char>(lead)) ? 1 : 0;
    }
    if (lead < 0xE0) {
        return lead >= 0xC2 && left >= 2 && isTail(c[1]) ? 2 : 0;
    }
    if (lead < 0xF0) {
        if (left < 3 || !isTail(c[1]) || !isTail(c[2])) {
            return 0;
        }
        const bool overlong = lead == 0xE0 && c[1] < 0xA0;
        const bool surrogate = lead == 0xED && c[1] >= 0xA0;
        const bool noCharacter = lead == 0xEF && c[1] == 0xBF && c[2] >= 0xBE;
        return overlong || surrogate || noCharacter ? 0 : 3;
    }
    if (lead > 0xF4 || left < 4 || !isTail(c[1]) || !isTail(c[2]) || !isTail(c[3])) {
        return 0;
    }
    return (lead == 0xF0 && c[1] < 0x90) || (lead == 0xF4 && c[1] >= 0x90) ? 0 : 4;
}

const char* textEscape(char c) {
    switch (c) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '\r':
            return "&#13;";
        default:
            return nullptr;
    }
}

const char* attributeEscape(char c) {
    switch (c) {
        case '"':
            return "&quot;";
        case '\t':
            return "&#9;";
        case '\n':
            return "&#10;";
        default:
            return textEscape(c);
    }
}

template <const char* (*Escape)(char)>
void appendEscaped(std::string& out, std::string_view text) {
    std::size_t done = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (const char* escape = Escape(text[i])) {
            out.append(text, done, i - done);
            out.append(escape);
            done = i + 1;
        }
    }
    out.append(text, done);
}

void appendByteNumber(std::string& out, char c) {
    constexpr char digits[] = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(c);
    out += {'\\', 'x', digits[byte >> 4U], digits[byte & 0xFU]};
}

constexpr std::array<bool, 256> plainBytes() {
    std::array<bool, 256> plain{};
    for (std::size_t c = 0x20; c < 0x80; ++c) {
        plain[c] = c != '&' && c != '<' && c != '>' && c != '"';
    }
    return plain;
}

constexpr std::array<std::int8_t, 256> base64Values() {
    std::array<std::int8_t, 256> values{};
    values.fill(-1);
    for (std::size_t i = 0; i < kBase64.size(); ++i) {
        values[static_cast<unsigned char>(kBase64[i])] = static_cast<std::int8_t>(i);
    }
    return values;
}

}  // namespace

std::size_t findNonXml(std::string_view text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    constexpr std::size_t large = 128;
    constexpr std::size_t small = 16;
    std::size_t i = 0;
    while (i < text.size()) {
        const std::size_t left = text.size() - i;
        if (left >= large && isPlainBlock<large>(bytes + i)) {
            i += large;
        } else if (left >= small && isPlainBlock<small>(bytes + i)) {
            i += small;
        } else {
            const std::size_t end = i + std::min(left, small);
            while (i < end) {
                const std::size_t length = characterLength(bytes + i, text.size() - i);
                if (length == 0) {
                    return i;
                }
                i += length;
            }
        }
    }
    return std::string_view::npos;
}

bool isPlain(std::string_view text) {
    static constexpr std::array<bool, 256> plain = plainBytes();
    bool all = true;
    for (const char c : text) {
        all &= plain[static_cast<unsigned char>(c)];
    }
    return all;
}

bool isXmlCharacter(unsigned long code) {
    if (code < 0x20) {
        return code == '\t' || code == '\n' || code == '\r';
    }
    return code < 0xD800 || (code > 0xDFFF && code <= 0x10FFFF && code != 0xFFFE && code != 0xFFFF);
}

void appendXmlText(std::string& out, std::string_view text) {
    appendEscaped<textEscape>(out, text);
}
void appendXmlAttribute(std::string& out, std::string_view text) {
    appendEscaped<attributeEscape>(out, text);
}

std::string readable(std::string_view text, std::size_t longest) {
    std::size_t end = std::min(text.size(), longest);
    for (int tails = 0; end > 0 && end < text.size() && tails < 3; ++tails) {
        end -= isTail(static_cast<unsigned char>(text[end])) ? 1 : 0;
    }
    std::string result;
    for (const char c : readableLines(text.substr(0, end))) {
        if (c == '\t' || c == '\n' || c == '\r') {
            appendByteNumber(result, c);
        } else {
            result += c;
        }
    }
    return end < text.size() ? result + "..." : result;
}

std::string readableLines(std::string_view text) {
    std::string result;
    std::size_t bad = findNonXml(text);
    while (bad != std::string_view::npos) {
        result.append(text, 0, bad);
        appendByteNumber(result, text[bad]);
        text.remove_prefix(bad + 1);
        bad = findNonXml(text);
    }
    return result.append(text);
}

std::string located(const std::string& file, int line) {
    return file + (line > 0 ? ':' + std::to_string(line) : "") + ": ";
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

void appendBase64(std::string& out, std::string_view bytes) {
    out.reserve(out.size() + (bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            group = group << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            out += i + k <= bytes.size() ? kBase64[group >> (18 - 6 * k) & 0x3F] : '=';
        }
    }
}

bool decodeBase64(std::string_view text, std::string& out) {
    static constexpr std::array<std::int8_t, 256> values = base64Values();
    std::uint32_t group = 0;
    unsigned digits = 0;
    unsigned padding = 0;
    for (const char c : text) {
        if (isBlank(c)) {
            continue;
        }
        if (c == '=') {
            ++padding;
            continue;
        }
        const std::int8_t value = values[static_cast<unsigned char>(c)];
        if (value < 0 || padding != 0) {
            return false;
        }
        group = group << 6 | static_cast<std::uint32_t>(value);
        if (++digits % 4 == 0) {
            out += static_cast<char>(group >> 16 & 0xFF);
            out += static_cast<char>(group >> 8 & 0xFF);
            out += static_cast<char>(group & 0xFF);
        }
    }
    switch (digits % 4) {
        case 0:
            return padding == 0;
        case 2:
            out += static_cast<char>(group >> 4 & 0xFF);
            return padding == 2 && (group & 0x0F) == 0;
        case 3:
            out += static_cast<char>(group >> 10 & 0xFF);
            out += static_cast<char>(group >> 2 & 0xFF);
            return padding == 1 && (group & 0x03) == 0;
        default:
            return false;
    }
}

}  // namespace Base::Text
