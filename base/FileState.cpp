#include "base/FileState.h"

#include <array>
#include <cstring>

#include "base/FileManager.h"

namespace Base {
namespace {

constexpr std::uint64_t factor = 0x9E3779B97F4A7C15U;  // odd, so that no difference is ever multiplied away

std::uint64_t mixed(std::uint64_t sum, std::uint64_t word) {
    sum = (sum ^ word) * factor;
    return sum ^ (sum >> 32U);
}

// Several sums side by side, since each has to wait for its last multiplication.
std::uint64_t checksum(std::string_view bytes) {
    std::array<std::uint64_t, 8> sums{};
    std::array<std::uint64_t, 8> words{};
    for (; bytes.size() >= sizeof words; bytes.remove_prefix(sizeof words)) {
        std::memcpy(words.data(), bytes.data(), sizeof words);
        for (std::size_t i = 0; i < sums.size(); ++i) {
            sums[i] = (sums[i] ^ words[i]) * factor;
        }
    }
    std::uint64_t result = 0;
    for (const std::uint64_t sum : sums) {
        result = mixed(result, sum);
    }
    std::uint64_t word = 0;
    for (; bytes.size() >= sizeof word; bytes.remove_prefix(sizeof word)) {
        std::memcpy(&word, bytes.data(), sizeof word);
        result = mixed(result, word);
    }
    word = 0;  // the rest; the size tells how many bytes of it count
    std::memcpy(&word, bytes.data(), bytes.size());
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
