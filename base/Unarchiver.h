#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <boost/any.hpp>
#include <boost/filesystem/path.hpp>

#include "base/BaseException.h"
#include "base/FileState.h"
#include "base/TypeInfo.h"
#include "base/platform/Export.h"

namespace Base {

class ArchiveReader;

/// An archive that cannot be read, or a value in it that is not what its reader expects. The message names
/// the file, the line and, where one is concerned, the key.
class BASE_EXPORT ArchiveError : public BaseException {
  public:
    ArchiveError(const std::string& file, int line, const std::string& key, const std::string& reason);
    ~ArchiveError() override;

    const std::string& file() const { return mFile; }
    int line() const { return mLine; }  ///< 1 for the first line, 0 when no line is concerned
    const std::string& key() const { return mKey; }

  private:
    std::string mFile;
    int mLine;
    std::string mKey;
};

/// Reads a keyed archive that `Archiver` wrote.
///
/// Members may be read in any order; asking in the order of writing is the fast way. A key that the file
/// lacks leaves its target as it was. Keys and type names that the program does not know are skipped, so that
/// a file of a later program of the same format version still loads. A damaged file, a newer format version
/// and a value of the wrong kind are `ArchiveError`.
class BASE_EXPORT Unarchiver {
  public:
    /// A cursor over the items of one collection.
    class BASE_EXPORT ObjectContainer {
      public:
        explicit ObjectContainer(std::vector<boost::any>* items) : mItems(items) {}

        bool endOfAnyArray() const { return mPosition >= mItems->size(); }
        void nextItem() { ++mPosition; }
        std::size_t remaining() const { return endOfAnyArray() ? 0 : mItems->size() - mPosition; }
        std::size_t position() const { return mPosition; }

      private:
        std::vector<boost::any>* mItems;
        std::size_t mPosition = 0;
    };

    /// Reads the whole file into memory; `ArchiveError` when it cannot be read or is not a whole archive.
    explicit Unarchiver(const boost::filesystem::path& file);
    Unarchiver(const Unarchiver&) = delete;
    Unarchiver& operator=(const Unarchiver&) = delete;
    ~Unarchiver();

    /// What the file held, for the save to come.
    const FileState& fileState() const;

    /// Copy the member of that key of the current object (or the current item of the current container, whose
    /// key is not looked at) into the target.
    void decode(const std::string& key, std::string& target);
    void decode(const std::string& key, bool& target);
    void decode(const std::string& key, int& target);

    /// Decodes the nested object under the key into the target, through the coder whose type name is recorded
    /// with it, and returns a pointer to the decoded object. The target's type is checked against the
    /// recorded one, so that a file can never be read into an object of another type. For a null target the
    /// object is made, and owned by the unarchiver.
    template <typename T>
    T* decodeObject(const std::string& key, T* target) {
        return static_cast<T*>(decodeObject(key, target, TypeInfo::of<T>()));
    }

    /// The item list of the collection that is current: one entry for each item, in order. Items of a type
    /// name that nobody registered are left out. The entries are empty; what an item holds stays in the
    /// file's tree until it is decoded, so that a long list costs little. Owned by the unarchiver until the
    /// object that holds the collection is done.
    std::vector<boost::any>* getObjectList();

    /// Push and pop a container cursor over an item list of this unarchiver; the cursor on top is the current
    /// one.
    void beginContainer(std::vector<boost::any>* items);
    void endContainer();
    ObjectContainer& currentContainer();

  private:
    void* decodeObject(const std::string& key, void* target, const TypeInfo& type);

    std::unique_ptr<ArchiveReader> mReader;
};

}  // namespace Base
