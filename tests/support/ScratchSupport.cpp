#include "tests/support/ScratchSupport.h"

namespace Support {

boost::filesystem::path recorded(const std::string& name) {
    return boost::filesystem::path(KYM_TEST_DATA) / name;
}

}  // namespace Support
