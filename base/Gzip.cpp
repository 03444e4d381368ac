#include "base/Gzip.h"

#include <fstream>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>
#include <zlib.h>

#include "base/FileManager.h"

namespace Base {

void checkGzip(const boost::filesystem::path& file) {
    z_stream stream{};
    if (::inflateInit2(&stream, 16 + MAX_WBITS) != Z_OK) {  // 16: with the header and the trailer of gzip
        throw std::bad_alloc();
    }
    const std::unique_ptr<z_stream, int (*)(z_stream*)> end(&stream, ::inflateEnd);
    std::ifstream in(file.c_str(), std::ios::binary);
    if (!in) {
        throw std::runtime_error(FileManager::native(file) + " cannot be read.");
    }
    std::vector<Bytef> packed(1U << 16U), unpacked(1U << 16U);
    const auto more = [&] {
        if (stream.avail_in == 0) {
            in.read(reinterpret_cast<char*>(packed.data()), static_cast<std::streamsize>(packed.size()));
            stream.next_in = packed.data();
            stream.avail_in = static_cast<uInt>(in.gcount());
        }
        return stream.avail_in != 0;
    };
    if (!more() || packed[0] != 0x1F || packed[1] != 0x8B) {
        return;
    }
    // A file may have several members. What begins otherwise is no part of it.
    while (more() && *stream.next_in == 0x1F) {
        int result = Z_OK;
        while (result == Z_OK && more()) {
            stream.next_out = unpacked.data();
            stream.avail_out = static_cast<uInt>(unpacked.size());
            result = ::inflate(&stream, Z_NO_FLUSH);
        }
        if (result != Z_STREAM_END) {
            throw std::runtime_error(FileManager::native(file) +
                                     ": damaged file: " + (stream.msg ? stream.msg : "it ends too soon"));
        }
        ::inflateReset(&stream);
    }
}

}  // namespace Base
