#pragma once

#include <cstddef>

/// Whether a person sits at the other end. A file, a pipe and the null device are no terminals.
bool inputIsTerminal();
bool outputIsTerminal();
bool errorOutputIsTerminal();

/// How many characters fit a line of the standard output; 0 when it is no terminal or cannot tell.
std::size_t outputWidth();

/// Lets the standard output obey the control sequences that set colours; false when it is no terminal or
/// cannot.
bool outputTakesColours();
