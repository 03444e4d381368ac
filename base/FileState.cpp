#include "base/FileState.h"

#include <functional>

#include "base/FileManager.h"

namespace Base {
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
    static_assert(sizeof(std::size_t) == sizeof state.mSum);
    state.mSum = std::hash<std::string_view>()(content);
    return state;
}

}  // namespace Base
