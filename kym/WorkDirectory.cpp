#include "kym/WorkDirectory.h"

#include "base/Coder.h"
#include "kym/ListRows.h"

namespace Kym {
namespace {

const std::string nameKey = "Name";
const std::string pathKey = "Path";

const std::string nameColumn = "Name";

Base::Coder<WorkDirectory> coder("WorkDirectory");
Base::CollectionCoder<std::vector<WorkDirectory>> listCoder("WorkDirectoryList");

}  // namespace

WorkDirectory::WorkDirectory() = default;
WorkDirectory::WorkDirectory(const WorkDirectory&) = default;
WorkDirectory& WorkDirectory::operator=(const WorkDirectory&) = default;
WorkDirectory::~WorkDirectory() = default;

void WorkDirectory::encode(Base::Archiver& archiver) {
    archiver.encode(nameKey, name);
    archiver.encode(pathKey, path);
}

void WorkDirectory::decode(Base::Unarchiver& unarchiver) {
    unarchiver.decode(nameKey, name);
    unarchiver.decode(pathKey, path);
}

WorkDirectoryListSource::WorkDirectoryListSource(std::vector<WorkDirectory>* list) : mList(list) {}

int WorkDirectoryListSource::numberOfRowsInList() const {
    return numberOfRows(mList);
}

boost::any WorkDirectoryListSource::valueForListColumnRow(const std::string& column, int row) const {
    if (!mList) {
        return {};
    }
    const WorkDirectory& directory = rowOf(*mList, row);
    return column == nameColumn ? directory.name : directory.path;
}

bool WorkDirectoryListSource::setValueForListColumnRow(const std::string& column, int row,
                                                       const boost::any& value) {
    if (!mList) {
        return false;
    }
    const auto& text = boost::any_cast<const std::string&>(value);
    WorkDirectory& directory = rowOf(*mList, row);
    (column == nameColumn ? directory.name : directory.path) = text;
    mEdited = true;
    return true;
}

void WorkDirectoryListSource::insertRow(int row) {
    insertDefaultRow(mList, row, mEdited);
}

void WorkDirectoryListSource::deleteRows(const std::vector<int>& rows) {
    eraseRows(mList, rows, mEdited);
}

}  // namespace Kym
