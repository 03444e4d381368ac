#include <algorithm>
#include <cwchar>
#include <locale>

#include <boost/filesystem/path.hpp>

#include "base/platform/Utf16.h"

namespace Base::Platform {
namespace {

// Narrow text of boost::filesystem::path is UTF-8, whatever code page the system uses.
class PathEncoding : public std::codecvt<wchar_t, char, std::mbstate_t> {
  public:
    PathEncoding() : std::codecvt<wchar_t, char, std::mbstate_t>(1) {}  // 1: no locale deletes it

  protected:
    result do_in(std::mbstate_t&, const char* from, const char* fromEnd, const char*& fromNext, wchar_t* to,
                 wchar_t* toEnd, wchar_t*& toNext) const override {
        for (fromNext = from, toNext = to; fromNext != fromEnd;) {
            const char* behind = fromNext;
            const char32_t character = takeUtf8(behind, fromEnd);
            if (character == badCharacter) {
                return error;
            }
            wchar_t units[2];
            const std::size_t count = putUtf16(character, units);
            if (static_cast<std::size_t>(toEnd - toNext) < count) {
                return partial;
            }
            toNext = std::copy_n(units, count, toNext);
            fromNext = behind;
        }
        return ok;
    }

    result do_out(std::mbstate_t&, const wchar_t* from, const wchar_t* fromEnd, const wchar_t*& fromNext,
                  char* to, char* toEnd, char*& toNext) const override {
        for (fromNext = from, toNext = to; fromNext != fromEnd;) {
            const wchar_t* behind = fromNext;
            char bytes[4];
            const std::size_t count = putUtf8(takeUtf16(behind, fromEnd), bytes);
            if (static_cast<std::size_t>(toEnd - toNext) < count) {
                return partial;
            }
            toNext = std::copy_n(bytes, count, toNext);
            fromNext = behind;
        }
        return ok;
    }

    result do_unshift(std::mbstate_t&, char* to, char*, char*& toNext) const override {
        toNext = to;
        return noconv;
    }

    int do_length(std::mbstate_t&, const char* from, const char* fromEnd, std::size_t limit) const override {
        const char* next = from;
        for (std::size_t units = 0; next != fromEnd;) {
            const char* behind = next;
            const char32_t character = takeUtf8(behind, fromEnd);
            units += character < 0x10000 ? 1 : 2;
            if (character == badCharacter || units > limit) {
                break;
            }
            next = behind;
        }
        return static_cast<int>(next - from);
    }

    int do_encoding() const noexcept override { return 0; }
    bool do_always_noconv() const noexcept override { return false; }
    int do_max_length() const noexcept override { return 4; }
};

struct Installer {
    Installer() { boost::filesystem::path::imbue(std::locale(std::locale::classic(), new PathEncoding)); }
};

// Before the other statics of the library, which may make paths. The facet is never deleted: paths are used
// until the very end of the process.
#if defined(_MSC_VER)
#pragma warning(suppress : 4073)
#pragma init_seg(lib)
const Installer installer;
#else
__attribute__((init_priority(101))) const Installer installer;
#endif

}  // namespace
}  // namespace Base::Platform
