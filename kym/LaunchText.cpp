#include "kym/LaunchText.h"

#include <algorithm>

#include <boost/unordered/unordered_flat_set.hpp>

#include "kym/CharacterClass.h"
#include "kym/Loggers.h"

using Base::log::LoggerStream;

namespace Kym {

namespace {

bool isSeparator(char c) {
    return c == '\\' || c == '/';
}

/// Whether "^" matches there: at the start of the text and of every line in it.
bool atLineStart(std::string_view text, std::size_t position) {
    if (position == 0) {
        return true;
    }
    const char previous = text[position - 1];
    if (previous == '\r') {
        return text[position] != '\n';
    }
    return previous == '\n' || previous == '\f';
}

/// Every match of ((^|;)\w); becomes its first group and a ":".
void restoreDriveLetters(std::string& text) {
    std::size_t position = 0;
    while (position + 1 < text.size()) {
        std::size_t letter = std::string::npos;
        if (atLineStart(text, position) && isWordCharacter(text[position]) && text[position + 1] == ';') {
            letter = position;
        } else if (position + 2 < text.size() && text[position] == ';' &&
                   isWordCharacter(text[position + 1]) && text[position + 2] == ';') {
            letter = position + 1;
        }
        if (letter == std::string::npos) {
            ++position;
        } else {
            text[letter + 1] = ':';
            position = letter + 2;
        }
    }
}

}  // namespace

std::string collapseSeparators(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    std::size_t copied = 0;
    for (std::size_t position = 1; position + 1 < text.size(); ++position) {
        if (isSeparator(text[position]) && isSeparator(text[position + 1]) &&
            isWordCharacter(text[position - 1])) {
            result.append(text, copied, position + 1 - copied);
            copied = position + 2;
            ++position;
        }
    }
    return result.append(text, copied);
}

void normalizeSeparators(std::string& value) {
    if (value.find('/') != std::string::npos && value.find("http:") == std::string::npos) {
        std::replace(value.begin(), value.end(), '/', '\\');
    }
}

std::string cleanPathList(const std::string& value) {
    if (LoggerStream line{verboseLogger()}) {
        line << "  PATH string = " << value << std::endl;
    }
    std::string list = collapseSeparators(value);
    std::replace(list.begin(), list.end(), ':', ';');
    std::erase(list, '"');
    restoreDriveLetters(list);
    if (LoggerStream line{verboseLogger()}) {
        line << "  PATH string = " << list << std::endl;
    }

    std::string result;
    result.reserve(list.size());
    boost::unordered_flat_set<std::string_view> seen;
    for (std::size_t begin = 0; begin < list.size();) {
        const std::size_t end = std::min(list.find(';', begin), list.size());
        const std::string_view piece = std::string_view(list).substr(begin, end - begin);
        begin = end + 1;
        if (piece.empty() || !seen.insert(piece).second) {
            continue;
        }
        if (!result.empty()) {
            result.push_back(';');
        }
        const std::size_t start = result.size();
        for (std::size_t at = 0; at < piece.size(); ++at) {
            result.push_back(piece[at]);
            at += piece.substr(at).starts_with("//") ? 1U : 0U;
        }
        if (LoggerStream line{verboseLogger()}) {
            line << "  " << result.substr(start) << std::endl;
        }
        std::replace(result.begin() + static_cast<std::ptrdiff_t>(start), result.end(), '/', '\\');
    }
    return result;
}

bool isPathVariable(std::string_view name) {
    return name.find("PATH") != std::string_view::npos && name.find("CLASSPATH") == std::string_view::npos;
}

bool isValidVariableName(std::string_view name) {
    if (!name.empty() && !isLetter(name.front())) {
        return false;
    }
    return areWordCharacters(name) || name.find("X86") != std::string_view::npos;
}

std::vector<std::string> splitArguments(std::string_view text) {
    std::vector<std::string> arguments;
    const std::size_t lastQuote = text.rfind('"');
    std::size_t position = 0;
    while (position < text.size()) {
        if (isSpace(text[position])) {
            ++position;
            continue;
        }
        std::size_t end = position;
        if (text[position] == '"' && lastQuote > position) {
            end = lastQuote + 1;
        } else {
            while (end < text.size() && !isSpace(text[end])) {
                ++end;
            }
        }
        arguments.emplace_back(text.substr(position, end - position));
        position = end;
    }
    return arguments;
}

}  // namespace Kym
