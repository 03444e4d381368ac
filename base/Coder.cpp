#include "base/Coder.h"

#include <stdexcept>
#include <unordered_map>
#include <utility>

namespace Base {

namespace {

struct TypeHash {
    std::size_t operator()(const TypeInfo& type) const { return type.hash(); }
};

struct Registry {
    std::unordered_map<std::string, CoderBase*> byName;
    std::unordered_map<TypeInfo, CoderBase*, TypeHash> byType;
};

// Made by the first coder that registers itself, and so destroyed after the last static coder.
Registry& registry() {
    static Registry instance;
    return instance;
}

template <typename Map, typename Key>
CoderBase* findIn(const Map& map, const Key& key) {
    const auto found = map.find(key);
    return found == map.end() ? nullptr : found->second;
}

class StringListCoder : public CoderBase {
  public:
    using List = std::vector<std::string>;

    StringListCoder() : CoderBase("StringList", TypeInfo::of<List>()) {}

    void encode(Archiver& archiver, void* object) override {
        archiver.prepareCollection();
        for (const std::string& item : *static_cast<List*>(object)) {
            archiver.encode("NOTUSED", item);
        }
        archiver.finishCollection();
    }

    void decode(Unarchiver& unarchiver, void* object) override {
        List& list = *static_cast<List*>(object);
        unarchiver.beginContainer(unarchiver.getObjectList());
        for (; !unarchiver.currentContainer().endOfAnyArray(); unarchiver.currentContainer().nextItem()) {
            std::string item;
            unarchiver.decode("NOTUSED", item);
            list.push_back(std::move(item));
        }
        unarchiver.endContainer();
    }

    std::shared_ptr<void> create() const override { return std::make_shared<List>(); }
};

StringListCoder stringListCoder;

}  // namespace

CoderBase::CoderBase(const std::string& name, TypeInfo type) : mName(name), mType(type) {
    if (find(name) || find(type)) {
        throw std::logic_error("two coders for \"" + name + "\" or for the type " + type.name());
    }
    registry().byName.emplace(name, this);
    registry().byType.emplace(type, this);
}

CoderBase::~CoderBase() {
    registry().byName.erase(mName);
    registry().byType.erase(mType);
}

CoderBase* CoderBase::find(const std::string& name) {
    return findIn(registry().byName, name);
}
CoderBase* CoderBase::find(const TypeInfo& type) {
    return findIn(registry().byType, type);
}

}  // namespace Base
