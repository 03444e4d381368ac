#pragma once

#include <string>
#include <vector>

#include <boost/any.hpp>
#include <boost/filesystem/path.hpp>

#include "base/DataSourceInterface.h"
#include "base/NameFilter.h"
#include "base/range/filtered_range.h"
#include "kym/Configuration.h"

namespace Kym {

/// The departments below the local departments directory, in the byte order of their directory names. It is
/// also the table of their names, the same under every column.
///
/// Pointers to a configuration hold as long as the manager's list does not change.
class KYM_EXPORT ConfigurationManager : public Base::DataSourceInterface {
  public:
    /// Finds the departments. A directory that is not one, or that may not be read and entered, is passed
    /// over. `std::runtime_error` when the departments directory is not known or does not exist; the error of
    /// a department whose files are damaged propagates (see `Configuration::load`).
    ConfigurationManager();

    /// The configuration of an index; `std::out_of_range` when there is none.
    Configuration* configuration(int index);

    /// The first configuration of exactly that name; null when there is none.
    Configuration* configurationByName(const std::string& name);
    const Configuration* configurationByName(const std::string& name) const;

    /// The first configuration of that directory, compared as written; null when there is none.
    const Configuration* configurationByPath(const boost::filesystem::path& path) const;

    /// The department that this process was started for, as the variable KYM_DEPT_DIR tells; null when it was
    /// started for none.
    const Configuration* currentConfiguration() const;

    /// Copies of the updated departments whose whole type matches a regular expression (Perl syntax,
    /// case-sensitive), sorted by description. `boost::regex_error` for a bad pattern.
    std::vector<Configuration> configurationList(const std::string& typePattern) const;

    using CommonConfigurations =
        Base::range::filtered_range<const std::vector<Configuration>, Base::NameFilter<Configuration>>;

    /// The departments that may serve others as their common department; a view of the manager's own list.
    CommonConfigurations commonConfigurations() const;

    /// The types that are offered for a department: "Common", "Development", "Production", "Test".
    const std::vector<std::string>& availableTypes() const;

    /// Makes a department "change_me", prepared for the present release, as the last of the list; it gets its
    /// final name by renaming. `std::runtime_error` when that name is taken; errors of the file system and of
    /// unpacking the version files propagate. After a failure nothing of it is left.
    void createConfiguration();

    /// Prepares a department for the present release: its version directory, unless it has one, and the
    /// 64-bit layout in it. Errors as of `Configuration`, and `std::runtime_error` when the version directory
    /// has no place for the layout. After a failure, a version directory that was not there is gone again.
    void prepareConfiguration(int index);

    /// Refuses a name that no department can have, as renaming to it would.
    static void checkName(const std::string& name);

    /// Gives a department another name, the directory included; its row stays. Departments that name it as
    /// their common department are not changed. `std::runtime_error` when no department can have that name or
    /// it is taken; `boost::filesystem::filesystem_error` when the directory cannot be renamed.
    /// After a failure nothing has changed.
    void renameConfiguration(int index, const std::string& newName);

    /// Removes a department's directory with everything in it, of all releases, and takes it off the list. Of
    /// a directory that is a link, only the link is removed. `boost::filesystem::filesystem_error` when
    /// something cannot be removed; the department then stays a department, listed and found by the next
    /// scan. After an interruption it is none any more, and what is left of its directory is to be removed by
    /// hand.
    void deleteConfiguration(int index);

    bool anyNeedsSaving() const;

    /// Saves every configuration that needs it, in list order; errors as `Configuration::save`.
    void saveDirty();

    /// Whether the departments directory looks like the one that an installation falls back to when the site
    /// has none: by name only.
    bool usingFallbackConfigurations() const;

    int numberOfRowsInList() const override;
    boost::any valueForListColumnRow(const std::string& column, int row) const override;

    /// Renames the department of a row, whatever the column; `boost::bad_any_cast` when the value is no
    /// string. False, with the reason in the log, when it holds white space or the renaming fails.
    bool setValueForListColumnRow(const std::string& column, int row, const boost::any& value) override;

  private:
    void initialize();
    struct Found;
    static Found readEntry(const boost::filesystem::path& entry);
    void addValidConfiguration(const boost::filesystem::path& entry, Found found);

    std::vector<Configuration> mConfigurations;
};

}  // namespace Kym
