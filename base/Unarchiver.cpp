#include "base/Unarchiver.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <deque>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <boost/filesystem/exception.hpp>

#include "base/Coder.h"
#include "base/FileManager.h"
#include "base/Text.h"
#include "base/XmlFile.h"

namespace Base {

namespace {

constexpr int kFormatVersion = 1;

std::string composeMessage(const std::string& file, int line, const std::string& key,
                           const std::string& reason) {
    std::string message = file;
    if (line > 0) {
        message += ':' + std::to_string(line);
    }
    message += ": ";
    if (!key.empty()) {
        message += "key '" + key + "': ";
    }
    return message + reason;
}

bool isNamed(pugi::xml_node node, const char* name) {
    return std::strcmp(node.name(), name) == 0;
}

bool hasName(pugi::xml_node node, const char* attribute, std::string_view name) {
    const pugi::xml_attribute found = node.attribute(attribute);
    return found && name == found.value();
}

std::string describe(pugi::xml_node node) {
    const std::string_view name = node.name();
    if (name == "string") {
        return "a string";
    }
    if (name == "bool") {
        return "a boolean";
    }
    if (name == "int") {
        return "an integer";
    }
    if (name == "object") {
        return std::string("an object of type '") + node.attribute("type").value() + "'";
    }
    return "an unknown element '" + std::string(name) + "'";
}

template <typename Number>
bool readNumber(std::string_view text, Number& number) {
    text = Text::trimmed(text);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

}  // namespace

ArchiveError::ArchiveError(const std::string& file, int line, const std::string& key,
                           const std::string& reason)
    : BaseException(composeMessage(file, line, key, reason)), mFile(file), mLine(line), mKey(key) {}
ArchiveError::~ArchiveError() = default;

class Unarchiver::Reader {
  public:
    explicit Reader(const boost::filesystem::path& file) : mFile(file) {
        try {
            mXml.emplace(file);
        } catch (const XmlFile::Error& error) {
            fail(error.line(), "", error.what());
        } catch (const boost::filesystem::filesystem_error& error) {
            fail(0, "", "cannot be read: " + error.code().message());
        }
        const pugi::xml_node root = mXml->root();
        if (!isNamed(root, "archive")) {
            fail(root, "", std::string("expected an archive, found '") + root.name() + "'");
        }
        int version = 0;
        if (!readNumber(root.attribute("version").value(), version) || version < 1) {
            fail(root, "", "damaged file: the archive has no format version");
        }
        if (version > kFormatVersion) {
            fail(root, "",
                 "the archive has the newer format version " + std::to_string(version) +
                     "; this program reads version " + std::to_string(kFormatVersion));
        }
        push(root);
    }

    // The element that a call with this key is about; none when the object lacks the key.
    pugi::xml_node find(const std::string& key) {
        Frame& frame = mFrames.back();
        if (frame.container) {
            const auto* node = boost::any_cast<pugi::xml_node>(&frame.container->item());
            if (!node) {
                throw std::logic_error("the container holds no items of an archive");
            }
            return *node;
        }
        if (!frame.membersChecked) {
            checkMembers(frame.node);
            frame.membersChecked = true;
        }
        pugi::xml_node found = findMember(frame, "key", key);
        if (!found && !Text::isXml(key)) {
            std::string encoded;
            Text::appendBase64(encoded, key);
            found = findMember(frame, "key64", encoded);
        }
        return found;
    }

    // Puts the text of an element, which must be of that name, into `target`.
    void readText(pugi::xml_node node, const std::string& key, const char* element, const char* meant,
                  std::string& target) const {
        if (!isNamed(node, element)) {
            fail(node, key, std::string("expected ") + meant + ", found " + describe(node));
        }
        if (!XmlFile::readText(node, target)) {
            fail(node, key, std::string("expected ") + meant + ", found other elements inside it");
        }
    }

    CoderBase* coderNamed(const char* name) {
        if (!mLastCoder || mLastCoder->name() != name) {
            mName = name;
            mLastCoder = CoderBase::find(mName);
        }
        return mLastCoder;
    }

