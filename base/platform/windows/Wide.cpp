#include "base/platform/windows/Wide.h"

#include <algorithm>
#include <type_traits>

#include "base/BaseException.h"
#include "base/Text.h"
#include "base/platform/Utf16.h"

namespace Base::Platform {

namespace {

// Moves what is ASCII, mostly the whole text, to the end of the result and returns where it ends.
template <typename From, typename To>
const From* moveAscii(const From* next, const From* end, std::basic_string<To>& result) {
    const From* const asciiEnd = std::find_if(
        next, end, [](From unit) { return static_cast<std::make_unsigned_t<From>>(unit) >= 0x80; });
    const std::size_t size = result.size();
    result.resize(size + static_cast<std::size_t>(asciiEnd - next));
    std::transform(next, asciiEnd, result.begin() + static_cast<std::ptrdiff_t>(size),
                   [](From unit) { return static_cast<To>(unit); });
    return asciiEnd;
}

}  // namespace

std::wstring wide(std::string_view utf8) {
    std::wstring result;
    result.reserve(utf8.size());
    const char* const end = utf8.data() + utf8.size();
    for (const char* next = utf8.data(); (next = moveAscii(next, end, result)) != end;) {
        const char32_t character = takeUtf8(next, end);
        if (character == badCharacter) {
            throw BaseException("Not a UTF-8 text: \"" + Text::readable(utf8, 200) + '"');
        }
        wchar_t units[2];
        result.append(units, putUtf16(character, units));
    }
    return result;
}

std::string narrow(std::wstring_view utf16) {
    std::string result;
    result.reserve(utf16.size());
    const wchar_t* const end = utf16.data() + utf16.size();
    for (const wchar_t* next = utf16.data(); (next = moveAscii(next, end, result)) != end;) {
        char bytes[4];
        result.append(bytes, putUtf8(takeUtf16(next, end), bytes));
    }
    return result;
}

}  // namespace Base::Platform
