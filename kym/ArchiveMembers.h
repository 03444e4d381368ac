#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "base/Archiver.h"
#include "base/Unarchiver.h"

namespace Kym {

/// Keys that several kinds of settings have.
inline const std::string commonVariablesKey = "Common Variables";
inline const std::string unixVariablesKey = "Unix Variables";
inline const std::string winVariablesKey = "Windows Variables";
inline const std::string applicationListKey = "Application List";

/// Writes a record or a list of records under the key, by the coder that is registered for its type.
template <typename Object>
void encodeMember(Base::Archiver& archiver, const std::string& key, Object& object) {
    archiver.encodeObject(key, &object, archiver.getCoder(Base::TypeInfo::of<Object>()));
}

/// Reads what `encodeMember` wrote into `target`; a list is appended to what it holds.
template <typename Object>
void decodeMember(Base::Unarchiver& unarchiver, const std::string& key, Object& target) {
    Object* decoded = unarchiver.decodeObject(key, &target);
    if (decoded != &target) {
        target = *decoded;
    }
}

/// Replaces `target`, once it is read, by what `encodeMember` wrote; a key that the file lacks leaves it
/// alone.
template <typename Object>
void replaceMember(Base::Unarchiver& unarchiver, const std::string& key, Object& target) {
    if (Object* read = unarchiver.decodeObject(key, static_cast<Object*>(nullptr))) {
        target = std::move(*read);
    }
}

/// Reads members that are replaced together, by `take`, so that none is when one of them cannot be read.
/// Unarchiver and targets must outlive it.
class MemberReader {
  public:
    explicit MemberReader(Base::Unarchiver& unarchiver) : mUnarchiver(unarchiver) {}

    /// Reads what `encodeMember` wrote; nothing is replaced when the file lacks the key.
    template <typename Object>
    void readObject(const std::string& key, Object& target) {
        if (Object* read = mUnarchiver.decodeObject(key, static_cast<Object*>(nullptr))) {
            mTakes.emplace_back([read, &target] { target = std::move(*read); });
        }
    }

    template <typename Value>
    void readValue(const std::string& key, Value& target) {
        Value read = target;
        mUnarchiver.decode(key, read);
        mTakes.emplace_back([read, &target] { target = read; });
    }

    void take() const {
        for (const auto& take : mTakes) {
            take();
        }
    }

  private:
    Base::Unarchiver& mUnarchiver;
    std::vector<std::function<void()>> mTakes;
};

}  // namespace Kym
