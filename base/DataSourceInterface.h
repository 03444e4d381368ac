#pragma once

#include <string>
#include <vector>

#include <boost/any.hpp>

#include "base/platform/Export.h"

namespace Base {

/// A table that an editor shows and edits: cells are addressed by column name and row index.
///
/// Cell values travel as `boost::any` holding a `std::string`. A table model never owns the data that it
/// shows. There is deliberately no virtual destructor: table models are held by value by their owners, copied
/// with them, and never deleted through this interface.
class BASE_EXPORT DataSourceInterface {
  public:
    virtual int numberOfRowsInList() const = 0;

    /// The cell's value; an empty `boost::any` when there is no list to show.
    virtual boost::any valueForListColumnRow(const std::string& column, int row) const = 0;

    /// Stores a cell; false when nothing was stored. The default stores nothing.
    virtual bool setValueForListColumnRow(const std::string& column, int row, const boost::any& value);

    /// Whether an editor may let the user drag rows into another order. The default says no.
    virtual bool canReorderRows() const;

    /// Inserts a new row before `row`, or at the end when `row` is negative. The default does nothing.
    virtual void insertRow(int row);

    /// Deletes the rows of the given indices. The default does nothing.
    virtual void deleteRows(const std::vector<int>& rows);

    /// Whether the present value of a cell obeys the rules of its column. The default says yes.
    virtual bool valueIsValid(const std::string& column, int row) const;

  protected:
    DataSourceInterface() = default;
    DataSourceInterface(const DataSourceInterface&) = default;
    DataSourceInterface& operator=(const DataSourceInterface&) = default;
    ~DataSourceInterface() = default;
};

}  // namespace Base
