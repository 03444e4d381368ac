#include "base/FileState.h"

#include <bit>
#include <cstring>

#include "base/FileManager.h"

namespace Base {
namespace {

constexpr std::uint64_t factor = 0x9E3779B97F4A7C15U;  // odd, so that no difference is ever multiplied away

std::uint64_t mixed(std::uint64_t sum, std::uint64_t word) {
    sum = (sum ^ word) * factor;
    return sum ^ (sum >> 32U);
}

std::uint64_t wordAt(const char* bytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

// Several sums side by side, since each has to wait for its last multiplication.
std::uint64_t checksum(std::string_view bytes) {
    std::uint64_t first = 0, second = 0, third = 0, fourth = 0;
    for (; bytes.size() >= 32; bytes.remove_prefix(32)) {
        first = std::rotl(first ^ wordAt(bytes.data()), 32) * factor;
        second = std::rotl(second ^ wordAt(bytes.data() + 8), 32) * factor;
        third = std::rotl(third ^ wordAt(bytes.data() + 16), 32) * factor;
        fourth = std::rotl(fourth ^ wordAt(bytes.data() + 24), 32) * factor;
    }
    std::uint64_t result = 0;
    for (const std::uint64_t sum : {first, second, third, fourth}) {
        result = mixed(result, sum);
    }
    std::uint64_t word = 0;
    for (; bytes.size() >= sizeof word; bytes.remove_prefix(sizeof word)) {
        result = mixed(result, wordAt(bytes.data()));
    }
    std::memcpy(&word, bytes.data(), bytes.size());  // the rest; the size tells how many bytes of it count
    return mixed(result, word);
}

}  // namespace

FileChanged::FileChanged(const boost::filesystem::path& file)
    : BaseException(
          FileManager::native(file) +
          ": somebody else has changed the file since it was loaded. Nothing was saved in it. Load it "
          "again and repeat the change."),
      mFile(file) {}
FileChanged::FileChanged(const FileChanged&) = default;
FileChanged& FileChanged::operator=(const FileChanged&) = default;
FileChanged::~FileChanged() = default;

void saveOverChanges(const boost::filesystem::path& file) {
    FileManager::noteOwn(file);
}

FileState FileState::missing() {
    FileState state;
    state.mKind = Kind::Missing;
    return state;
}

FileState FileState::of(std::string_view content) {
    FileState state;
    state.mKind = Kind::Content;
    state.mSize = content.size();
    state.mSum = checksum(content);
    return state;
}

}  // namespace Base
