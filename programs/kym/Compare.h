#pragma once

namespace CLI {
class App;
}

/// Adds the command that tells two launches apart: diff.
void addCompareCommand(CLI::App& program);
