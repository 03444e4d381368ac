#pragma once

namespace CLI {
class App;
}

/// Adds the commands that have to do with one launch: show, launch, check.
void addLaunchingCommands(CLI::App& program);
