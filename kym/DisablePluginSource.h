#pragma once

#include <string>
#include <vector>

#include <boost/any.hpp>
#include <boost/filesystem/path.hpp>

#include "base/DataSourceInterface.h"
#include "base/platform/Export.h"

namespace Kym {

/// The table model by which a department switches plugins off: a row for every plugin that was known when the
/// model was made, column "Name", and "True" for a disabled plugin or "False" under any other column name.
/// Rows can be neither inserted nor deleted.
///
/// A row that does not exist is `std::out_of_range`.
class KYM_EXPORT DisablePluginSource : public Base::DataSourceInterface {
  public:
    /// `list` holds the names of the disabled plugins, stays owned by the caller and may be null. Making the
    /// model brings the plugin registry into existence.
    explicit DisablePluginSource(std::vector<std::string>* list);

    /// Shows another list; the edited mark stays as it is.
    void setList(std::vector<std::string>* list) { mList = list; }
    bool isNull() const { return mList == nullptr; }
    bool isEdited() const { return mEdited; }
    void setEdited(bool edited) { mEdited = edited; }

    int numberOfRowsInList() const override;
    boost::any valueForListColumnRow(const std::string& column, int row) const override;

    /// Whatever the column, any spelling of "true" disables the row's plugin if it is not disabled yet. In
    /// every other case the plugin is enabled, and with it every plugin that was disabled after it.
    bool setValueForListColumnRow(const std::string& column, int row, const boost::any& value) override;

  private:
    std::string leaf(int row) const;

    std::vector<std::string>* mList;
    std::vector<boost::filesystem::path> mPluginPaths;
    bool mEdited = false;
};

}  // namespace Kym
