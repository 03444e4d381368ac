#pragma once

namespace CLI {
class App;
}

/// Adds the command that removes stale temporary files without a launch: clean.
void addCleanCommand(CLI::App& program);