    // The coder of an object; null when nobody registered its type name.
    CoderBase* coderOf(pugi::xml_node object) {
        if (const pugi::xml_attribute type = object.attribute("type")) {
            return coderNamed(type.value());
        }
        std::string name;
        const pugi::xml_attribute encoded = object.attribute("type64");
        if (!encoded || !Text::decodeBase64(encoded.value(), name)) {
            fail(object, object.attribute("key").value(), "damaged file: an object without a type");
        }
        return CoderBase::find(name);
    }

    void decodeMembers(pugi::xml_node object, Unarchiver& unarchiver, CoderBase* coder, void* target) {
        struct Restore {
            std::deque<Frame>& frames;
            const std::size_t depth;
            ~Restore() {
                while (frames.size() > depth) {
                    frames.pop_back();
                }
            }
        } restore{mFrames, mFrames.size()};
        push(object);
        coder->decode(unarchiver, target);
    }

    std::vector<boost::any>* items() {
        Frame& frame = mFrames.back();
        if (frame.container) {
            throw std::logic_error("the items of a collection were asked for inside of a container");
        }
        if (!frame.items) {
            if (!XmlFile::holdsOnlyElements(frame.node)) {
                fail(frame.node, frame.node.attribute("key").value(), "damaged file: text between the items");
            }
            frame.items = std::make_unique<std::vector<boost::any>>();
            for (const pugi::xml_node node : frame.node.children()) {
                if (isNamed(node, "object")
                        ? coderOf(node) != nullptr
                        : isNamed(node, "string") || isNamed(node, "bool") || isNamed(node, "int")) {
                    frame.items->push_back(node);
                }
            }
        }
        return frame.items.get();
    }

    void beginContainer(std::vector<boost::any>* items) {
        if (!items) {
            throw std::logic_error("a container needs an item list");
        }
        mFrames.emplace_back().container.emplace(items);
    }

    void endContainer() {
        currentContainer();
        mFrames.pop_back();
    }

    ObjectContainer& currentContainer() {
        if (!mFrames.back().container) {
            throw std::logic_error("no container is current");
        }
        return *mFrames.back().container;
    }

    void* keep(std::shared_ptr<void> object) { return mCreated.emplace_back(std::move(object)).get(); }

    [[noreturn]] void fail(pugi::xml_node node, const std::string& key, const std::string& reason) const {
        const bool isItem = !mFrames.empty() && mFrames.back().container;
        fail(mXml->line(node), isItem ? node.parent().attribute("key").value() : key, reason);
    }

  private:
    // An object whose members are being read, or a container whose items are.
    struct Frame {
        pugi::xml_node node;
        pugi::xml_node next;  // where the search for the next key begins
        bool membersChecked = false;
        std::unique_ptr<std::vector<boost::any>> items;
        std::optional<ObjectContainer> container;
    };

    void push(pugi::xml_node object) {
        Frame& frame = mFrames.emplace_back();
        frame.node = object;
        frame.next = object.first_child();
    }

    static pugi::xml_node findMember(Frame& frame, const char* attribute, std::string_view key) {
        const pugi::xml_node first = frame.next;
        for (pugi::xml_node node = first; node; node = node.next_sibling()) {
            if (hasName(node, attribute, key)) {
                frame.next = node.next_sibling();
                return node;
            }
        }
        for (pugi::xml_node node = frame.node.first_child(); node != first; node = node.next_sibling()) {
            if (hasName(node, attribute, key)) {
                frame.next = node.next_sibling();
                return node;
            }
        }
        return {};
    }

    void checkMembers(pugi::xml_node object) {
        if (!XmlFile::holdsOnlyElements(object)) {
            fail(object, object.attribute("key").value(), "damaged file: text between the members");
        }
        mKeys.clear();
        for (const pugi::xml_node node : object.children()) {
            if (const pugi::xml_attribute key = node.attribute("key")) {
                mKeys.emplace_back(key.value());
            } else if (!node.attribute("key64")) {
                fail(node, "", "damaged file: " + describe(node) + " without a key");
            }
        }
        std::sort(mKeys.begin(), mKeys.end());
        const auto twice = std::adjacent_find(mKeys.begin(), mKeys.end());
        if (twice != mKeys.end()) {
            fail(object, std::string(*twice), "damaged file: the key stands twice in one object");
        }
    }

