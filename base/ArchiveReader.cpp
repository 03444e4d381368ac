#include "base/ArchiveReader.h"

#include <charconv>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <boost/filesystem/exception.hpp>

#include "base/Coder.h"
#include "base/FileManager.h"
#include "base/Text.h"

namespace Base {

namespace {

constexpr int kFormatVersion = 1;

// For messages: a name that the file holds as it stands, or encoded.
std::string nameIn(pugi::xml_node node, const char* attribute) {
    if (const pugi::xml_attribute plain = node.attribute(attribute)) {
        return plain.value();
    }
    std::string name;
    const pugi::xml_attribute encoded = node.attribute((std::string(attribute) + "64").c_str());
    return Text::decodeBase64(encoded.value(), name) ? name : std::string();
}

std::string keyOf(pugi::xml_node node) {
    return nameIn(node, "key");
}

std::string describe(pugi::xml_node node) {
    switch (ArchiveReader::kindOf(node)) {
        case ArchiveReader::Kind::String:
        case ArchiveReader::Kind::Bytes:
            return "a string";
        case ArchiveReader::Kind::Bool:
            return "a boolean";
        case ArchiveReader::Kind::Int:
            return "an integer";
        case ArchiveReader::Kind::Object:
            return "an object of type '" + nameIn(node, "type") + "'";
        case ArchiveReader::Kind::Unknown:
            break;
    }
    return std::string("an unknown element '") + node.name() + "'";
}

}  // namespace

ArchiveReader::ArchiveReader(const boost::filesystem::path& file) : mFile(file) {
    try {
        mXml.emplace(file);
    } catch (const XmlFile::Error& error) {
        fail(error.line(), "", error.what());
    } catch (const boost::filesystem::filesystem_error& error) {
        fail(0, "", "cannot be read: " + error.code().message());
    }
    const pugi::xml_node root = mXml->root();
    if (!is(root.name(), "archive")) {
        fail(root, "", std::string("expected an archive, found '") + root.name() + "'");
    }
    const std::string_view text = root.attribute("version").value();
    int version = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), version);
    if (error != std::errc() || end != text.data() + text.size() || version < 1) {
        fail(root, "", "damaged file: the archive has no format version");
    }
    if (version > kFormatVersion) {
        fail(root, "",
             "the archive has the newer format version " + std::to_string(version) +
                 "; this program reads version " + std::to_string(kFormatVersion));
    }
    listMembers(push(root));
}

ArchiveReader::~ArchiveReader() {
    try {
        noteSkippedMembers(*mFrames.front());
    } catch (const std::exception&) {
        // There is nobody to be told.
    }
}

bool ArchiveReader::findOther(const std::string& key, Element& found) {
    if (mTop->container) {
        found = mTop->containerElements->at(mTop->container->position());
        return true;
    }
    mTop->isReadByKey = true;
    const Members& members = listMembers(*mTop);
    const auto member = members.find(key);
    if (member == members.end()) {
        return false;
    }
    found.node = member->second;
    ++mTop->found;
    return true;
}

ArchiveReader::Kind ArchiveReader::kindOf(pugi::xml_node node) {
    const char* name = node.name();
    switch (*name) {
        case 's':
            return is(name, "string") ? Kind::String : Kind::Unknown;
        case 'i':
            return is(name, "int") ? Kind::Int : Kind::Unknown;
        case 'b':
            return is(name, "bool") ? Kind::Bool : is(name, "bytes") ? Kind::Bytes : Kind::Unknown;
        case 'o':
            return is(name, "object") ? Kind::Object : Kind::Unknown;
        default:
            return Kind::Unknown;
    }
}

std::string_view ArchiveReader::joinedText(pugi::xml_node node, const std::string& key) {
    const std::optional<std::string_view> text = XmlFile::text(node, mJoined);
    if (!text) {
        fail(node, key, std::string("expected text in <") + node.name() + ">, found other elements");
    }
    return *text;
}

CoderBase* ArchiveReader::coderOf(pugi::xml_node object) {
    pugi::xml_attribute type = object.first_attribute();  // of an item, which has no key
    if (!is(type.name(), "type") || !XmlFile::isNone(type.next_attribute())) {
        checkAttributes(object);
        type = object.attribute("type");
    }
    if (type) {
        if (!mLastCoder || std::strcmp(mLastCoder->name().c_str(), type.value()) != 0) {
            mTypeName = type.value();
            mLastCoder = notedIfUnknown(CoderBase::find(mTypeName));
        }
        return mLastCoder;
    }
    std::string name;
    const pugi::xml_attribute encoded = object.attribute("type64");
    if (!encoded || !Text::decodeBase64(encoded.value(), name)) {
        fail(object, keyOf(object), "damaged file: an object without a type");
    }
    return notedIfUnknown(CoderBase::find(name));
}

CoderBase* ArchiveReader::notedIfUnknown(CoderBase* coder) const {
    if (!coder) {
        FileManager::noteDamaged(mFile);
    }
    return coder;
}

void ArchiveReader::noteSkippedMembers(const Frame& frame) const {
    if (frame.isReadByKey && frame.members && frame.members->size() > frame.found) {
        FileManager::noteDamaged(mFile);
    }
}

