#include "base/platform/EnvironmentBlock.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <unistd.h>

#include "base/BaseException.h"

namespace Base::Platform {

std::optional<std::string> environmentValue(const std::string& name) {
    if (name.empty() || name.find_first_of(std::string_view("=\0", 2)) != std::string::npos) {
        return std::nullopt;
    }
    const char* value = std::getenv(name.c_str());
    return value ? std::optional<std::string>(value) : std::nullopt;
}

void setEnvironmentValue(const std::string& name, const std::optional<std::string>& value) {
    const int failed = value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
    if (failed) {
        const std::error_code reason(errno, std::generic_category());
        throw BaseException("The variable " + name + " could not be set: " + reason.message());
    }
}

std::vector<std::string> environmentStrings() {
    std::vector<std::string> strings;
    for (char** entry = environ; entry && *entry; ++entry) {
        strings.emplace_back(*entry);
    }
    return strings;
}

}  // namespace Base::Platform
