#include "kym/LaunchPlan.h"

#include "base/FileManager.h"
#include "kym/LaunchText.h"

namespace Kym {

std::string LaunchPlan::commandString() const {
    std::string text = Base::FileManager::native(executable);
    for (const std::string& argument : arguments) {
        text += ' ' + argument;
    }
    return text;
}

bool LaunchPlan::isPathList(const std::string& name) {
    return isPathVariable(name);
}

}  // namespace Kym
