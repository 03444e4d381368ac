// A program of somebody else's: sees the installed headers, links the installed library and nothing else of
// it. An exception that the library throws passes its border.

#include <stdexcept>

#include "all_headers.h"

int main() {
    try {
        Kym::SystemInformation();
        return 1;  // there is none without KYM_BASE_DIR
    } catch (const std::runtime_error&) {
        return 0;
    }
}
