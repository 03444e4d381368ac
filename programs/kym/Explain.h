#pragma once

namespace CLI {
class App;
}

/// Adds the command that tells where the values of a launch come from: explain.
void addExplainCommand(CLI::App& program);
