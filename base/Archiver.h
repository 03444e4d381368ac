#pragma once

#include <memory>
#include <string>

#include <boost/filesystem/path.hpp>

#include "base/FileState.h"
#include "base/TypeInfo.h"
#include "base/platform/Export.h"

namespace Base {

class CoderBase;

/// Writes a keyed archive: a tree of named strings, booleans, integers, typed objects and ordered
/// collections.
///
/// The text is composed while the values arrive; `finishEncoding` replaces the file in one step, so that a
/// reader sees the old archive or the new one and nothing between. An archiver that is destroyed before
/// `finishEncoding` writes nothing.
///
///     Base::Archiver archiver(file);
///     archiver.encode("Name", name);
///     archiver.encodeObject("Items", &items, archiver.getCoder(typeid(items)));
///     archiver.finishEncoding();
class BASE_EXPORT Archiver {
  public:
    explicit Archiver(const boost::filesystem::path& file);
    Archiver(const Archiver&) = delete;
    Archiver& operator=(const Archiver&) = delete;
    ~Archiver();

    /// Add a member to the object being written. A string is a byte string; it comes back byte for byte.
    void encode(const std::string& key, const std::string& value);
    void encode(const std::string& key, bool value);
    void encode(const std::string& key, int value);
    void encode(const std::string& key, const char* value) = delete;  // would silently become a bool

    /// The registered coder of an in-memory type; `ArchiveError` when there is none.
    CoderBase* getCoder(const TypeInfo& type) const;

    /// Adds a nested object, records the coder's type name with it and lets the coder write its members.
    /// `object` must be of the coder's type.
    void encodeObject(const std::string& key, void* object, CoderBase* coder);

    /// Between these two calls every `encodeObject` (or `encode`) appends one item to an ordered collection.
    /// An object holds either a collection or keyed members; both are a programming error
    /// (`std::logic_error`).
    void prepareCollection();
    void finishCollection();

    /// Completes the archive and replaces the file; errors of the file system as in
    /// `FileManager::replaceFile`. To be called once, last.
    void finishEncoding();

    /// The same for a file that was loaded before; `state` is what it held then, and then what was written.
    /// `FileChanged` when somebody else has changed the file meanwhile.
    void finishEncoding(FileState& state);

  private:
    class Writer;
    std::unique_ptr<Writer> mWriter;
};

}  // namespace Base
