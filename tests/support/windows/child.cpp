// Tells what a started program gets: a line for every argument, for every variable and, last, for the working
// directory, each as hexadecimal digits behind a colon. The file named by KYM_TEST_REPORT appears when it is
// complete. Standard output gets a line, too.

#include <cstdio>
#include <string>

// clang-format off
#include <windows.h>
#include <shellapi.h>
// clang-format on

namespace {

std::wstring variable(const wchar_t* name) {
    wchar_t value[32768];
    return std::wstring(value, ::GetEnvironmentVariableW(name, value, 32768));
}

std::string record(const char* kind, const std::wstring& text) {
    std::string bytes(text.size() * 3, '\0');
    const int length = ::WideCharToMultiByte(CP_UTF8, 0, text.c_str(), static_cast<int>(text.size()),
                                             bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
    bytes.resize(static_cast<std::size_t>(length));
    std::string line = std::string(kind) + " :";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        line += {"0123456789abcdef"[byte >> 4U], "0123456789abcdef"[byte & 0xFU]};
    }
    return line + '\n';
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    std::puts("started");
    std::fflush(stdout);
    const std::wstring file = variable(L"KYM_TEST_REPORT");
    std::string report;
    for (int i = 1; i < count; ++i) {
        report += record("argument", arguments[i]);
    }
    int wordCount = 0;
    wchar_t** words = ::CommandLineToArgvW(::GetCommandLineW(), &wordCount);
    for (int i = 1; i < wordCount; ++i) {
        report += record("word", words[i]);
    }
    for (const wchar_t* entry = ::GetEnvironmentStringsW(); *entry;) {
        const std::wstring text(entry);
        report += record("variable", text);
        entry += text.size() + 1;
    }
    std::wstring directory(32768, L'\0');
    directory.resize(::GetCurrentDirectoryW(32768, directory.data()));
    report += record("directory", directory);

    const std::wstring unfinished = file + L".unfinished";
    std::FILE* out = ::_wfopen(unfinished.c_str(), L"wb");
    if (!out || std::fwrite(report.data(), 1, report.size(), out) != report.size() || std::fclose(out) != 0) {
        return 1;
    }
    return ::MoveFileExW(unfinished.c_str(), file.c_str(), MOVEFILE_REPLACE_EXISTING) ? 0 : 1;
}
