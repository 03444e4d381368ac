#include "kym/DepartmentName.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "base/Text.h"
#include "kym/CharacterClass.h"

namespace Kym {

namespace {

constexpr std::size_t longest = 255;

bool isReservedCharacter(char c) {
    return (static_cast<unsigned char>(c) < ' ') ||
           std::string_view("<>:\"/\\|?*").find(c) != std::string_view::npos;
}

/// Windows takes these for devices with any extension too.
bool isDevice(const std::string& name) {
    std::string stem = name.substr(0, name.find('.'));
    stem.erase(stem.find_last_not_of(' ') + 1);
    std::transform(stem.begin(), stem.end(), stem.begin(), toUpper);
    for (const char* device : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"}) {
        if (stem == device) {
            return true;
        }
    }
    const bool isPort = stem.starts_with("COM") || stem.starts_with("LPT");
    const std::string number = isPort ? stem.substr(3) : std::string();
    for (const char* superscript : {"\xC2\xB9", "\xC2\xB2", "\xC2\xB3"}) {
        if (number == superscript) {
            return true;
        }
    }
    return number.size() == 1 && number[0] >= '0' && number[0] <= '9';
}

}  // namespace

void checkDepartmentName(const std::string& name) {
    const auto refuse = [&name](const std::string& reason) {
        throw std::runtime_error("\"" + Base::Text::readable(name, 100) +
                                 "\" cannot be the name of a department: " + reason);
    };
    if (name.empty()) {
        refuse("it is empty.");
    }
    if (name.back() == '.' || name.back() == ' ') {
        refuse("Windows drops a dot or a blank at the end of a name.");
    }
    if (std::any_of(name.begin(), name.end(), isReservedCharacter)) {
        refuse("Windows allows none of < > : \" / \\ | ? * and no control character in a name.");
    }
    if (!Base::Text::isXml(name)) {
        refuse("it is not UTF-8, or holds what the settings files cannot carry.");
    }
    if (name.size() > longest) {
        refuse("it is longer than " + std::to_string(longest) + " bytes.");
    }
    if (isDevice(name)) {
        refuse("Windows keeps it for a device.");
    }
}

}  // namespace Kym
