#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "kym/ConfigApplication.h"
#include "kym/Configuration.h"
#include "kym/ConfigurationManager.h"
#include "kym/WorkDirectory.h"

/// What the site offers to a user: departments prepared for the present release, their applications and their
/// work directories. What a user names and does not exist is a `std::runtime_error` that lists what does.
class Departments {
  public:
    /// Loads the settings of every layer; errors as the stores' constructors.
    Departments();

    /// The departments, by description; those that are not prepared for the present release only when asked
    /// for.
    std::vector<Kym::Configuration> list(bool unpreparedToo = false);

    /// All departments, those too that are not prepared for the present release.
    Kym::ConfigurationManager& manager() { return mManager; }
    int rowOf(const std::string& name);

    /// `std::runtime_error` with the rule for a name that no department should get.
    static void requireUsableName(const std::string& name);

    /// What keeps a new department, or the one that is `renamed`, from having that name, for the user; empty
    /// when nothing does.
    static std::string obstacleTo(const std::string& name, const std::string& renamed = {});

    /// Tells which departments have that one as their common department, which do not change with it.
    void tellWhoRefersTo(const std::string& name, const std::string& newName, std::ostream& out);

    Kym::Configuration& find(const std::string& name);

    /// The common configuration of a launch; null when the department has none besides itself.
    Kym::Configuration* commonOf(const Kym::Configuration& department);

    /// The applications of all layers, as the department's overlays show them: those of the installation, of
    /// the plugins, of the common department, of the department itself. Disabled ones only when asked for.
    std::vector<Kym::ConfigApplication> applicationsOf(Kym::Configuration& department, bool disabledToo);

    /// The application of an identifier, from the last of these layers that has it, or the one that
    /// "CONFIGURATION:IDENTIFIER" names exactly.
    Kym::ConfigApplication findApplication(Kym::Configuration& department, const std::string& text);

    static const Kym::WorkDirectory& findWorkDirectory(const Kym::Configuration& department,
                                                       const std::string& name);

  private:
    Kym::ConfigurationManager mManager;
};
