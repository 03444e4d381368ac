#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Kym {

// The texts of a launch: paths, path lists and argument texts, as the CAD system's Windows programs expect
// them. Pure functions; they compute what the regular expressions beside them say, without their cost.

/// Collapses each doubled separator that follows a word character: every match of (\w(\\|/))(\\|/) becomes
/// its first group. The "\\" that begins a network path follows none and stays.
std::string collapseSeparators(std::string_view text);

/// Whether separators stay as they are in a value: it holds "http:".
bool keepsSeparators(std::string_view value);

/// Puts every separator into the Windows form, except in a value that keeps its separators. False when that
/// changes nothing.
bool normalizeSeparators(std::string& value);

/// Cleans a list of paths: doubled separators are collapsed, ":" between paths becomes ";" while drive
/// letters keep theirs, quotes go, empty and repeated paths are dropped (the first stays; comparison is
/// exact).
std::string cleanPathList(const std::string& value);

/// The first half of the cleaning: what it does to separators and quotes. What it makes of the beginning of a
/// value is the beginning of what it makes of the value.
std::string separatedPaths(std::string_view value);

struct CleanedPath {
    std::string text;   ///< in the Windows form
    std::size_t begin;  ///< where it stands in the separated list
    std::size_t end;
    bool repeated;  ///< the cleaning drops it
};

/// The paths that the cleaning finds in a list, in order.
std::vector<CleanedPath> cleanedPaths(const std::string& value);

/// Whether a variable of that name holds a list of paths: the name holds "PATH" and not "CLASSPATH".
bool isPathVariable(std::string_view name);

/// Whether a variable of that name is handed to a program: it begins with a letter and holds letters, digits
/// and "_" only, or holds "X86", as COMMONPROGRAMFILES(X86) does. The empty name passes.
bool isValidVariableName(std::string_view name);

/// Splits an argument text into every match of (".*"|[^\s]+), from left to right: from a quote to the last
/// quote of the text, quotes included, or a run of characters that are no blanks.
std::vector<std::string> splitArguments(std::string_view text);

}  // namespace Kym
