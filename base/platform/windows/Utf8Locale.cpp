#include "base/platform/Utf8Locale.h"

namespace Base::Platform {

Utf8Locale::Utf8Locale() = default;
Utf8Locale::~Utf8Locale() = default;

}  // namespace Base::Platform