void ArchiveReader::decodeMembers(pugi::xml_node object, Unarchiver& unarchiver, CoderBase* coder,
                                  void* target) {
    struct Restore {
        ArchiveReader& reader;
        const Frame* const top;
        ~Restore() {
            while (reader.mTop != top) {
                reader.pop();
            }
        }
    } restore{*this, mTop};
    Frame& frame = push(object);
    coder->decode(unarchiver, target);
    const bool hasMore = !XmlFile::isNone(frame.next) || *object.value() != '\0';
    if (frame.isReadByKey && hasMore) {
        listMembers(frame);
    }
    noteSkippedMembers(frame);
}

std::vector<boost::any>* ArchiveReader::items() {
    Frame& frame = *mTop;
    if (frame.container) {
        throw std::logic_error("the items of a collection were asked for inside of a container");
    }
    if (frame.items) {
        return &frame.items->entries;
    }
    auto items = std::make_unique<Items>();
    bool hasText = !Text::isBlank(frame.node.value());
    for (pugi::xml_node node = frame.node.first_child(); !XmlFile::isNone(node); node = node.next_sibling()) {
        const Kind kind = kindOf(node);
        if (kind == Kind::Object) {
            if (CoderBase* coder = coderOf(node)) {
                items->elements.push_back({node, coder});
            }
        } else if (kind != Kind::Unknown) {
            checkAttributes(node);
            items->elements.push_back({node});
        } else if (node.type() == pugi::node_element) {
            FileManager::noteDamaged(mFile);
        } else {
            hasText = hasText || !Text::isBlank(node.value());
        }
    }
    if (hasText) {
        fail(frame.node, keyOf(frame.node), "damaged file: text between the items");
    }
    items->entries.resize(items->elements.size());
    frame.items = std::move(items);
    return &frame.items->entries;
}

void ArchiveReader::beginContainer(std::vector<boost::any>* items) {
    for (std::size_t i = mDepth; i-- > 0;) {
        const Items* known = mFrames[i]->items.get();
        if (known && &known->entries == items) {
            push({});
            mTop->container.emplace(items);
            mTop->containerElements = &known->elements;
            return;
        }
    }
    throw std::logic_error("a container needs the item list of a collection that is being read");
}

void ArchiveReader::endContainer() {
    currentContainer();
    pop();
}

Unarchiver::ObjectContainer& ArchiveReader::currentContainer() {
    if (!mTop->container) {
        throw std::logic_error("no container is current");
    }
    return *mTop->container;
}

ArchiveReader::Frame& ArchiveReader::push(pugi::xml_node object) {
    if (mDepth == mFrames.size()) {
        mFrames.push_back(std::make_unique<Frame>());
    }
    mTop = mFrames[mDepth++].get();
    mTop->node = object;
    mTop->next = object.first_child();
    mTop->isReadByKey = false;
    mTop->found = 0;
    return *mTop;
}

void ArchiveReader::pop() {
    mTop->members.reset();
    mTop->items.reset();
    mTop->container.reset();
    mTop = mFrames[--mDepth - 1].get();
}

const ArchiveReader::Members& ArchiveReader::listMembers(Frame& frame) {
    if (frame.members) {
        return *frame.members;
    }
    auto members = std::make_unique<Members>();
    bool hasText = !Text::isBlank(frame.node.value());
    for (const pugi::xml_node node : frame.node.children()) {
        if (node.type() != pugi::node_element) {
            hasText = hasText || !Text::isBlank(node.value());
            continue;
        }
        checkAttributes(node);
        const pugi::xml_attribute key = node.attribute("key");
        const std::string_view text = key ? std::string_view(key.value()) : unusualKey(node);
        if (!members->emplace(text, node).second) {
            fail(node, std::string(text), "damaged file: the key stands twice in one object");
        }
    }
    if (hasText) {
        fail(frame.node, keyOf(frame.node), "damaged file: text between the members");
    }
    frame.members = std::move(members);
    frame.next = {};
    return *frame.members;
}

std::string_view ArchiveReader::unusualKey(pugi::xml_node node) {
    const pugi::xml_attribute encoded = node.attribute("key64");
    if (!encoded || !Text::decodeBase64(encoded.value(), mDecodedKeys.emplace_back())) {
        fail(node, "", "damaged file: " + describe(node) + " without a key");
    }
    return mDecodedKeys.back();
}

void ArchiveReader::checkAttributes(pugi::xml_node node) const {
    if (XmlFile::repeatsAttribute(node)) {
        fail(node, keyOf(node), "damaged file: an attribute stands twice in one element");
    }
}

void ArchiveReader::failKind(pugi::xml_node node, const std::string& key, const std::string& expected) const {
    fail(node, key, "expected " + expected + ", found " + describe(node));
}

void ArchiveReader::fail(pugi::xml_node node, const std::string& key, const std::string& reason) const {
    const bool isItem = mTop && mTop->container;
    fail(mXml->line(node), isItem ? keyOf(node.parent()) : key, reason);
}

void ArchiveReader::fail(int line, const std::string& key, const std::string& reason) const {
    if (!FileManager::isMissing(mFile)) {
        FileManager::noteDamaged(mFile);
    }
    throw ArchiveError(FileManager::native(mFile), line, key, reason);
}

}  // namespace Base
