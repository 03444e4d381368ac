#include "base/PropertyList.h"

#include <boost/filesystem/exception.hpp>
#include <boost/smart_ptr/make_shared.hpp>

#include "base/Environment.h"
#include "base/FileManager.h"
#include "base/PropertyListFormat.h"
#include "base/Text.h"
#include "base/XmlFile.h"
#include "base/platform/FileSystem.h"

namespace Base {

namespace {

using boost::filesystem::path;

[[noreturn]] void failToRead(const path& file, int line, const std::string& reason) {
    FileManager::noteDamaged(file);
    throw PropertyListError(FileManager::native(file), line, reason);
}

boost::shared_ptr<boost::any> readRoot(const path& file, FileState& state) {
    try {
        const XmlFile xml(file);
        state = xml.state();
        return boost::make_shared<boost::any>(readPropertyList(xml));
    } catch (const XmlFile::Error& error) {
        failToRead(file, error.line(), error.what());
    } catch (const boost::filesystem::filesystem_error& error) {
        if (Platform::meansMissing(error.code())) {
            state = FileState::missing();
            return nullptr;
        }
        failToRead(file, 0, "cannot be read: " + error.code().message());
    }
}

}  // namespace

PropertyListError::PropertyListError(const std::string& file, int line, const std::string& reason)
    : BaseException(Text::located(file, line) + reason), mLine(line) {}
PropertyListError::~PropertyListError() = default;

PropertyList::PropertyList() = default;

PropertyList::PropertyList(const path& file) : mFile(file), mRoot(readRoot(mFile, mState)) {}

PropertyList PropertyList::inUnexpanded(std::string directory, const std::string& name) {
    return PropertyList(path(Environment::expandEnvVariables(directory)) / name);
}

PropertyList::PropertyList(const path& file, const boost::shared_ptr<boost::any>& root)
    : mFile(file), mRoot(root) {}

void PropertyList::setFile(const path& file) {
    mFile = file;
    mState = FileState();
}
const path& PropertyList::file() const {
    return mFile;
}

const boost::shared_ptr<boost::any>& PropertyList::list() const {
    return mRoot;
}
void PropertyList::setList(const boost::shared_ptr<boost::any>& root) {
    mRoot = root;
}

const boost::any& PropertyList::getProperty(const std::string& key) const {
    static const boost::any none;
    if (const auto* dictionary = boost::any_cast<Dictionary>(mRoot.get())) {
        const auto found = dictionary->find(key);
        if (found != dictionary->end()) {
            return found->second;
        }
    }
    return none;
}

bool PropertyList::hasProperty(const std::string& key) const {
    const auto* dictionary = boost::any_cast<Dictionary>(mRoot.get());
    return dictionary && dictionary->contains(key);
}

void PropertyList::setProperty(const std::string& key, const boost::any& value) {
    if (!mRoot) {
        mRoot = boost::make_shared<boost::any>(Dictionary());
    }
    auto* dictionary = boost::any_cast<Dictionary>(mRoot.get());
    if (!dictionary) {
        throw PropertyListError(FileManager::native(mFile), 0,
                                "the root of the property list is no dictionary");
    }
    (*dictionary)[key] = value;
}

void PropertyList::saveList() {
    std::string text;
    try {
        if (!mRoot) {
            throw UnfitValue("there is no root to write");
        }
        text = writePropertyList(*mRoot);
    } catch (const UnfitValue& error) {
        throw PropertyListError(FileManager::native(mFile), 0, error.what());
    }
    FileManager::replaceFile(mFile, text, mState);
}

}  // namespace Base
