#include "base/platform/ShortPath.h"

#include <windows.h>

#include "base/BaseException.h"
#include "base/platform/windows/Wide.h"

namespace Base::Platform {

namespace {
constexpr std::size_t bufferSize = 1024;
}

std::string shortPath(const std::string& longPath) {
    if (longPath.find('\0') != std::string::npos) {
        return {};
    }
    std::wstring source;
    try {
        source = wide(longPath);
    } catch (const BaseException&) {
        return {};
    }
    wchar_t buffer[bufferSize];
    const DWORD length = ::GetShortPathNameW(source.c_str(), buffer, bufferSize);
    if (length == 0 || length >= bufferSize) {
        return {};
    }
    std::string result = narrow(std::wstring_view(buffer, length));
    return result.size() < bufferSize ? result : std::string();
}

}  // namespace Base::Platform
