#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/Archiver.h"
#include "base/TypeInfo.h"
#include "base/Unarchiver.h"
#include "base/platform/Export.h"

namespace Base {

/// Writes and reads the objects of one type in a keyed archive.
///
/// Constructing a coder registers it, under the type name that archives carry and under the in-memory type by
/// which code looks it up; it stays registered until it is destroyed. A coder is normally a static object of
/// the source file that implements its type. Two coders for one name or one type are a programming error and
/// throw `std::logic_error`.
class CoderBase {
  public:
    CoderBase(const CoderBase&) = delete;
    CoderBase& operator=(const CoderBase&) = delete;

    const std::string& name() const { return mName; }
    const TypeInfo& type() const { return mType; }

    /// The registered coder of a type name or of an in-memory type; null when there is none.
    static CoderBase* find(const std::string& name);
    static CoderBase* find(const TypeInfo& type);

  protected:
    CoderBase(const std::string& name, TypeInfo type);
    virtual ~CoderBase();

  public:
    /// Writes the members of `object`, which is of the coder's type.
    virtual void encode(Archiver& archiver, void* object) = 0;

    /// Fills the existing `object`, which is of the coder's type.
    virtual void decode(Unarchiver& unarchiver, void* object) = 0;

    /// A new default-constructed object of the coder's type, owned by the result.
    virtual std::shared_ptr<void> create() const = 0;

  private:
    std::string mName;
    TypeInfo mType;
};

/// The coder of a record: `T::encode(Archiver&)` and `T::decode(Unarchiver&)` do the work.
template <typename T>
class Coder : public CoderBase {
  public:
    explicit Coder(const std::string& name) : CoderBase(name, TypeInfo::of<T>()) {}

    void encode(Archiver& archiver, void* object) override { static_cast<T*>(object)->encode(archiver); }
    void decode(Unarchiver& unarchiver, void* object) override {
        static_cast<T*>(object)->decode(unarchiver);
    }
    std::shared_ptr<void> create() const override { return std::make_shared<T>(); }
};

/// The coder of a vector of records. Items keep their order; decoding appends to what the vector holds.
template <typename Collection>
class CollectionCoder : public CoderBase {
  public:
    using Item = typename Collection::value_type;

    explicit CollectionCoder(const std::string& name) : CoderBase(name, TypeInfo::of<Collection>()) {}

    void encode(Archiver& archiver, void* object) override {
        Collection& items = *static_cast<Collection*>(object);
        archiver.prepareCollection();
        for (Item& item : items) {
            archiver.encodeObject("NOTUSED", &item, archiver.getCoder(TypeInfo::of<Item>()));
        }
        archiver.finishCollection();
    }

    void decode(Unarchiver& unarchiver, void* object) override {
        Collection& items = *static_cast<Collection*>(object);
        unarchiver.beginContainer(unarchiver.getObjectList());
        Unarchiver::ObjectContainer& container = unarchiver.currentContainer();
        items.reserve(items.size() + container.remaining());
        while (!container.endOfAnyArray()) {
            Item& item = items.emplace_back();
            try {
                const Item* decoded = unarchiver.decodeObject("NOTUSED", &item);
                if (decoded != &item) {
                    item = *decoded;
                }
            } catch (...) {
                items.pop_back();  // no item that was read by half
                throw;
            }
            container.nextItem();
        }
        unarchiver.endContainer();
    }

    std::shared_ptr<void> create() const override { return std::make_shared<Collection>(); }
};

}  // namespace Base
