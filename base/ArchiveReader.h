#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include <boost/any.hpp>
#include <boost/filesystem/path.hpp>
#include <pugixml.hpp>

#include "base/Unarchiver.h"
#include "base/XmlFile.h"

namespace Base {

class CoderBase;

/// Finds the values of a keyed archive in its parsed XML. Internal to base/; `Unarchiver` is what others use.
///
/// Members that are asked for in the order in which they stand are found at once. The first key that is not
/// the next one has the members of that object listed, and what is wrong among them is told.
///
/// What nobody asks for or knows is skipped. It may be what a damaged name has left, or a later program's, so
/// that the file is noted as damaged: a copy is kept when it is replaced by one without it.
class ArchiveReader {
  public:
    enum class Kind { String, Bytes, Bool, Int, Object, Unknown };

    /// A member of an object, or an item of a collection.
    struct Element {
        pugi::xml_node node;
        CoderBase* coder = nullptr;  ///< of an object, when it is known already
    };

    explicit ArchiveReader(const boost::filesystem::path& file);
    ~ArchiveReader();

    const FileState& fileState() const { return mXml->state(); }

    /// The element that a call with this key is about: the current item of the current container, or the
    /// member of the current object. False when the object lacks the key.
    bool find(const std::string& key, Element& found) {
        const pugi::xml_attribute first = mTop->next.first_attribute();
        if (!is(first.name(), "key") || key != std::string_view(first.value())) {
            return findOther(key, found);
        }
        found.node = mTop->next;
        if (!XmlFile::isNone(first.next_attribute())) {
            checkAttributes(found.node);
        }
        mTop->isReadByKey = true;
        ++mTop->found;
        mTop->next = found.node.next_sibling();
        return true;
    }

    static Kind kindOf(pugi::xml_node node);

    /// The text of an element; fails when that holds other elements. Valid until the next call.
    std::string_view text(pugi::xml_node node, const std::string& key) {
        return XmlFile::isNone(node.first_child()) ? node.value() : joinedText(node, key);
    }

    /// The coder of an object's type name; null when nobody registered it, which is noted.
    CoderBase* coderOf(pugi::xml_node object);

    /// Makes the object current while the coder decodes it.
    void decodeMembers(pugi::xml_node object, Unarchiver& unarchiver, CoderBase* coder, void* target);

    std::vector<boost::any>* items();
    void beginContainer(std::vector<boost::any>* items);
    void endContainer();
    Unarchiver::ObjectContainer& currentContainer();

    /// Owns an object from now on, and returns a pointer to it.
    void* keep(std::shared_ptr<void> object) { return mKept.emplace_back(std::move(object)).get(); }

    /// Fails with what was expected, such as "a string", and what the element is.
    [[noreturn]] void failKind(pugi::xml_node node, const std::string& key,
                               const std::string& expected) const;

    /// Notes that the file is damaged, and throws `ArchiveError`.
    [[noreturn]] void fail(pugi::xml_node node, const std::string& key, const std::string& reason) const;

  private:
    template <std::size_t Size>
    static bool is(const char* text, const char (&expected)[Size]) {
        return is(text, expected, std::make_index_sequence<Size>());
    }
    // Asked for every element, where a call of the library's comparison would take longer.
    template <std::size_t Size, std::size_t... Index>
    static bool is(const char* text, const char (&expected)[Size], std::index_sequence<Index...>) {
        return ((text[Index] == expected[Index]) && ...);
    }

    using Members = std::unordered_map<std::string_view, pugi::xml_node>;

    struct Items {
        std::vector<boost::any> entries;
        std::vector<Element> elements;
    };

    // An object whose members are being read, or a container whose items are.
    struct Frame {
        pugi::xml_node node;
        pugi::xml_node next;  // the member that is expected to be asked for, unless `members` are listed
        bool isReadByKey = false;
        std::size_t found = 0;  // so many members
        std::unique_ptr<Members> members;
        std::unique_ptr<Items> items;
        std::optional<Unarchiver::ObjectContainer> container;
        const std::vector<Element>* containerElements = nullptr;
    };

    Frame& push(pugi::xml_node object);
    void pop();
    bool findOther(const std::string& key, Element& found);
    std::string_view joinedText(pugi::xml_node node, const std::string& key);
    const Members& listMembers(Frame& frame);
    std::string_view unusualKey(pugi::xml_node node);
    CoderBase* notedIfUnknown(CoderBase* coder) const;
    void noteSkippedMembers(const Frame& frame) const;
    void checkAttributes(pugi::xml_node node) const;
    [[noreturn]] void fail(int line, const std::string& key, const std::string& reason) const;

    boost::filesystem::path mFile;
    std::optional<XmlFile> mXml;
    std::vector<std::unique_ptr<Frame>> mFrames;  // used again and again
    std::size_t mDepth = 0;                       // how many of them are in use
    Frame* mTop = nullptr;                        // the last of these
    std::vector<std::shared_ptr<void>> mKept;
    CoderBase* mLastCoder = nullptr;
    std::string mTypeName;
    std::string mJoined;
    std::deque<std::string> mDecodedKeys;  // those that the file holds encoded
};

}  // namespace Base
