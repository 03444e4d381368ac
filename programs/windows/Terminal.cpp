#include "programs/Terminal.h"

#include <windows.h>

namespace {

bool isConsole(DWORD stream) {
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(stream), &mode) != 0;
}

}  // namespace

bool inputIsTerminal() {
    return isConsole(STD_INPUT_HANDLE);
}

bool errorOutputIsTerminal() {
    return isConsole(STD_ERROR_HANDLE);
}
