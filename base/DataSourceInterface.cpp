#include "base/DataSourceInterface.h"

namespace Base {

bool DataSourceInterface::setValueForListColumnRow(const std::string&, int, const boost::any&) {
    return false;
}

bool DataSourceInterface::canReorderRows() const {
    return false;
}

void DataSourceInterface::insertRow(int) {}

void DataSourceInterface::deleteRows(const std::vector<int>&) {}

bool DataSourceInterface::valueIsValid(const std::string&, int) const {
    return true;
}

}  // namespace Base
