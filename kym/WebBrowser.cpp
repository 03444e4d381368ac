#include "kym/WebBrowser.h"

#include "base/BaseException.h"
#include "base/FileManager.h"
#include "base/Task.h"

namespace Kym {

void openInBrowser(const std::string& browser, const std::string& document) {
    using Base::FileManager::native;
    if (browser.empty()) {
        throw Base::BaseException("Web browser is undefined. Please define it in the configure program.");
    }
    if (!Base::FileManager::exists(browser)) {
        throw Base::BaseException("The executable " + native(browser) + " was not found.");
    }
    if (!Base::FileManager::isExecutable(browser)) {
        throw Base::BaseException("The executable " + native(browser) + " is not executable.");
    }
    Base::Task(browser, {document});
}

}  // namespace Kym
