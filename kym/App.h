#pragma once

#include <string>

#include "base/BaseKit.h"

namespace Kym {

class SystemPreferences;

/// The one application object of a program: its name, its preferences, and the way to its documentation.
///
/// A program makes one from its name, calls `initialize` once and destroys it at the end, which saves the
/// preferences:
///
///     Kym::App app("configure");
///     app.initialize(nullptr);
class KYM_EXPORT App {
  public:
    /// `name` also names the preference files. `Base::BaseException` while there is an application object
    /// already.
    explicit App(const std::string& name);

    /// Copies are shallow, deliberately: they have the same preferences, and `instance` stays as it is. Each
    /// destructor deletes the preferences and clears `instance`, a copy's too; so of an object with
    /// preferences and its copies, only one may ever be destroyed, and the others are of no use afterwards.
    App(const App&);
    App& operator=(const App&);

    /// Saves the user's preferences (see `SystemPreferences::Flush`) and deletes them; clears `instance`.
    virtual ~App();

    /// Initialises the base library, then makes the preferences. `delegate` may be null. Errors as of
    /// `SystemPreferences`. To be called once: the preferences of an earlier call are not deleted.
    void initialize(const Base::InitializeDelegate* delegate);

    /// The application object that was made from a name; null when there is none.
    static App* instance();

    const std::string& getAppName() const { return mName; }

    /// The preferences, which belong to this object; null before `initialize`.
    SystemPreferences* getPreferenceDB() const { return mPreferences; }

    /// Opens a document, a path or an address, in the site's web browser, and does not wait.
    /// `Base::BaseException` when the browser is not set, does not exist, is not executable or cannot be
    /// started. Reads the site settings anew, not through `SiteInformation()`; so the external plugins are
    /// registered again. Errors as of `SiteSettings`.
    void showDocumentation(const std::string& document) const;

  private:
    static App* mApplication;

    std::string mName;
    SystemPreferences* mPreferences = nullptr;
};

}  // namespace Kym
