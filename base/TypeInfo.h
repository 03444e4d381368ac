#pragma once

#include <compare>
#include <cstddef>
#include <typeindex>
#include <typeinfo>

namespace Base {

/// Identifies an in-memory type, so that the coder of that type can be looked up. A comparable value.
class TypeInfo {
  public:
    TypeInfo(const std::type_info& type) : mIndex(type) {}  // implicit: callers write typeid(T)

    template <typename T>
    static TypeInfo of() {
        return TypeInfo(typeid(T));
    }

    auto operator<=>(const TypeInfo&) const = default;
    std::size_t hash() const { return mIndex.hash_code(); }

    /// The compiler's name of the type, for messages only.
    const char* name() const { return mIndex.name(); }

  private:
    std::type_index mIndex;
};

}  // namespace Base
