#include "ScriptText.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string_view>

#include "programs/common/Text.h"

namespace {

[[noreturn]] void refuse(const std::string& shell, const std::string& name, const std::string& reason) {
    throw std::runtime_error(shell + " cannot set the variable " + name + ": " + reason + " Use --format " +
                             (shell == "cmd.exe" ? "powershell or json" : "json") + " instead.");
}

bool isControl(char c) {
    return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == '\x7F';
}

void checkBatch(const std::string& name, const std::string& value) {
    const auto check = [&](bool wrong, const std::string& reason) {
        if (wrong) {
            refuse("cmd.exe", name, reason);
        }
    };
    check(!isUtf8(name) || !isUtf8(value), "the text is not UTF-8.");
    check(name.empty() || name.find_first_of("=\"") != std::string::npos,
          "its name is empty or holds \"=\" or a quote.");
    check(std::any_of(name.begin(), name.end(), isControl) ||
              std::any_of(value.begin(), value.end(), isControl),
          "it holds a line break or another control character.");
}

/// set "NAME=VALUE": the command takes everything up to the last quote of the line. To the reader of the
/// line, each quote begins or ends a quoted stretch, and outside of one what means something to it needs a
/// "^".
std::string setLine(const std::string& name, const std::string& value) {
    std::string line = "set \"";
    bool quoted = true;
    for (const char c : name + '=' + value) {
        if (c == '%') {
            line += "%%";
            continue;
        }
        if (c == '"') {
            quoted = !quoted;
        } else if (!quoted && std::string_view("&|<>^()").find(c) != std::string_view::npos) {
            line += '^';
        }
        line += c;
    }
    return line + '"';
}

bool isAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// The number of the character at that place, which moves behind it. The text is UTF-8.
std::uint32_t nextCharacter(const std::string& text, std::size_t& place) {
    const auto byte = [&](std::size_t at) { return std::uint32_t{static_cast<unsigned char>(text[at])}; };
    const std::uint32_t first = byte(place++);
    std::uint32_t code = first < 0x80   ? first
                         : first < 0xE0 ? first & 0x1FU
                         : first < 0xF0 ? first & 0xFU
                                        : first & 7U;
    while (place < text.size() && (byte(place) & 0xC0U) == 0x80U) {
        code = (code << 6U) | (byte(place++) & 0x3FU);
    }
    return code;
}

/// A literal between single quotes, in which nothing but the quote itself means anything.
std::string powerShellLiteral(const std::string& text) {
    std::string result = "'";
    const auto appendUnit = [&](std::uint32_t unit) { result += "'+[char]" + std::to_string(unit) + "+'"; };
    for (std::size_t place = 0; place < text.size();) {
        const std::uint32_t code = nextCharacter(text, place);
        if (code == '\'') {
            result += "''";
        } else if (code >= 0x20 && code < 0x7F) {
            result += static_cast<char>(code);
        } else if (code > 0xFFFF) {
            appendUnit(0xD800 + ((code - 0x10000) >> 10U));
            appendUnit(0xDC00 + ((code - 0x10000) & 0x3FFU));
        } else {
            appendUnit(code);
        }
    }
    return result + "'";
}

/// The length in the units that Windows counts in.
std::size_t lengthOf(const std::string& text) {
    std::size_t length = 0;
    for (std::size_t place = 0; place < text.size(); ++length) {
        length += nextCharacter(text, place) > 0xFFFF ? 1 : 0;
    }
    return length;
}

}  // namespace

std::string batchScript(const Environment& environment) {
    constexpr std::size_t longestLine = 8191;
    std::string settings;
    for (const auto& [name, value] : environment) {
        checkBatch(name, value);
        const std::string line = setLine(name, value);
        if (lengthOf(line) > longestLine) {
            refuse("cmd.exe", name,
                   "its line would be longer than the " + std::to_string(longestLine) +
                       " characters that are read.");
        }
        settings += line + "\n";
    }
    const std::string start =
        "@echo off\n"
        "if \"!!\"==\"\" (\n"
        "  echo This script needs delayed expansion switched off: cmd /v:off 1>&2\n"
        "  exit /b 1\n"
        ")\n";
    const std::string clear = "for /f \"eol== delims==\" %%v in ('set') do set \"%%v=\"\n";
    const std::string end = "exit /b 0\n";
    if (isAscii(settings)) {
        return start + clear + settings + end;
    }
    // What the console had is kept in the parameters of a call: variables would be among those that are
    // unset.
    return start +
           "if not exist \"%SystemRoot%\\System32\\chcp.com\" (\n"
           "  echo This script needs chcp.com, which SystemRoot should lead to. 1>&2\n"
           "  exit /b 1\n"
           ")\n"
           "set \"KYM_CHCP=%SystemRoot%\\System32\\chcp.com\"\n"
           "for /f \"tokens=2 delims=:.\" %%c in ('\"%KYM_CHCP%\"') do call :set %%c \"%KYM_CHCP%\" & exit "
           "/b 0\n"
           "echo chcp.com does not tell the code page, as there is no console; nothing was set. 1>&2\n"
           "exit /b 1\n"
           ":set\n"
           "\"%~2\" 65001 >nul\n" +
           clear + settings + "\"%~2\" %1 >nul 2>nul\n" + end;
}

std::string powerShellScript(const Environment& environment) {
    constexpr std::size_t longestValue = 32766;
    std::string script =
        "& {\n"
        "$ErrorActionPreference = 'Stop'\n"
        "Get-ChildItem Env: | ForEach-Object { Remove-Item -LiteralPath ('Env:' + $_.Name) }\n";
    for (const auto& [name, value] : environment) {
        const auto check = [&name = name](bool wrong, const std::string& reason) {
            if (wrong) {
                refuse("PowerShell", name, reason);
            }
        };
        check(!isUtf8(name) || !isUtf8(value), "the text is not UTF-8.");
        check(name.empty() || name.find('=') != std::string::npos, "its name is empty or holds \"=\".");
        check((name + value).find('\0') != std::string::npos, "it holds a NUL.");
        check(lengthOf(value) > longestValue,
              "it is longer than " + std::to_string(longestValue) + " characters.");
        script += "[Environment]::SetEnvironmentVariable((" + powerShellLiteral(name) + "), (" +
                  powerShellLiteral(value) + "), 'Process')\n";
    }
    return script + "}\n";
}
