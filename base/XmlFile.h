#pragma once

#include <array>
#include <bit>
#include <optional>
#include <string>
#include <string_view>

#include <boost/filesystem/path.hpp>
#include <pugixml.hpp>

#include "base/BaseException.h"
#include "base/FileContent.h"
#include "base/FileState.h"

namespace Base {

/// An XML file, read in one go and parsed in place. Internal to base/: the foundation of the readers of keyed
/// archives and of property lists.
///
/// Taken is XML 1.0 in UTF-8 (with or without a byte order mark) with exactly one root element. Entities that
/// a document type declares are not: a reference that is not predefined is an error. White space between
/// elements is dropped; white space that is the whole text of an element is kept. (Not kept is white space
/// that stands alone between two comments or CDATA sections inside a text.)
class XmlFile {
  public:
    /// A file that is not such a file.
    class Error : public BaseException {
      public:
        Error(int line, const std::string& reason) : BaseException(reason), mLine(line) {}
        ~Error() override;

        int line() const { return mLine; }  ///< 1 for the first line, 0 when no line is concerned

      private:
        int mLine;
    };

    /// `boost::filesystem::filesystem_error` when the file cannot be read, `Error` when it is damaged.
    explicit XmlFile(const boost::filesystem::path& file);
    XmlFile(const XmlFile&) = delete;
    XmlFile& operator=(const XmlFile&) = delete;

    pugi::xml_node root() const { return mRoot; }
    const FileState& state() const { return mState; }

    /// The line of an element. The file is read again for it, since parsing in place changes the text: meant
    /// for messages only. 0 when that fails.
    int line(pugi::xml_node element) const;

    /// Whether there is no element; as `!element`, without a call into the parser's library.
    static bool isNone(pugi::xml_node element) { return std::bit_cast<Handle>(element) == kNoElement; }

    static bool isNone(pugi::xml_attribute attribute) {
        return std::bit_cast<AttributeHandle>(attribute) == kNoAttribute;
    }

    /// Whether an attribute stands twice in an element, which no XML file may have. The parser lets it pass;
    /// a reader asks for the elements that it looks at.
    static bool repeatsAttribute(pugi::xml_node element);

    /// Whether an element has no text of its own but white space.
    static bool holdsOnlyElements(pugi::xml_node element);

    /// The text of an element. Where a comment or a CDATA section divides it, it is put together in `joined`;
    /// else the result is the text in the file. None when the element holds other elements.
    static std::optional<std::string_view> text(pugi::xml_node element, std::string& joined);

  private:
    using Handle = std::array<unsigned char, sizeof(pugi::xml_node)>;
    using AttributeHandle = std::array<unsigned char, sizeof(pugi::xml_attribute)>;
    static inline const Handle kNoElement = std::bit_cast<Handle>(pugi::xml_node());
    static inline const AttributeHandle kNoAttribute = std::bit_cast<AttributeHandle>(pugi::xml_attribute());

    int lineAt(std::ptrdiff_t offset) const;

    boost::filesystem::path mFile;
    FileContent mText;
    FileState mState;
    pugi::xml_document mDocument;
    pugi::xml_node mRoot;
};

}  // namespace Base
