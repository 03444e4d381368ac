#pragma once

#include <string>

#include "base/platform/Export.h"

namespace Base {
class Archiver;
class Unarchiver;
}  // namespace Base

namespace Kym {

class ConfigApplication;

/// What a department shows differently of an application that it does not own.
class KYM_EXPORT ApplicationOverlay {
  public:
    ApplicationOverlay();
    ApplicationOverlay(const ApplicationOverlay&);
    ApplicationOverlay& operator=(const ApplicationOverlay&);
    ~ApplicationOverlay();

    bool needsSaving() const { return edited; }
    void settingsChanged() { edited = true; }

    void encode(Base::Archiver& archiver);
    void decode(Base::Unarchiver& unarchiver);

    std::string configurationName;  ///< with applicationId: the application that is overlaid
    std::string applicationId;
    std::string description;
    std::string category;
    bool disableApplication = false;
    bool edited = false;
};

/// A predicate for `std::find_if`: the overlay, or the application, of a configuration name and an
/// application identifier, both compared exactly.
class KYM_EXPORT EqualOverlayOrApp {
  public:
    EqualOverlayOrApp(const std::string& configurationName, const std::string& applicationId);
    EqualOverlayOrApp(const EqualOverlayOrApp&);
    EqualOverlayOrApp& operator=(const EqualOverlayOrApp&);
    ~EqualOverlayOrApp();

    bool operator()(const ApplicationOverlay& overlay);
    bool operator()(const ConfigApplication& application);

  private:
    std::string mApplicationId;
    std::string mConfigurationName;
};

}  // namespace Kym
