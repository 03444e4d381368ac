#pragma once

#include <map>
#include <string>
#include <vector>

#include <boost/any.hpp>
#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>

#include "base/BaseException.h"
#include "base/FileState.h"

namespace Kym {

/// A preference file whose root is no dictionary.
class KYM_EXPORT InvalidPreferenceFile : public Base::BaseException {
  public:
    explicit InvalidPreferenceFile(const std::string& message);
    InvalidPreferenceFile(const InvalidPreferenceFile&);
    InvalidPreferenceFile& operator=(const InvalidPreferenceFile&);
    ~InvalidPreferenceFile() override;
};

/// The preferences of the user, of the department, of its common department and of the installation.
///
/// Each has a directory with two property lists: one for the application, NAME.plist, and "global.plist" for
/// all applications. A file is a *domain*: a dictionary of named values. Names joined by "/" are a *key*; all
/// but the last name dictionaries, one in the other.
///
/// A read takes the value of the first domain that has the key: the user's come first, then the department's,
/// the common department's and the installation's; of one directory, the application's before the global one.
/// A write goes to one domain and stays in memory until `Flush`.
///
/// Values are of the kinds that a property list has: `std::map<std::string, boost::any>`,
/// `std::vector<boost::any>`, `std::string`, `bool`, integers, `double`, `std::vector<char>` and
/// `Base::PropertyListDate`. An integer comes back from a file as `unsigned int` when it fits, else as `int`
/// when it is negative and fits, else as a 64-bit one.
///
/// The files are read once, by the constructor and by `addPath`. A file that cannot be read, or whose root is
/// no dictionary, is logged and its domain not searched; before it is replaced, a copy is kept beside it.
///
/// Copies share the domains that were there when the copy was made: what is set in one is seen by the other,
/// but only the one that set it writes it.
class KYM_EXPORT SystemPreferences {
  public:
    /// The preferences as a process sees them that the launcher started: KYM_DEPT_DIR, KYM_COMMONDEPT_DIR and
    /// UG_VER tell where those of the departments are. A directory whose variables are not set has no
    /// preferences. `std::runtime_error` when there is no installation or no folder of application data
    /// (see `SystemInfo`), `Base::Environment::ExpansionError` when the department's cannot be expanded.
    explicit SystemPreferences(const std::string& applicationName);

    /// The same with a department of the caller's choice. References to variables in its path are expanded.
    SystemPreferences(const std::string& departmentDirectory, const std::string& applicationName);

    /// A copy of the value of a key; null when no domain has it.
    boost::shared_ptr<boost::any> GetPreference(const std::string& key) const;

    /// The same from one domain.
    boost::shared_ptr<boost::any> GetPreference(const std::string& key, const std::string& fileName,
                                                const std::string& directory) const;

    /// Sets a value; dictionaries that the key names are made when they are missing. `Base::BaseException`,
    /// and nothing has changed, when there is something else where the key names a dictionary, or when it has
    /// more names than `Base::PropertyList::depthLimit`. A domain that was not read begins empty; when it is
    /// written over a file that was there, a copy of that is kept.
    void SetPreference(const std::string& key, const boost::any& value, const std::string& fileName,
                       const std::string& directory);

    /// Sets a value for this application and this user.
    void SetPreference(const std::string& key, const boost::any& value);

    /// Removes a name, with all that it holds, from the dictionary at the top of a domain. Unlike elsewhere a
    /// "/" is a part of the name here; and a removal is written only when something is also set in the
    /// domain. Both are deliberate.
    void RemovePreference(const std::string& key, const std::string& fileName, const std::string& directory);

    /// Removes a name for this application and this user.
    void RemovePreference(const std::string& key);

    /// Writes the two domains of a directory, the global one first, as far as something was set in them since
    /// they were read or written. Makes the directory, one level. Does not throw: an error, also that
    /// somebody else has changed a file meanwhile (see `Base::FileChanged`), goes to standard error, and what
    /// was not written still needs saving.
    void Flush(const std::string& directory);

    /// Writes the user's preferences.
    void Flush();

    /// Whether something was set that is not written yet.
    bool needsSaving() const;

    /// Reads the two domains of a further directory, when it exists; they are searched before all others or
    /// after them. At the front the global domain comes before the application's, deliberately.
    void addPath(const std::string& directory, bool atFront);

    /// What a domain is named by: a file for any application or for the present one, in the directory of any
    /// user (the department's) or of the present one. The present user's is empty when there is none.
    const std::string& AnyApplication() const { return mGlobalFile; }
    const std::string& CurrentApplication() const { return mApplicationFile; }
    const std::string& AnyUser() const { return mGlobalDirectory; }
    const std::string& CurrentUser() const { return mUserDirectory; }

    struct Preference {
        std::string key;
        boost::any value;
        boost::filesystem::path file;  ///< of the domain; with the variables of its directory, if it has any
    };

    /// All that `GetPreference` finds and that is no dictionary with something in it, in the order of the
    /// keys.
    std::vector<Preference> preferences() const;

  private:
    struct Domain {
        boost::shared_ptr<boost::any> root;
        Base::FileState state;  // of its file
        bool changed = false;
    };
    struct Searched {
        boost::filesystem::path file;
        boost::shared_ptr<boost::any> root;  // the domain's, so that a read need not look for that
    };
    enum class Directory { literal, unexpanded };

    void loadPreferences();
    void ReadInPList(const std::string& fileName, const std::string& directory, bool atFront,
                     Directory kind = Directory::literal);
    void setDomain(const boost::filesystem::path& file, const boost::shared_ptr<boost::any>& root,
                   const Base::FileState& state);
    Domain& domain(const boost::filesystem::path& file);
    void write(const boost::filesystem::path& file);

    std::map<boost::filesystem::path, Domain> mDomains;  // by their files
    std::vector<Searched> mSearchList;
    std::string mApplicationFile;
    std::string mGlobalFile;
    std::string mUserDirectory;
    std::string mGlobalDirectory;
};

}  // namespace Kym
