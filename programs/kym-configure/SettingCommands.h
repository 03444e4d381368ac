#pragma once

namespace CLI {
class App;
}

/// Adds the commands that show and change named settings: get, put.
void addSettingCommands(CLI::App& program);
