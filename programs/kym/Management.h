#pragma once

namespace CLI {
class App;
}

/// Adds the commands that change departments: create, rename, delete, prepare.
void addManagementCommands(CLI::App& program);
