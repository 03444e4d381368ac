#pragma once

namespace CLI {
class App;
}

/// Adds the commands that show and change preferences: preferences get, set, remove, list.
void addPreferencesCommand(CLI::App& program);
