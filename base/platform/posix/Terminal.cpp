#include "base/platform/Terminal.h"

#include <cstdlib>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Base::Platform {

bool inputIsTerminal() {
    return ::isatty(STDIN_FILENO) != 0;
}

bool outputIsTerminal() {
    return ::isatty(STDOUT_FILENO) != 0;
}

bool errorOutputIsTerminal() {
    return ::isatty(STDERR_FILENO) != 0;
}

std::size_t outputWidth() {
    winsize size{};
    return outputIsTerminal() && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

bool outputTakesColours() {
    const char* kind = std::getenv("TERM");
    return outputIsTerminal() && kind && std::string_view(kind) != "dumb";
}

// A terminal here is taken to show UTF-8.
Utf8Output::Utf8Output() = default;
Utf8Output::~Utf8Output() = default;

}  // namespace Base::Platform
