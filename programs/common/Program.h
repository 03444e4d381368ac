#pragma once

namespace CLI {
class App;
}

/// Runs the command that the arguments name, and says on standard error what was wrong. The exit status: what
/// `statusOfSuccess` tells, 1 when the command failed, 2 for wrong usage.
int runProgram(CLI::App& program, int argc, char** argv, int (*statusOfSuccess)());
