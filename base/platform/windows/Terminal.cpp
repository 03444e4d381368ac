#include "base/platform/Terminal.h"

#include <windows.h>

namespace Base::Platform {

namespace {

bool isConsole(DWORD stream) {
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(stream), &mode) != 0;
}

}  // namespace

bool inputIsTerminal() {
    return isConsole(STD_INPUT_HANDLE);
}

bool outputIsTerminal() {
    return isConsole(STD_OUTPUT_HANDLE);
}

bool errorOutputIsTerminal() {
    return isConsole(STD_ERROR_HANDLE);
}

std::size_t outputWidth() {
    CONSOLE_SCREEN_BUFFER_INFO buffer{};
    if (!::GetConsoleScreenBufferInfo(::GetStdHandle(STD_OUTPUT_HANDLE), &buffer)) {
        return 0;
    }
    // A line that fills the last column would begin a new one.
    const int columns = buffer.srWindow.Right - buffer.srWindow.Left;
    return columns > 0 ? static_cast<std::size_t>(columns) : 0;
}

Utf8Output::Utf8Output() {
    const UINT codePage = ::GetConsoleOutputCP();
    const bool writesThere = outputIsTerminal() || errorOutputIsTerminal();
    if (writesThere && codePage != CP_UTF8 && ::SetConsoleOutputCP(CP_UTF8)) {
        mCodePage = codePage;
    }
}

Utf8Output::~Utf8Output() {
    if (mCodePage != 0) {
        ::SetConsoleOutputCP(mCodePage);
    }
}

bool outputTakesColours() {
    constexpr DWORD virtualTerminal = 0x0004;
    const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return ::GetConsoleMode(output, &mode) != 0 && ::SetConsoleMode(output, mode | virtualTerminal) != 0;
}

}  // namespace Base::Platform
