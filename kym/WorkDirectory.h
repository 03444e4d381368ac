#pragma once

#include <string>
#include <vector>

#include <boost/any.hpp>

#include "base/DataSourceInterface.h"
#include "base/platform/Export.h"

namespace Base {
class Archiver;
class Unarchiver;
}  // namespace Base

namespace Kym {

/// A named working directory that is offered at launch.
class KYM_EXPORT WorkDirectory {
  public:
    WorkDirectory();
    WorkDirectory(const WorkDirectory&);
    WorkDirectory& operator=(const WorkDirectory&);
    ~WorkDirectory();

    void encode(Base::Archiver& archiver);
    void decode(Base::Unarchiver& unarchiver);

    std::string name;
    std::string path;  ///< may refer to variables
};

/// The table model of a list of working directories: column "Name", and the path under any other column name.
class KYM_EXPORT WorkDirectoryListSource : public Base::DataSourceInterface {
  public:
    /// `list` stays owned by the caller and may be null.
    explicit WorkDirectoryListSource(std::vector<WorkDirectory>* list);

    void setList(std::vector<WorkDirectory>* list) { mList = list; }
    bool isNull() const { return mList == nullptr; }
    bool isEdited() const { return mEdited; }
    void setEdited(bool edited) { mEdited = edited; }

    int numberOfRowsInList() const override;
    boost::any valueForListColumnRow(const std::string& column, int row) const override;
    bool setValueForListColumnRow(const std::string& column, int row, const boost::any& value) override;
    void insertRow(int row) override;
    void deleteRows(const std::vector<int>& rows) override;

  private:
    std::vector<WorkDirectory>* mList;
    bool mEdited = false;
};

}  // namespace Kym
