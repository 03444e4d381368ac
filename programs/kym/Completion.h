#pragma once

namespace CLI {
class App;
}

/// Adds the command that writes what a shell needs to complete the program's command lines: completion. It
/// knows the commands that the program has then, so it comes last.
void addCompletionCommand(CLI::App& program);
