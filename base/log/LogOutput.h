#pragma once

#include <string_view>

namespace Base::log {

/// Writes a text whole to where the loggers write. Works until the very end of the process.
void writeLog(std::string_view text) noexcept;

}  // namespace Base::log
