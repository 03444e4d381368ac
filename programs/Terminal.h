#pragma once

/// Whether a person sits at the other end. A file, a pipe and the null device are no terminals.
bool inputIsTerminal();
bool errorOutputIsTerminal();
