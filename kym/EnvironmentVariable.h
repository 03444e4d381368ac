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

/// The platform that a record names. It is stored and shown; which platform a variable serves is decided by
/// the list it stands in.
enum class PlatformType : int { Common = 0, Unix = 1, Windows = 2 };

/// One environment variable of a settings layer. Texts are byte strings. The value may refer to other
/// variables, and to the value that earlier layers gave to this one, as $NAME or ${NAME}.
class KYM_EXPORT EnvironmentVariable {
  public:
    EnvironmentVariable();
    EnvironmentVariable(const std::string& name, const std::string& value);
    EnvironmentVariable(const std::string& name, PlatformType type);
    EnvironmentVariable(const EnvironmentVariable&);
    EnvironmentVariable(EnvironmentVariable&&) noexcept;
    EnvironmentVariable& operator=(const EnvironmentVariable&);
    EnvironmentVariable& operator=(EnvironmentVariable&&) noexcept;
    ~EnvironmentVariable();

    void encode(Base::Archiver& archiver);
    void decode(Base::Unarchiver& unarchiver);

    std::string name;
    std::string value;
    std::string comment;  ///< free text for the editor
    PlatformType type = PlatformType::Common;
};

/// The table model of a list of variables: column "Name", and the value under any other column name.
class KYM_EXPORT EnvVariableListSource : public Base::DataSourceInterface {
  public:
    /// `list` stays owned by the caller and may be null.
    explicit EnvVariableListSource(std::vector<EnvironmentVariable>* list);

    /// Shows another list; the edited mark stays as it is.
    void setList(std::vector<EnvironmentVariable>* list) { mList = list; }

    bool isEdited() const { return mEdited; }
    void setEdited(bool edited) { mEdited = edited; }

    int numberOfRowsInList() const override;
    boost::any valueForListColumnRow(const std::string& column, int row) const override;
    bool setValueForListColumnRow(const std::string& column, int row, const boost::any& value) override;
    void insertRow(int row) override;
    void deleteRows(const std::vector<int>& rows) override;

    /// A name holds letters, digits and "_", may begin with "#", and begins with neither "_" nor a digit; a
    /// value holds an even number of "%" and as many "{" as "}". There must be a list.
    bool valueIsValid(const std::string& column, int row) const override;

    /// The variable of a row; `std::out_of_range` when there is no such row. Who changes it through this
    /// reference sets the edited mark. There must be a list.
    EnvironmentVariable& variable(int index);

  private:
    std::vector<EnvironmentVariable>* mList;
    bool mEdited = false;
};

}  // namespace Kym
