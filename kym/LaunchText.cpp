#include "kym/LaunchText.h"

#include <algorithm>
#include <functional>

#include <boost/algorithm/string/replace.hpp>
#include <boost/unordered/unordered_flat_set.hpp>

#include "kym/CharacterClass.h"
#include "kym/Loggers.h"

namespace Kym {

namespace {

void replaceSlashes(std::string& text) {
    for (std::size_t slash = text.find('/'); slash != std::string::npos; slash = text.find('/', slash + 1)) {
        text[slash] = '\\';
    }
}

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
    std::size_t searched = 0;  // what is before belongs to an earlier match
    for (std::size_t end = text.find(';', 1); end < text.size(); end = text.find(';', end + 1)) {
        const std::size_t letter = end - 1;
        if (letter >= searched && isWordCharacter(text[letter]) &&
            (atLineStart(text, letter) || (letter > searched && text[letter - 1] == ';'))) {
            text[end] = ':';
            searched = end + 1;
        }
    }
}

void collapseSlashes(std::string& path) {
    if (path.find("//") != std::string::npos) {
        boost::replace_all(path, "//", "/");
    }
}

/// Calls `visit(piece, repeated)` for each path of a separated list.
template <typename Visit>
void visitPaths(std::string_view list, const Visit& visit) {
    boost::unordered_flat_set<std::string_view, std::hash<std::string_view>> seen;
    for (std::size_t begin = 0; begin < list.size();) {
        const std::size_t end = std::min(list.find(';', begin), list.size());
        const std::string_view piece = list.substr(begin, end - begin);
        begin = end + 1;
        if (!piece.empty()) {
            visit(piece, !seen.insert(piece).second);
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

bool keepsSeparators(std::string_view value) {
    return value.find("http:") != std::string_view::npos;
}

bool normalizeSeparators(std::string& value) {
    const bool changes = value.find('/') != std::string::npos && !keepsSeparators(value);
    if (changes) {
        replaceSlashes(value);
    }
    return changes;
}

std::string separatedPaths(std::string_view value) {
    std::string list = collapseSeparators(value);
    std::replace(list.begin(), list.end(), ':', ';');
    std::erase(list, '"');
    restoreDriveLetters(list);
    return list;
}

std::string cleanPathList(const std::string& value) {
    logVerbose("  PATH string = ", value);
    const std::string list = separatedPaths(value);
    logVerbose("  PATH string = ", list);

    std::string result;
    result.reserve(list.size());
    std::string kept;
    visitPaths(list, [&](std::string_view piece, bool repeated) {
        if (repeated) {
            return;
        }
        kept = piece;
        collapseSlashes(kept);
        logVerbose("  ", kept);
        if (!result.empty()) {
            result.push_back(';');
        }
        result.append(kept);
    });
    replaceSlashes(result);
    return result;
}

std::vector<CleanedPath> cleanedPaths(const std::string& value) {
    const std::string list = separatedPaths(value);
    std::vector<CleanedPath> paths;
    visitPaths(list, [&](std::string_view piece, bool repeated) {
        const auto begin = static_cast<std::size_t>(piece.data() - list.data());
        paths.push_back({std::string(piece), begin, begin + piece.size(), repeated});
        collapseSlashes(paths.back().text);
        replaceSlashes(paths.back().text);
    });
    return paths;
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
        const std::string_view rest = text.substr(position);
        const std::size_t length =
            rest.front() == '"' && lastQuote > position
                ? lastQuote + 1 - position
                : static_cast<std::size_t>(std::find_if(rest.begin(), rest.end(), isSpace) - rest.begin());
        arguments.emplace_back(rest.substr(0, length));
        position += length;
    }
    return arguments;
}

}  // namespace Kym
