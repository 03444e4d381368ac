#include "base/platform/Registry.h"

#include <windows.h>

#include "base/BaseException.h"
#include "base/platform/windows/Wide.h"

namespace Base::Platform {

namespace {

constexpr std::size_t limit = 260;  // bytes of UTF-8, the NUL included

// No text is longer in UTF-16 than in UTF-8, so what does not fit this buffer is beyond the limit.
std::wstring textValue(HKEY key, const std::wstring& name) {
    wchar_t buffer[limit];
    DWORD bytes = sizeof buffer;
    DWORD type = REG_NONE;
    const LSTATUS status =
        ::RegQueryValueExW(key, name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(buffer), &bytes);
    if (status != ERROR_SUCCESS || (type != REG_SZ && type != REG_EXPAND_SZ)) {
        return {};
    }
    std::wstring text(buffer, bytes / sizeof(wchar_t));
    if (!text.empty() && text.back() == L'\0') {
        text.pop_back();
    }
    return text;
}

}  // namespace

std::string localMachineText(const std::string& key, const std::string& valueName) {
    std::string text;
    try {
        const std::wstring wideName = wide(valueName);
        HKEY handle = nullptr;
        if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, wide(key).c_str(), 0, KEY_READ, &handle) != ERROR_SUCCESS) {
            return {};
        }
        const std::wstring value = textValue(handle, wideName);
        ::RegCloseKey(handle);
        text = narrow(value);
    } catch (const BaseException&) {
        return {};
    }
    return text.size() < limit ? text.substr(0, text.find('\0')) : std::string();
}

}  // namespace Base::Platform
