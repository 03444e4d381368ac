#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

namespace Base {

/// The bytes of a file. Unlike a string's, they are not set to anything before they are read.
class FileContent {
  public:
    /// No larger file is read, so that a bad one cannot take all memory: what is made of it can be many times
    /// its size.
    static constexpr std::size_t sizeLimit = std::size_t{64} << 20U;

    char* data() { return mBytes.get(); }
    std::size_t size() const { return mSize; }
    std::string_view text() const { return {mBytes.get(), mSize}; }

    /// Keeps what there is as far as it fits; what is added is not set to anything.
    void resize(std::size_t size) {
        if (size > mCapacity) {
            auto bytes = std::make_unique_for_overwrite<char[]>(size);
            std::copy_n(mBytes.get(), mSize, bytes.get());
            mBytes = std::move(bytes);
            mCapacity = size;
        }
        mSize = size;
    }

  private:
    std::unique_ptr<char[]> mBytes;
    std::size_t mSize = 0;
    std::size_t mCapacity = 0;
};

}  // namespace Base
