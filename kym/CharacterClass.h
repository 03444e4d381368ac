#pragma once

#include <string_view>

namespace Kym {

// Classes of characters in the "C" locale. Names, path lists and arguments mean the same on every machine, so
// the locale of the process has no say; bytes of characters beyond ASCII belong to none of these.

constexpr bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool isWordCharacter(char c) {
    return isLetter(c) || isDigit(c) || c == '_';
}
constexpr bool areWordCharacters(std::string_view text) {
    for (const char c : text) {
        if (!isWordCharacter(c)) {
            return false;
        }
    }
    return true;
}
constexpr bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr char toUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

}  // namespace Kym
