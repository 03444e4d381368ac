#include "programs/Terminal.h"

#include <unistd.h>

bool inputIsTerminal() {
    return ::isatty(STDIN_FILENO) != 0;
}

bool errorOutputIsTerminal() {
    return ::isatty(STDERR_FILENO) != 0;
}
