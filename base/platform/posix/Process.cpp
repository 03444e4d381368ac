#include "base/platform/Process.h"

#include <boost/filesystem/operations.hpp>

namespace Base::Platform {

std::optional<std::string> startProcess(const ProcessStart& /*start*/) {
    return "starting programs is offered on Windows only";
}

boost::filesystem::path fullPath(const boost::filesystem::path& path) {
    return boost::filesystem::absolute(path).lexically_normal();
}

boost::filesystem::path batchInterpreter() {
    return {};
}

}  // namespace Base::Platform
