#include "base/platform/UserFolders.h"

// clang-format off
#include <windows.h>
#include <shlobj.h>
// clang-format on

namespace Base::Platform {

std::optional<boost::filesystem::path> applicationDataFolder() {
    wchar_t folder[MAX_PATH] = {};
    if (FAILED(::SHGetFolderPathW(nullptr, CSIDL_APPDATA | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT,
                                  folder))) {
        return std::nullopt;
    }
    return boost::filesystem::path(folder);
}

}  // namespace Base::Platform
