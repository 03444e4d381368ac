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
constexpr bool isWordCharacter(char c) {
    return isLetter(c) || (c >= '0' && c <= '9') || c == '_';
}

/// What can be told of a text by one look at each of its characters.
struct Characters {
    bool onlyWords;  ///< none but word characters
    bool anySmall;   ///< a small letter among them
};
inline Characters charactersOf(std::string_view text) {
    constexpr unsigned char noWord = 1;
    constexpr unsigned char small = 2;
    static constexpr std::array<unsigned char, 256> table = [] {
        std::array<unsigned char, 256> classes{};
        for (unsigned c = 0; c < classes.size(); ++c) {
            const char character = static_cast<char>(c);
            classes[c] = !isWordCharacter(character) ? noWord : toUpper(character) != character ? small : 0;
        }
        return classes;
    }();
    unsigned char found = 0;
    for (const char c : text) {
        found |= table[static_cast<unsigned char>(c)];
    }
    return {(found & noWord) == 0, (found & small) != 0};
}
inline bool areWordCharacters(std::string_view text) {
    return charactersOf(text).onlyWords;
}

}  // namespace Kym
