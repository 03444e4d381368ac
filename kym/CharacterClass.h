#pragma once

#include <array>
#include <string_view>

namespace Kym {

// Classes of characters in the "C" locale. Names, path lists and arguments mean the same on every machine, so
// the locale of the process has no say; bytes of characters beyond ASCII belong to none of these.

constexpr bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
constexpr bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr char toUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

/// Letters, digits and "_".
inline constexpr std::array<bool, 256> wordCharacters = [] {
    std::array<bool, 256> table{};
    for (unsigned c = 0; c < 128; ++c) {
        const char character = static_cast<char>(c);
        table[c] = isLetter(character) || (character >= '0' && character <= '9') || character == '_';
    }
    return table;
}();
constexpr bool isWordCharacter(char c) {
    return wordCharacters[static_cast<unsigned char>(c)];
}
constexpr bool areWordCharacters(std::string_view text) {
    for (const char c : text) {
        if (!isWordCharacter(c)) {
            return false;
        }
    }
    return true;
}

}  // namespace Kym
