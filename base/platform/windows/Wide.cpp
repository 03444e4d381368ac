#include "base/platform/windows/Wide.h"

#include "base/BaseException.h"
#include "base/Text.h"
#include "base/platform/Utf16.h"

namespace Base::Platform {

std::wstring wide(std::string_view utf8) {
    std::wstring result;
    result.reserve(utf8.size());
    const char* const end = utf8.data() + utf8.size();
    for (const char* next = utf8.data(); next != end;) {
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
    for (const wchar_t* next = utf16.data(); next != end;) {
        char bytes[4];
        result.append(bytes, putUtf8(takeUtf16(next, end), bytes));
    }
    return result;
}

}  // namespace Base::Platform
