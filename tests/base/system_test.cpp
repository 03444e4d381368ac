#include <string>
#include <tuple>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "base/FileManager.h"
#include "base/platform/Registry.h"
#include "base/platform/ShortPath.h"

#include "gtest/gtest.h"
#include "tests/support/ScratchSupport.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {

namespace fs = boost::filesystem;
using namespace std::string_literals;

TEST(ShortPath, NamesTheSameFile) {
    const Support::Scratch scratch;
    const fs::path file = scratch / "a long name with blanks \xC3\xA4.txt";
    Base::FileManager::replaceFile(file, "x");
    const std::string result = Base::Platform::shortPath(file.string());
    ASSERT_NE(result, "");
    EXPECT_TRUE(fs::equivalent(result, file)) << result;
#if defined(_WIN32)
    EXPECT_LE(fs::path(result).filename().native().size(), 12U) << result;
#endif
    EXPECT_EQ(Base::Platform::shortPath((scratch / "missing").string()), "");
    EXPECT_EQ(Base::Platform::shortPath(file.string() + "\0x"s), "");
    EXPECT_EQ(Base::Platform::shortPath(file.string() + "\xFF"), "");
}

#if defined(_WIN32)

TEST(Registry, ReadsTextsWithinTheLimit) {
    // The type, what is stored (with its terminating NUL if any), and what is read.
    const std::vector<std::tuple<DWORD, std::wstring, std::string>> cases = {
        {REG_SZ, L"D:\\nx \u00E4\u20AC\\\0"s, "D:\\nx \xC3\xA4\xE2\x82\xAC\\"},
        {REG_EXPAND_SZ, L"%ProgramFiles%\\nx\0"s, "%ProgramFiles%\\nx"},
        {REG_SZ, L"first\0second\0"s, "first"},
        {REG_SZ, L""s, ""},
        {REG_SZ, std::wstring(259, L'x') + L'\0', std::string(259, 'x')},
        {REG_SZ, std::wstring(260, L'x') + L'\0', ""},
        {REG_SZ, std::wstring(259, L'x'), std::string(259, 'x')},
        {REG_SZ, std::wstring(260, L'x'), ""},
        {REG_SZ, std::wstring(87, L'\u20AC') + L'\0', ""},  // 261 bytes in UTF-8
        {REG_SZ, std::wstring(5000, L'x'), ""},
        {REG_BINARY, L"binary\0"s, ""},
    };
    const std::wstring key = L"SOFTWARE\\KymTest \u00E4 " + std::to_wstring(::GetCurrentProcessId());
    const std::string narrowKey = "SOFTWARE\\KymTest \xC3\xA4 " + std::to_string(::GetCurrentProcessId());
    EXPECT_EQ(Base::Platform::localMachineText(narrowKey, "Value"), "");
    for (const auto& [type, data, expected] : cases) {
        ASSERT_EQ(::RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"Value \u00E4", type, data.data(),
                                    static_cast<DWORD>(data.size() * sizeof(wchar_t))),
                  ERROR_SUCCESS);
        EXPECT_EQ(Base::Platform::localMachineText(narrowKey, "Value \xC3\xA4"), expected)
            << type << " of " << data.size();
    }
    EXPECT_EQ(Base::Platform::localMachineText(narrowKey, "Missing"), "");
    EXPECT_EQ(Base::Platform::localMachineText(narrowKey + "\xFF", "Value"), "");
    EXPECT_EQ(::RegDeleteTreeW(HKEY_LOCAL_MACHINE, key.c_str()), ERROR_SUCCESS);
}

#endif

}  // namespace
