#include "base/Archiver.h"

#include <stdexcept>
#include <string_view>
#include <vector>

#include "base/Coder.h"
#include "base/FileManager.h"
#include "base/Text.h"

namespace Base {

class Archiver::Writer {
  public:
    explicit Writer(const boost::filesystem::path& file) : mFile(file) {}

    const boost::filesystem::path& file() const { return mFile; }

    void writeString(std::string_view key, std::string_view value) {
        const bool isPlain = Text::isPlain(value);
        if (!isPlain && !Text::isXml(value)) {
            std::string encoded;
            Text::appendBase64(encoded, value);
            writePlain("bytes", key, encoded);
            return;
        }
        startTag("string", key);
        mText += '>';
        if (isPlain) {
            mText += value;
        } else {
            Text::appendXmlText(mText, value);
        }
        mText += "</string>\n";
    }

    void writePlain(std::string_view element, std::string_view key, std::string_view value) {
        startTag(element, key);
        mText.append(">").append(value).append("</").append(element).append(">\n");
    }

    void writeObject(const std::string& key, void* object, CoderBase* coder, Archiver& archiver) {
        if (!coder) {
            throw std::logic_error("the object under \"" + key + "\" has no coder");
        }
        startTag("object", key);
        writeName("type", coder->name());
        mText += ">\n";
        const std::size_t bodyBegin = mText.size();
        mBodies.push_back(Body::Empty);
        coder->encode(archiver, object);
        if (mBodies.back() == Body::OpenCollection) {
            throw std::logic_error("the coder of \"" + coder->name() + "\" left its collection open");
        }
        mBodies.pop_back();
        if (mText.size() == bodyBegin) {
            mText.resize(bodyBegin - 2);
            mText += "/>\n";
        } else {
            mText.append(mBodies.size(), '\t').append("</object>\n");
        }
    }

    void beginCollection() {
        if (mBodies.back() == Body::Members) {
            failToMix();
        }
        if (mBodies.back() == Body::OpenCollection) {
            failPairs();
        }
        mBodies.back() = Body::OpenCollection;
    }

    void endCollection() {
        if (mBodies.back() != Body::OpenCollection) {
            failPairs();
        }
        mBodies.back() = Body::Collection;
    }

    void finish(FileState& state) {
        if (mBodies.size() != 1 || mBodies.back() == Body::OpenCollection || mFinished) {
            throw std::logic_error(
                "an archive must be finished once, outside of its objects and collections");
        }
        mText += "</archive>\n";
        mFinished = true;
        FileManager::replaceFile(mFile, mText, state);
    }

  private:
    // What an open object holds so far: keyed members, or the items of a collection, never both.
    enum class Body { Empty, Members, OpenCollection, Collection };

    [[noreturn]] static void failPairs() {
        throw std::logic_error("collections of an archive must be opened and closed in pairs");
    }
    [[noreturn]] static void failToMix() {
        throw std::logic_error("an object of an archive holds either members or a collection");
    }

    void startTag(std::string_view element, std::string_view key) {
        if (mBodies.back() == Body::Collection) {
            failToMix();
        }
        mText.append(mBodies.size(), '\t').append("<").append(element);
        if (mBodies.back() != Body::OpenCollection) {
            mBodies.back() = Body::Members;
            writeName("key", key);
        }
    }

    void writeName(const char* attribute, std::string_view name) {
        mText.append(" ").append(attribute);
        if (Text::isPlain(name)) {
            mText.append("=\"").append(name);
        } else if (Text::isXml(name)) {
            mText += "=\"";
            Text::appendXmlAttribute(mText, name);
        } else {
            mText += "64=\"";
            Text::appendBase64(mText, name);
        }
        mText += '"';
    }

    boost::filesystem::path mFile;
    std::string mText = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<archive version=\"1\">\n";
    std::vector<Body> mBodies = {Body::Empty};  // of the archive and of every open object in it
    bool mFinished = false;
};

Archiver::Archiver(const boost::filesystem::path& file) : mWriter(std::make_unique<Writer>(file)) {}
Archiver::~Archiver() = default;

void Archiver::encode(const std::string& key, const std::string& value) {
    mWriter->writeString(key, value);
}

void Archiver::encode(const std::string& key, bool value) {
    mWriter->writePlain("bool", key, value ? "true" : "false");
}

void Archiver::encode(const std::string& key, int value) {
    mWriter->writePlain("int", key, std::to_string(value));
}

CoderBase* Archiver::getCoder(const TypeInfo& type) const {
    CoderBase* coder = CoderBase::find(type);
    if (!coder) {
        throw ArchiveError(FileManager::native(mWriter->file()), 0, "",
                           std::string("no coder is registered for the type ") + type.name());
    }
    return coder;
}

void Archiver::encodeObject(const std::string& key, void* object, CoderBase* coder) {
    mWriter->writeObject(key, object, coder, *this);
}

void Archiver::prepareCollection() {
    mWriter->beginCollection();
}
void Archiver::finishCollection() {
    mWriter->endCollection();
}
void Archiver::finishEncoding() {
    FileState nothingKnown;
    mWriter->finish(nothingKnown);
}
void Archiver::finishEncoding(FileState& state) {
    mWriter->finish(state);
}

}  // namespace Base
