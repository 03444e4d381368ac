#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <boost/filesystem/path.hpp>

/// What the fuzzers share. Each other source file here is one fuzzer, a function that takes any bytes and
/// ends the process where something does not hold. libFuzzer calls it, or the driver that replays the corpus.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace Fuzz {

/// Ends the process, telling what does not hold and the details, unless it holds.
void require(bool holds, std::string_view what, std::string_view details = {});

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// The parts of a text between the separators; one part when there is none.
std::vector<std::string> split(std::string_view text, char separator);

/// NAME=VALUE, cut at the first "=".
struct Variable {
    std::string name;
    std::string value;
};
Variable variableOf(const std::string& line);

/// A file with that content, for readers that want a file: always the same one, in a folder of this process in
/// the working directory.
boost::filesystem::path fileOf(std::string_view content);

/// Makes values of the bytes of an input; behind its end come zeros.
class Source {
  public:
    explicit Source(std::string_view bytes) : mBytes(bytes) {}

    bool isEmpty() const { return mBytes.empty(); }
    std::uint8_t byte();
    std::uint64_t number();  ///< of eight bytes
    std::string text();      ///< its length in one byte, then its bytes

  private:
    std::string_view mBytes;
};

}  // namespace Fuzz
