#include "kym/ApplicationOverlay.h"

#include <vector>

#include "base/Coder.h"
#include "kym/ConfigApplication.h"

namespace Kym {
namespace {

const std::string configurationKey = "Configuration";
const std::string applicationIdKey = "App ID";
const std::string categoryKey = "Category";
const std::string descriptionKey = "Description";
const std::string disableApplicationKey = "Disable Application";

Base::Coder<ApplicationOverlay> coder("ApplicationOverlay");
Base::CollectionCoder<std::vector<ApplicationOverlay>> listCoder("ApplicationOverlayList");

}  // namespace

ApplicationOverlay::ApplicationOverlay() = default;
ApplicationOverlay::ApplicationOverlay(const ApplicationOverlay&) = default;
ApplicationOverlay& ApplicationOverlay::operator=(const ApplicationOverlay&) = default;
ApplicationOverlay::~ApplicationOverlay() = default;

void ApplicationOverlay::encode(Base::Archiver& archiver) {
    archiver.encode(configurationKey, configurationName);
    archiver.encode(applicationIdKey, applicationId);
    archiver.encode(categoryKey, category);
    archiver.encode(descriptionKey, description);
    archiver.encode(disableApplicationKey, disableApplication);
}

void ApplicationOverlay::decode(Base::Unarchiver& unarchiver) {
    unarchiver.decode(configurationKey, configurationName);
    unarchiver.decode(applicationIdKey, applicationId);
    unarchiver.decode(categoryKey, category);
    unarchiver.decode(descriptionKey, description);
    unarchiver.decode(disableApplicationKey, disableApplication);
}

EqualOverlayOrApp::EqualOverlayOrApp(const std::string& configurationName, const std::string& applicationId)
    : mApplicationId(applicationId), mConfigurationName(configurationName) {}
EqualOverlayOrApp::EqualOverlayOrApp(const EqualOverlayOrApp&) = default;
EqualOverlayOrApp& EqualOverlayOrApp::operator=(const EqualOverlayOrApp&) = default;
EqualOverlayOrApp::~EqualOverlayOrApp() = default;

bool EqualOverlayOrApp::operator()(const ApplicationOverlay& overlay) {
    return overlay.configurationName == mConfigurationName && overlay.applicationId == mApplicationId;
}

bool EqualOverlayOrApp::operator()(const ConfigApplication& application) {
    return application.mConfigurationName == mConfigurationName &&
           application.applicationId == mApplicationId;
}

}  // namespace Kym
