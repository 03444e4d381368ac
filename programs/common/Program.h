#pragma once

#include <string>

namespace CLI {
class App;
}

/// Runs the command that the arguments name, and says on standard error what was wrong. The exit status: what
/// `statusOfSuccess` tells, 1 when the command failed, 2 for wrong usage.
int runProgram(CLI::App& program, int argc, char** argv, int (*statusOfSuccess)());

/// Writes what a command gives into the file that the user named, byte for byte; on standard output when
/// there is no name. `std::runtime_error` when the file cannot be written.
void writeResult(const std::string& text, const std::string& file);
