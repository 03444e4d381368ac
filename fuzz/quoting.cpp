// Command lines. The parts of an input between NULs are arguments: from the command line of a program, the
// rules of the system give them back; from that of a batch file, the interpreter runs nothing else, and a
// program to which the batch file passes them on gets them back.
#include <algorithm>

#include "base/CommandLine.h"

#include "fuzz/Fuzz.h"

namespace {

using Fuzz::require;
using Strings = std::vector<std::string>;
using Base::CommandLine::batchCommandLine;
using Base::CommandLine::programCommandLine;

constexpr const char* interpreter = R"(C:\Windows\System32\cmd.exe)";
constexpr const char* script = R"(Z:\data\100% own\run it.bat)";

/// Whether a double quote behind another one, inside of quotes, is a part of the argument, as it is for the C
/// run-time.
enum class Doubled { apart, literal };

/// The words of a command line behind the program's name: blanks and tabs divide them outside of double
/// quotes; before a double quote, two backslashes are one, and one more keeps the quote from opening or
/// closing.
Strings wordsOf(std::string_view line, Doubled doubled) {
    Strings words;
    bool inWord = false;
    bool inQuotes = false;
    for (std::size_t i = 0; i < line.size();) {
        if (!inQuotes && (line[i] == ' ' || line[i] == '\t')) {
            inWord = false;
            ++i;
            continue;
        }
        if (!inWord) {
            words.emplace_back();
            inWord = true;
        }
        std::size_t backslashes = 0;
        for (; i < line.size() && line[i] == '\\'; ++i) {
            ++backslashes;
        }
        const bool atQuote = i < line.size() && line[i] == '"';
        words.back().append(atQuote ? backslashes / 2 : backslashes, '\\');
        if (!atQuote) {
            if (backslashes == 0) {
                words.back() += line[i++];
            }
            continue;
        }
        ++i;
        if (backslashes % 2 == 1) {
            words.back() += '"';
        } else if (doubled == Doubled::literal && inQuotes && i < line.size() && line[i] == '"') {
            words.back() += '"';
            ++i;
        } else {
            inQuotes = !inQuotes;
        }
    }
    return words;
}

/// Behind the program's name, which stands in double quotes.
std::string_view behindProgram(std::string_view line) {
    return line.substr(line.find('"', 1) + 1);
}

/// What the interpreter makes of its variables in a line that it was started with: a "%" that begins no name
/// of a variable stays. All that it might find under any name would be an attack, except for the one that is
/// empty.
std::string withVariables(std::string_view line) {
    std::string result;
    while (!line.empty()) {
        const std::size_t end = line.front() == '%' ? line.find('%', 1) : line.npos;
        if (end == line.npos || end == 1) {
            result += line.front();
            line.remove_prefix(1);
            continue;
        }
        const std::string_view name = line.substr(1, end - 1);
        require(name == "cd:~,", "the interpreter expands nothing that was passed on", name);
        line.remove_prefix(end + 1);
    }
    return result;
}

/// Whether the interpreter finds nothing but words in the line.
bool isOneCommand(std::string_view line) {
    bool inQuotes = false;
    for (const char c : line) {
        inQuotes = inQuotes != (c == '"');
        if (c == '\n' || c == '\r' ||
            (!inQuotes && std::string_view("&|<>()^;,=!").find(c) != std::string_view::npos)) {
            return false;
        }
    }
    return true;
}

bool isAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c > 0; });
}

void checkProgram(const Strings& arguments, bool mustPass) {
    std::string line;
    try {
        line = programCommandLine(R"(C:\Program Files\cad\cad.exe)", arguments);
    } catch (const Base::TaskError& error) {
        require(!mustPass, "what can be passed is passed", error.what());
        return;
    }
    const std::string_view rest = behindProgram(line);
    require(wordsOf(rest, Doubled::apart) == arguments && wordsOf(rest, Doubled::literal) == arguments,
            "a program gets its arguments back", line);
}

void checkBatch(const Strings& arguments, bool mustPass) {
    std::string line;
    try {
        line = batchCommandLine(interpreter, script, arguments);
    } catch (const Base::TaskError& error) {
        require(!mustPass, "what can be passed to a batch file is passed", error.what());
        return;
    }
    constexpr std::string_view options = R"( /d /e:ON /v:OFF /c ")";
    std::string_view rest = behindProgram(line);
    require(rest.starts_with(options) && rest.ends_with('"'), "the interpreter gets a quoted command", line);
    rest.remove_prefix(options.size());
    rest.remove_suffix(1);
    const std::string command = withVariables(rest);
    require(isOneCommand(command), "the interpreter runs one command", command);
    require(command.starts_with('"' + std::string(script) + '"'), "the command is the batch file", command);
    require(wordsOf(behindProgram(command), Doubled::literal) == arguments,
            "a program gets back what the batch file passes on", command);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input = Fuzz::textOf(data, size);
    const Strings arguments = Fuzz::split(input, '\0');
    const bool isPlain = std::all_of(arguments.begin(), arguments.end(), isAscii);
    checkProgram(arguments, isPlain && input.size() < 4000);
    checkBatch(arguments, isPlain && input.size() < 500 && input.find_first_of("\r\n") == input.npos);
    for (const std::string& argument : arguments) {
        require(wordsOf(Base::CommandLine::quoteArgument(argument), Doubled::apart) == Strings{argument},
                "a quoted argument is one word", argument);
    }
    return 0;
}
