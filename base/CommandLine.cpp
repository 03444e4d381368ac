#include "base/CommandLine.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

#include "base/Text.h"
#include "base/platform/Utf16.h"

namespace Base::CommandLine {

namespace {

constexpr std::size_t systemLimit = 32767;
constexpr std::size_t interpreterLimit = 8191;

bool isLetterOrDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

[[noreturn]] void refuse(const std::string& what, const std::string& reason) {
    throw TaskError(what + " cannot be passed to a program: " + reason);
}

std::u16string utf16(std::string_view text, const std::string& what) {
    std::u16string result;
    result.reserve(text.size());
    const char* const end = text.data() + text.size();
    for (const char* next = text.data(); next != end;) {
        const char32_t character = Platform::takeUtf8(next, end);
        if (character == Platform::badCharacter) {
            refuse(what, "it is not UTF-8.");
        }
        if (character == 0) {
            refuse(what, "it holds a NUL.");
        }
        char16_t units[2];
        result.append(units, Platform::putUtf16(character, units));
    }
    return result;
}

std::string nameOf(std::string_view argument) {
    return "The argument \"" + Text::readable(argument, 200) + '"';
}

void checkLength(const std::string& line, std::size_t limit) {
    const std::size_t units = utf16(line, "The command line").size();
    if (units >= limit) {
        throw TaskError("The command line of " + std::to_string(units) +
                        " characters is too long, less than " + std::to_string(limit) +
                        " are possible: " + Text::readable(line, 200));
    }
}

std::string quotedProgram(const std::string& program) {
    if (program.find('"') != std::string::npos) {
        throw TaskError("The name of a program cannot hold a double quote: " + Text::readable(program));
    }
    return '"' + program + '"';
}

// Appends `count` backslashes once more, so that a double quote that follows them is not taken as escaped.
void doubleBackslashes(std::string& line, std::size_t count) {
    line.append(count, '\\');
}

// Stands for a percent sign where cmd.exe would expand variables: its first character is taken as it is, the
// rest is an empty part of a variable that always exists.
constexpr std::string_view percentSign = "%%cd:~,%";

std::string quoteForBatch(std::string_view argument) {
    const auto harmless = [](char c) {
        return isLetterOrDigit(c) || std::string_view("+-./:@\\_").find(c) != std::string_view::npos;
    };
    if (!argument.empty() && argument.back() != '\\' &&
        std::all_of(argument.begin(), argument.end(), harmless)) {
        return std::string(argument);
    }
    std::string quoted = "\"";
    std::size_t backslashes = 0;
    for (const char c : argument) {
        if (c == '\r' || c == '\n') {
            refuse(nameOf(argument), "a batch file cannot get a line break.");
        }
        if (c == '%') {
            quoted += percentSign;
        } else if (c == '"') {
            doubleBackslashes(quoted, backslashes);
            quoted += "\"\"";
        } else {
            quoted += c;
        }
        backslashes = c == '\\' ? backslashes + 1 : 0;
    }
    doubleBackslashes(quoted, backslashes);
    return quoted + '"';
}

bool hasBatchExtension(std::string_view name) {
    if (name.size() < 4) {
        return false;
    }
    std::string extension(name.substr(name.size() - 4));
    for (char& c : extension) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return extension == ".bat" || extension == ".cmd";
}

std::string_view withoutTrailing(std::string_view text, std::string_view characters) {
    return text.substr(0, text.find_last_not_of(characters) + 1);
}

// Upper case as the system sees it in the names of variables, for ASCII, Latin-1 and the Greek and Cyrillic
// alphabets without their accented and historic letters. Other letters stand for themselves.
char16_t upperCase(char16_t unit) {
    const auto in = [unit](char16_t first, char16_t last) { return unit >= first && unit <= last; };
    const bool by32 = in(u'a', u'z') || (in(0xE0, 0xFE) && unit != 0xF7) ||
                      (in(0x3B1, 0x3C9) && unit != 0x3C2) || in(0x430, 0x44F);
    if (by32) {
        return static_cast<char16_t>(unit - 32);
    }
    return in(0x450, 0x45F) ? static_cast<char16_t>(unit - 80) : unit;
}

}  // namespace

std::string quoteArgument(std::string_view argument) {
    if (!argument.empty() && argument.find_first_of(" \t\n\v\f\r\"") == std::string_view::npos) {
        return std::string(argument);
    }
    std::string quoted = "\"";
    std::size_t backslashes = 0;
    for (const char c : argument) {
        if (c == '"') {
            doubleBackslashes(quoted, backslashes);
            quoted += '\\';
        }
        quoted += c;
        backslashes = c == '\\' ? backslashes + 1 : 0;
    }
    doubleBackslashes(quoted, backslashes);
    return quoted + '"';
}

std::string programCommandLine(const std::string& program, const std::vector<std::string>& arguments) {
    std::string line = quotedProgram(program);
    for (const std::string& argument : arguments) {
        utf16(argument, nameOf(argument));
        line += ' ' + quoteArgument(argument);
    }
    checkLength(line, systemLimit);
    return line;
}

bool isBatchFile(std::string_view path) {
    constexpr std::string_view dropped = "./\\ ";
    path = withoutTrailing(path, dropped);
    std::string_view name = path.substr(path.find_last_of("/\\") + 1);
    while (!name.empty()) {
        const std::size_t colon = std::min(name.find(':'), name.size() - 1);
        if (hasBatchExtension(withoutTrailing(name.substr(0, colon + 1), ":. "))) {
            return true;
        }
        name.remove_prefix(colon + 1);
    }
    return false;
}

std::string batchCommandLine(const std::string& cmdExe, const std::string& script,
                             const std::vector<std::string>& arguments) {
    const std::string_view name = std::string_view(script).substr(script.find_last_of("/\\") + 1);
    if (!hasBatchExtension(script) || name.find(':') != std::string_view::npos ||
        script.find_first_of("\"\r\n") != std::string::npos) {
        throw TaskError("This cannot be run as a batch file: " + Text::readable(script));
    }
    std::string line = quotedProgram(cmdExe) + " /d /e:ON /v:OFF /c \"\"";
    for (const char c : script) {
        line += c == '%' ? std::string(percentSign) : std::string(1, c);
    }
    line += '"';
    for (const std::string& argument : arguments) {
        utf16(argument, nameOf(argument));
        line += ' ' + quoteForBatch(argument);
    }
    line += '"';
    checkLength(line, interpreterLimit);
    return line;
}

std::u16string environmentBlock(const std::map<std::string, std::string>& variables) {
    struct Entry {
        std::u16string key;
        std::u16string text;
    };
    std::vector<Entry> entries;
    entries.reserve(variables.size());
    for (const auto& [name, value] : variables) {
        if (name.empty()) {
            continue;
        }
        const std::string what = "The variable " + Text::readable(name);
        if (name.find('=') != std::string::npos) {
            refuse(what, "its name holds \"=\".");
        }
        std::u16string key = utf16(name, what);
        std::u16string text = key + u'=' + utf16(value, what);
        if (text.size() >= systemLimit) {
            refuse(what, "its name and value have " + std::to_string(text.size()) +
                             " characters, less than " + std::to_string(systemLimit) + " are possible.");
        }
        std::transform(key.begin(), key.end(), key.begin(), upperCase);
        entries.push_back({std::move(key), std::move(text)});
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& a, const Entry& b) { return a.key < b.key; });
    std::u16string block;
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        const auto next = std::next(entry);
        if (next == entries.end() || next->key != entry->key) {
            block.append(entry->text).push_back(u'\0');
        }
    }
    block.append(block.empty() ? 2 : 1, u'\0');
    return block;
}

}  // namespace Base::CommandLine
