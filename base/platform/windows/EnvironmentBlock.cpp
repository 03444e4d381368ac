#include "base/platform/EnvironmentBlock.h"

#include <memory>
#include <windows.h>

#include "base/BaseException.h"
#include "base/platform/windows/Wide.h"

namespace Base::Platform {

std::optional<std::string> environmentValue(const std::string& name) {
    if (name.empty() || name.find_first_of(std::string_view("=\0", 2)) != std::string::npos) {
        return std::nullopt;
    }
    std::wstring wideName;
    try {
        wideName = wide(name);
    } catch (const BaseException&) {
        return std::nullopt;
    }
    std::wstring value(256, L'\0');
    while (true) {
        ::SetLastError(ERROR_SUCCESS);
        const DWORD length =
            ::GetEnvironmentVariableW(wideName.c_str(), value.data(), static_cast<DWORD>(value.size()));
        if (length == 0 && ::GetLastError() != ERROR_SUCCESS) {
            return std::nullopt;
        }
        if (length < value.size()) {
            value.resize(length);
            return narrow(value);
        }
        value.resize(length);
    }
}

void setEnvironmentValue(const std::string& name, const std::optional<std::string>& value) {
    const std::wstring wideName = wide(name);
    const std::wstring wideValue = value ? wide(*value) : std::wstring();
    if (!::SetEnvironmentVariableW(wideName.c_str(), value ? wideValue.c_str() : nullptr)) {
        const DWORD code = ::GetLastError();
        if (value || code != ERROR_ENVVAR_NOT_FOUND) {
            throw BaseException("The variable " + name + " could not be set (error " + std::to_string(code) +
                                ").");
        }
    }
}

std::vector<std::string> environmentStrings() {
    const std::unique_ptr<wchar_t, decltype(&::FreeEnvironmentStringsW)> block(::GetEnvironmentStringsW(),
                                                                               &::FreeEnvironmentStringsW);
    std::vector<std::string> strings;
    for (const wchar_t* entry = block.get(); entry && *entry;) {
        const std::wstring_view text(entry);
        if (text.front() != L'=') {
            strings.push_back(narrow(text));
        }
        entry += text.size() + 1;
    }
    return strings;
}

}  // namespace Base::Platform
