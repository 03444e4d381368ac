#pragma once

#include <string>

namespace Kym {

/// Starts a web browser, given by its path, on a document and does not wait. `Base::BaseException` when there
/// is no path, and when nothing executable stands there; `Base::TaskError` when it cannot be started.
void openInBrowser(const std::string& browser, const std::string& document);

}  // namespace Kym
