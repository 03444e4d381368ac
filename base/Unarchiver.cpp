#include "base/Unarchiver.h"

#include <charconv>
#include <utility>

#include "base/ArchiveReader.h"
#include "base/Coder.h"
#include "base/Text.h"

namespace Base {

namespace {

using Kind = ArchiveReader::Kind;

}  // namespace

ArchiveError::ArchiveError(const std::string& file, int line, const std::string& key,
                           const std::string& reason)
    : BaseException(Text::located(file, line) + (key.empty() ? "" : "key '" + key + "': ") + reason),
      mFile(file),
      mLine(line),
      mKey(key) {}
ArchiveError::~ArchiveError() = default;

Unarchiver::Unarchiver(const boost::filesystem::path& file)
    : mReader(std::make_unique<ArchiveReader>(file)) {}
Unarchiver::~Unarchiver() = default;

const FileState& Unarchiver::fileState() const {
    return mReader->fileState();
}

void Unarchiver::decode(const std::string& key, std::string& target) {
    ArchiveReader::Element element;
    if (!mReader->find(key, element)) {
        return;
    }
    const Kind kind = ArchiveReader::kindOf(element.node);
    if (kind == Kind::String) {
        target = mReader->text(element.node, key);
        return;
    }
    if (kind != Kind::Bytes) {
        mReader->failKind(element.node, key, "a string");
    }
    std::string bytes;
    if (!Text::decodeBase64(mReader->text(element.node, key), bytes)) {
        mReader->fail(element.node, key, "damaged file: the text is no base64");
    }
    target = std::move(bytes);
}

void Unarchiver::decode(const std::string& key, bool& target) {
    ArchiveReader::Element element;
    if (!mReader->find(key, element)) {
        return;
    }
    if (ArchiveReader::kindOf(element.node) != Kind::Bool) {
        mReader->failKind(element.node, key, "a boolean");
    }
    const std::string_view text = Text::trimmed(mReader->text(element.node, key));
    if (text != "true" && text != "false") {
        mReader->fail(element.node, key, "expected true or false, found '" + std::string(text) + "'");
    }
    target = text == "true";
}

void Unarchiver::decode(const std::string& key, int& target) {
    ArchiveReader::Element element;
    if (!mReader->find(key, element)) {
        return;
    }
    if (ArchiveReader::kindOf(element.node) != Kind::Int) {
        mReader->failKind(element.node, key, "an integer");
    }
    const std::string_view text = Text::trimmed(mReader->text(element.node, key));
    int number = 0;
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, number);
    if (error != std::errc() || end != last) {
        mReader->fail(element.node, key, "expected an integer of 32 bits, found '" + std::string(text) + "'");
    }
    target = number;
}

void* Unarchiver::decodeObject(const std::string& key, void* target, const TypeInfo& type) {
    ArchiveReader::Element element;
    if (!mReader->find(key, element)) {
        return target;
    }
    CoderBase* coder = element.coder;
    const bool isObject = coder || ArchiveReader::kindOf(element.node) == Kind::Object;
    if (isObject && !coder) {
        coder = mReader->coderOf(element.node);
        if (!coder) {
            return target;
        }
    }
    if (!isObject || coder->type() != type) {
        const CoderBase* wanted = CoderBase::find(type);
        mReader->failKind(element.node, key,
                          "an object of type '" + (wanted ? wanted->name() : std::string(type.name())) + "'");
    }
    if (!target) {
        target = mReader->keep(coder->create());
    }
    mReader->decodeMembers(element.node, *this, coder, target);
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
