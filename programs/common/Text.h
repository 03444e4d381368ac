#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <boost/filesystem/path.hpp>

/// The length of the UTF-8 character with which a text, which is not empty, begins: shortest forms only, no
/// surrogates, nothing beyond U+10FFFF. 0 when it begins with none.
std::size_t characterLength(std::string_view text);
bool isUtf8(std::string_view text);

/// A text in one line that a terminal shows and does not obey: control characters, and bytes that are no
/// UTF-8, stand as "\n" and "\x1b".
std::string printable(std::string_view text);

/// The same of each line.
std::string printableLines(std::string_view text);

/// A text in a message: printable and between quotes.
std::string quoted(const std::string& text);

std::string joined(const std::vector<std::string>& texts);

/// A name as a word of a command line that is suggested to the user.
std::string wordFor(const std::string& name);

/// A path with the separators of the system.
std::string nativeText(boost::filesystem::path path);
