#pragma once

namespace CLI {
class App;
}

/// Adds the commands that list and edit layers' tables: layers, tables, show, set, add, delete.
void addTableCommands(CLI::App& program);
