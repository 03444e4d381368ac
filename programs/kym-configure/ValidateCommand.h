#pragma once

namespace CLI {
class App;
}

/// Adds the command that checks all settings: validate.
void addValidateCommand(CLI::App& program);
