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

    bool anyNeedsSaving() const;

    /// Saves every configuration that needs it, in list order; errors as `Configuration::save`.
    void saveDirty();

    /// Whether the departments directory looks like the one that an installation falls back to when the site
    /// has none: by name only.
    bool usingFallbackConfigurations() const;

    int numberOfRowsInList() const override;
    boost::any valueForListColumnRow(const std::string& column, int row) const override;

  private:
    void initialize();
    void addValidConfiguration(const boost::filesystem::path& entry);

    std::vector<Configuration> mConfigurations;
};

}  // namespace Kym
