#pragma once

#include <string>

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

}  // namespace Kym
