#pragma once

#include <string>
#include <utility>

#include "base/Archiver.h"
#include "base/Unarchiver.h"

namespace Kym {

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

/// What `encodeMember` wrote, owned by the unarchiver; null when the file lacks the key.
template <typename Object>
Object* readMember(Base::Unarchiver& unarchiver, const std::string& key) {
    return unarchiver.decodeObject(key, static_cast<Object*>(nullptr));
}

/// Replaces `target` by what `readMember` gave; null leaves it alone.
template <typename Object>
void takeMember(Object* read, Object& target) {
    if (read) {
        target = std::move(*read);
    }
}

}  // namespace Kym
