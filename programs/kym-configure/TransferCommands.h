#pragma once

namespace CLI {
class App;
}

/// Adds the commands that write a whole layer as JSON and read it: export, import.
void addTransferCommands(CLI::App& program);
