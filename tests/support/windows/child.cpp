// Tells what a started program gets: a record for every argument, as the C run-time splits the command line
// ("a") and as the system does ("w"), for every variable ("v") and for the working directory ("d"), each with
// a NUL at its end. The file named by KYM_TEST_REPORT appears when it is complete. Standard output gets a
// line, too.

#include <cstdio>
#include <string>

// clang-format off
#include <windows.h>
#include <shellapi.h>
// clang-format on

namespace {

std::string record(char kind, const std::wstring& text) {
    std::string bytes(text.size() * 3, '\0');
    const int length = ::WideCharToMultiByte(CP_UTF8, 0, text.c_str(), static_cast<int>(text.size()),
                                             bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
    bytes.resize(static_cast<std::size_t>(length));
    return kind + bytes + '\0';
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    std::puts("started");
    std::fflush(stdout);
    std::string report;
    for (int i = 1; i < count; ++i) {
        report += record('a', arguments[i]);
    }
    int wordCount = 0;
    wchar_t** words = ::CommandLineToArgvW(::GetCommandLineW(), &wordCount);
    for (int i = 1; i < wordCount; ++i) {
        report += record('w', words[i]);
    }
    for (const wchar_t* entry = ::GetEnvironmentStringsW(); *entry;) {
        const std::wstring text(entry);
        report += record('v', text);
        entry += text.size() + 1;
    }
    std::wstring directory(32768, L'\0');
    directory.resize(::GetCurrentDirectoryW(32768, directory.data()));
    report += record('d', directory);

    const wchar_t* file = ::_wgetenv(L"KYM_TEST_REPORT");
    const std::wstring unfinished = std::wstring(file ? file : L"") + L".unfinished";
    std::FILE* out = ::_wfopen(unfinished.c_str(), L"wb");
    if (!file || !out || std::fwrite(report.data(), 1, report.size(), out) != report.size() ||
        std::fclose(out) != 0) {
        return 1;
    }
    return ::MoveFileExW(unfinished.c_str(), file, MOVEFILE_REPLACE_EXISTING) ? 0 : 1;
}
