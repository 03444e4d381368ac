#pragma once

namespace CLI {
class App;
}

/// Adds the commands that list and edit tables: tables, show, set, add, delete.
void addTableCommands(CLI::App& program);
