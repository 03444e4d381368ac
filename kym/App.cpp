#include "kym/App.h"

#include "kym/Loggers.h"
#include "kym/SiteSettings.h"
#include "kym/SystemPreferences.h"
#include "kym/WebBrowser.h"

namespace Kym {

App* App::mApplication = nullptr;

App::App(const std::string& name) : mName(name) {
    if (mApplication) {
        throw Base::BaseException("Trying to construct multiple application objects.");
    }
    mApplication = this;
}

App::App(const App&) = default;
App& App::operator=(const App&) = default;

App::~App() {
    if (mPreferences) {
        mPreferences->Flush();
        delete mPreferences;
    }
    mApplication = nullptr;
}

void App::initialize(const Base::InitializeDelegate* delegate) {
    Base::BaseKit::initialize(delegate);
    logInfo("initialized trace controller");
    mPreferences = new SystemPreferences(mName);
    logInfo("initialized preference system");
}

App* App::instance() {
    return mApplication;
}

void App::showDocumentation(const std::string& document) const {
    const SiteSettings site;
    openInBrowser(site.getWebBrowser(), document);
}

}  // namespace Kym
