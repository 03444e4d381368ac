#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// A value to be written as JSON, its members in the order in which they were given.
///
/// JSON carries text, not bytes: text that is no UTF-8 is refused, with the place at which it stands, rather
/// than written as something else. Control characters are escaped; everything else stands as it is.
class Json {
  public:
    using Members = std::vector<std::pair<std::string, Json>>;

    Json() = default;  ///< null
    Json(std::string text) : mKind(Kind::text), mText(std::move(text)) {}
    Json(const char* text) : Json(std::string(text)) {}
    Json(bool value) : mKind(Kind::word), mText(value ? "true" : "false") {}
    Json(std::uint64_t number) : mKind(Kind::word), mText(std::to_string(number)) {}

    static Json object(Members members = {});
    static Json array();
    static Json array(const std::vector<std::string>& texts);

    /// Appends a member to an object, an element to an array.
    void add(std::string name, Json value) { mMembers.emplace_back(std::move(name), std::move(value)); }
    void add(Json element) { mMembers.emplace_back(std::string(), std::move(element)); }

    /// The document, indented, with a line break at its end. `std::runtime_error` for text that is no UTF-8.
    std::string document() const;

  private:
    enum class Kind { word, text, array, object };

    void append(std::string& out, std::size_t depth, const std::string& place) const;

    Kind mKind = Kind::word;
    std::string mText = "null";
    Members mMembers;
};
