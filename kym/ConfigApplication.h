#pragma once

#include <string>
#include <vector>

#include <boost/any.hpp>

#include "kym/SettingsProtocol.h"

namespace Kym {

/// One CAD application that a user can launch, with environment variables of its own.
class KYM_EXPORT ConfigApplication : public SettingsProtocol {
  public:
    ConfigApplication();
    ConfigApplication(const ConfigApplication&);
    ConfigApplication(ConfigApplication&&) noexcept;
    ConfigApplication& operator=(const ConfigApplication&);
    ConfigApplication& operator=(ConfigApplication&&) noexcept;
    ~ConfigApplication();

    /// The name of the configuration that holds the application. It is not stored: whoever lists the
    /// applications of a configuration sets it.
    std::string configurationName();
    void setConfigurationName(const std::string& name);

    /// Whether one of the three variable lists was edited. Edits of the fields below mark the list that holds
    /// the application.
    bool needsSaving() const;

    /// Merges the application's variables, then puts the CAD libraries in front of PATH when it asks for
    /// that.
    void mergeEnvVariables(std::vector<EnvironmentVariable>& list) const;

    void encode(Base::Archiver& archiver);
    void decode(Base::Unarchiver& unarchiver);

    std::string applicationId = "ChangeMyAppID";  ///< until the user gives a new application its own
    std::string description;                      ///< the name shown to the user
    std::string category;                         ///< the group under which it is listed
    std::string program;                          ///< the executable; may refer to variables
    std::string arguments;                        ///< one text, split at launch; may refer to variables
    bool addUgLibsToPath = true;
    bool disableCustomization = false;
    bool disableApplication = false;
    PlatformType platform = PlatformType::Common;
    std::string mConfigurationName;

  private:
    friend class Launcher;
    friend class ApplicationMarks;
    void mergeEnvVariables(VariableList& list) const;
};

/// Order of a list shown to a user: by category, then by description, byte by byte.
KYM_EXPORT bool operator<(const ConfigApplication& left, const ConfigApplication& right);

/// The table model of a list of applications.
///
/// Columns: "Disable", "AppID", "Category", "Description", "Executable", "Arguments", "AddNXLibs",
/// "NoCustom". Truth values are "True" and "False"; any spelling of "true" sets one.
class KYM_EXPORT ApplicationListSource : public Base::DataSourceInterface {
  public:
    /// `list` stays owned by the caller and may be null.
    explicit ApplicationListSource(std::vector<ConfigApplication>* list = nullptr);

    void setList(std::vector<ConfigApplication>* list) { mList = list; }
    bool isNull() const { return mList == nullptr; }
    bool isEdited() const { return mEdited; }
    void setEdited(bool edited) { mEdited = edited; }

    int numberOfRowsInList() const override;
    boost::any valueForListColumnRow(const std::string& column, int row) const override;

    /// Under an unknown column nothing is changed; the call still counts as an edit and returns true.
    bool setValueForListColumnRow(const std::string& column, int row, const boost::any& value) override;
    void insertRow(int row) override;
    void deleteRows(const std::vector<int>& rows) override;

    /// The application of a row; `std::out_of_range` when there is no such row.
    ConfigApplication& application(int index);

    /// The table models of one application's variables; null when there is no list.
    EnvVariableListSource* commonVariables(int index);
    EnvVariableListSource* unixVariables(int index);
    EnvVariableListSource* winVariables(int index);

  private:
    std::vector<ConfigApplication>* mList;
    bool mEdited = false;
};

}  // namespace Kym
