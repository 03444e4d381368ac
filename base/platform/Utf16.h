#pragma once

#include <cstddef>
#include <limits>

/// Steps of the conversion between UTF-8 and UTF-16, for texts that may hold lone surrogates, as file names
/// on Windows do: such a surrogate is the three bytes that UTF-8's pattern gives its number, so that every
/// sequence of UTF-16 units has exactly one sequence of bytes and the way back leads to the same units.
namespace Base::Platform {

constexpr char32_t badCharacter = std::numeric_limits<char32_t>::max();

constexpr bool isHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool isLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// Reads the character at `next`, which must be before `end`, and moves `next` behind it. `badCharacter`,
/// with `next` unmoved, where the bytes are none: cut off, longer than needed, beyond U+10FFFF, or a pair of
/// surrogates written as two characters.
inline char32_t takeUtf8(const char*& next, const char* end) {
    const auto byte = [&](std::ptrdiff_t index) -> char32_t {
        return static_cast<unsigned char>(next[index]);
    };
    const char32_t first = byte(0);
    const std::ptrdiff_t length = first < 0x80   ? 1
                                  : first < 0xC0 ? 0
                                  : first < 0xE0 ? 2
                                  : first < 0xF0 ? 3
                                  : first < 0xF8 ? 4
                                                 : 0;
    if (length == 0 || end - next < length) {
        return badCharacter;
    }
    constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    char32_t character = length == 1 ? first : first & (0x7FU >> length);
    for (std::ptrdiff_t index = 1; index < length; ++index) {
        if ((byte(index) & 0xC0U) != 0x80) {
            return badCharacter;
        }
        character = (character << 6U) | (byte(index) & 0x3FU);
    }
    if (character < smallest[length] || character > 0x10FFFF) {
        return badCharacter;
    }
    if (isHighSurrogate(character) && end - next >= 6 && byte(3) == 0xED && (byte(4) & 0xF0U) == 0xB0) {
        return badCharacter;
    }
    next += length;
    return character;
}

/// Reads the character at `next`, which must be before `end`, and moves `next` behind it.
template <typename Unit>
char32_t takeUtf16(const Unit*& next, const Unit* end) {
    const auto first = static_cast<char32_t>(*next++);
    if (isHighSurrogate(first) && next != end && isLowSurrogate(static_cast<char32_t>(*next))) {
        return 0x10000 + ((first - 0xD800) << 10U) + (static_cast<char32_t>(*next++) - 0xDC00);
    }
    return first;
}

/// Writes the one to four bytes of a character and returns their number.
inline std::size_t putUtf8(char32_t character, char (&bytes)[4]) {
    const auto tail = [&](unsigned shift) {
        return static_cast<char>(0x80U | ((character >> shift) & 0x3FU));
    };
    if (character < 0x80) {
        bytes[0] = static_cast<char>(character);
        return 1;
    }
    if (character < 0x800) {
        bytes[0] = static_cast<char>(0xC0U | (character >> 6U));
        bytes[1] = tail(0);
        return 2;
    }
    if (character < 0x10000) {
        bytes[0] = static_cast<char>(0xE0U | (character >> 12U));
        bytes[1] = tail(6);
        bytes[2] = tail(0);
        return 3;
    }
    bytes[0] = static_cast<char>(0xF0U | (character >> 18U));
    bytes[1] = tail(12);
    bytes[2] = tail(6);
    bytes[3] = tail(0);
    return 4;
}

/// Writes the one or two units of a character and returns their number.
template <typename Unit>
std::size_t putUtf16(char32_t character, Unit (&units)[2]) {
    if (character < 0x10000) {
        units[0] = static_cast<Unit>(character);
        return 1;
    }
    units[0] = static_cast<Unit>(0xD800 + ((character - 0x10000) >> 10U));
    units[1] = static_cast<Unit>(0xDC00 + ((character - 0x10000) & 0x3FFU));
    return 2;
}

}  // namespace Base::Platform
