#include "kym/ApplicationMarks.h"

namespace Kym {

ApplicationMarks::ApplicationMarks(std::vector<ConfigApplication>& applications) {
    for (ConfigApplication& application : applications) {
        if (application.needsSaving()) {
            mEdited.push_back(&application);
        }
    }
}

ApplicationMarks::~ApplicationMarks() {
    for (ConfigApplication* application : mEdited) {
        application->setVariablesEdited(true);
    }
}

}  // namespace Kym
