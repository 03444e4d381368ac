#pragma once

namespace CLI {
class App;
}

/// Adds the command that writes the environment of a launch as a script: export.
void addExportCommand(CLI::App& program);
