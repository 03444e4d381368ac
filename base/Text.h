#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// What the writers and readers of text files need to know about bytes.
namespace Base::Text {

/// The offset of the first byte that an XML 1.0 file in UTF-8 cannot carry: malformed UTF-8, a control
/// character other than tab, line feed and carriage return, U+FFFE or U+FFFF. `npos` when there is none.
std::size_t findNonXml(std::string_view text);

/// Whether `text` can be written as it is, between two tags as well as in a value between double quotes:
/// ASCII without control characters and markup. The quick question before `isXml`.
bool isPlain(std::string_view text);

inline bool isXml(std::string_view text) {
    return findNonXml(text) == std::string_view::npos;
}

/// Whether `code` is a character that a reference such as "&#13;" may stand for.
bool isXmlCharacter(unsigned long code);

/// Append `text`, for which `isXml` holds, so that an XML reader finds exactly it, a carriage return and
/// blanks at either end included: between two tags, or in a value between double quotes.
void appendXmlText(std::string& out, std::string_view text);
void appendXmlAttribute(std::string& out, std::string_view text);

/// What a message shows of a foreign text: the bytes that are not UTF-8, and control characters, as \xNN.
/// `readable` gives one line: what is longer than `longest` bytes is cut between two characters and ends with
/// "..."; `readableLines` keeps tabs and line breaks.
std::string readable(std::string_view text, std::size_t longest = std::string_view::npos);
std::string readableLines(std::string_view text);

/// How a message about a file begins: "FILE:LINE: "; without a line that is not known, 0.
std::string located(const std::string& file, int line);

/// `text` without the XML white space at its ends.
std::string_view trimmed(std::string_view text);
inline bool isBlank(std::string_view text) {
    return trimmed(text).empty();
}

/// Append the base64 form of `bytes`, in one line.
void appendBase64(std::string& out, std::string_view bytes);

/// Appends what the base64 `text` stands for; white space in it is skipped. False, with `out` in an
/// unspecified state, when it is no base64.
bool decodeBase64(std::string_view text, std::string& out);

}  // namespace Base::Text
