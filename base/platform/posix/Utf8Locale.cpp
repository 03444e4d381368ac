#include "base/platform/Utf8Locale.h"

#include <locale.h>

namespace Base::Platform {

Utf8Locale::Utf8Locale() {
    const locale_t own = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    mOwn = own;
    mPrevious = own ? ::uselocale(own) : nullptr;
}

Utf8Locale::~Utf8Locale() {
    if (mOwn) {
        ::uselocale(static_cast<locale_t>(mPrevious));
        ::freelocale(static_cast<locale_t>(mOwn));
    }
}

}  // namespace Base::Platform