    [[noreturn]] void fail(int line, const std::string& key, const std::string& reason) const {
        if (FileManager::exists(mFile)) {
            FileManager::noteDamaged(mFile);
        }
        throw ArchiveError(FileManager::native(mFile), line, key, reason);
    }

    boost::filesystem::path mFile;
    std::optional<XmlFile> mXml;
    std::deque<Frame> mFrames;  // a deque, since references to containers stay valid while it grows
    std::vector<std::shared_ptr<void>> mCreated;
    CoderBase* mLastCoder = nullptr;
    std::string mName;
    std::vector<std::string_view> mKeys;
};

Unarchiver::Unarchiver(const boost::filesystem::path& file) : mReader(std::make_unique<Reader>(file)) {}
Unarchiver::~Unarchiver() = default;

void Unarchiver::decode(const std::string& key, std::string& target) {
    const pugi::xml_node node = mReader->find(key);
    if (!node) {
        return;
    }
    const pugi::xml_attribute encoding = node.attribute("encoding");
    if (!encoding) {
        mReader->readText(node, key, "string", "a string", target);
        return;
    }
    std::string text;
    std::string bytes;
    mReader->readText(node, key, "string", "a string", text);
    if (std::strcmp(encoding.value(), "base64") != 0) {
        mReader->fail(node, key, std::string("the encoding '") + encoding.value() + "' is not known");
    }
    if (!Text::decodeBase64(text, bytes)) {
        mReader->fail(node, key, "damaged file: the text is no base64");
    }
    target = std::move(bytes);
}

void Unarchiver::decode(const std::string& key, bool& target) {
    const pugi::xml_node node = mReader->find(key);
    if (!node) {
        return;
    }
    std::string text;
    mReader->readText(node, key, "bool", "a boolean", text);
    const std::string_view word = Text::trimmed(text);
    if (word != "true" && word != "false") {
        mReader->fail(node, key, "expected true or false, found '" + text + "'");
    }
    target = word == "true";
}

void Unarchiver::decode(const std::string& key, int& target) {
    const pugi::xml_node node = mReader->find(key);
    if (!node) {
        return;
    }
    std::string text;
    mReader->readText(node, key, "int", "an integer", text);
    if (int number = 0; readNumber(text, number)) {
        target = number;
    } else {
        mReader->fail(node, key, "expected an integer of 32 bits, found '" + text + "'");
    }
}

void* Unarchiver::decodeObject(const std::string& key, void* target, const TypeInfo& type) {
    const pugi::xml_node node = mReader->find(key);
    if (!node) {
        return target;
    }
    const auto expected = [&type] {
        const CoderBase* wanted = CoderBase::find(type);
        return "expected an object of type '" + (wanted ? wanted->name() : std::string(type.name())) +
               "', found ";
    };
    if (!isNamed(node, "object")) {
        mReader->fail(node, key, expected() + describe(node));
    }
    CoderBase* coder = mReader->coderOf(node);
    if (!coder) {
        return target;
    }
    if (coder->type() != type) {
        mReader->fail(node, key, expected() + describe(node));
    }
    if (!target) {
        target = mReader->keep(coder->create());
    }
    mReader->decodeMembers(node, *this, coder, target);
    return target;
}

std::vector<boost::any>* Unarchiver::getObjectList() {
    return mReader->items();
}
void Unarchiver::beginContainer(std::vector<boost::any>* items) {
    mReader->beginContainer(items);
}
void Unarchiver::endContainer() {
    mReader->endContainer();
}
Unarchiver::ObjectContainer& Unarchiver::currentContainer() {
    return mReader->currentContainer();
}

}  // namespace Base
