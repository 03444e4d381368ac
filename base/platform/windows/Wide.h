#pragma once

#include <string>
#include <string_view>

namespace Base::Platform {

/// The UTF-16 text of a UTF-8 text. `BaseException`, with the text escaped, when it is not UTF-8. A lone
/// surrogate, which a file name can hold, is the three bytes that UTF-8's pattern gives its number.
std::wstring wide(std::string_view utf8);

/// The UTF-8 text of a UTF-16 text; the reverse of `wide`.
std::string narrow(std::wstring_view utf16);

}  // namespace Base::Platform
