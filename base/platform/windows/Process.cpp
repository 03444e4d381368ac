#include "base/platform/Process.h"

#include <windows.h>

#include <boost/algorithm/string/replace.hpp>
#include <boost/algorithm/string/trim.hpp>

#include "base/platform/windows/Wide.h"

namespace Base::Platform {

namespace {

std::string reason(DWORD code, const boost::filesystem::path& program) {
    wchar_t text[1024];
    const DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                          code, 0, text, static_cast<DWORD>(std::size(text)), nullptr);
    std::string result = narrow(std::wstring_view(text, length));
    boost::algorithm::trim(result);
    boost::algorithm::replace_all(result, "%1", narrow(program.native()));
    return result + (result.empty() ? "error " : " (error ") + std::to_string(code) +
           (result.empty() ? "" : ")");
}

}  // namespace

std::optional<std::string> startProcess(const ProcessStart& start) {
    std::wstring commandLine = wide(start.commandLine);
    const std::wstring directory = start.directory.native();
    std::wstring environment;
    if (start.environment) {
        environment.assign(start.environment->begin(), start.environment->end());
    }
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!::CreateProcessW(start.program.c_str(), commandLine.data(), nullptr, nullptr, FALSE,
                          CREATE_NEW_CONSOLE | CREATE_UNICODE_ENVIRONMENT,
                          start.environment ? environment.data() : nullptr,
                          directory.empty() ? nullptr : directory.c_str(), &startup, &process)) {
        return reason(::GetLastError(), start.program);
    }
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return std::nullopt;
}

boost::filesystem::path fullPath(const boost::filesystem::path& path) {
    std::wstring result(MAX_PATH, L'\0');
    while (true) {
        const DWORD length =
            ::GetFullPathNameW(path.c_str(), static_cast<DWORD>(result.size()), result.data(), nullptr);
        if (length == 0) {
            return path;
        }
        const bool fits = length < result.size();
        result.resize(length);
        if (fits) {
            return result;
        }
    }
}

boost::filesystem::path batchInterpreter() {
    wchar_t directory[MAX_PATH];
    const UINT length = ::GetSystemDirectoryW(directory, MAX_PATH);
    return boost::filesystem::path(std::wstring(directory, length < MAX_PATH ? length : 0)) / L"cmd.exe";
}

}  // namespace Base::Platform
