#pragma once

#include <string>

#include "Layers.h"

namespace CLI {
class App;
}

/// A command with an example in its help.
CLI::App* addCommand(CLI::App& program, const std::string& name, const std::string& text,
                     const std::string& example);
void addJsonFlag(CLI::App& command, bool& json);
void addDryRunFlag(CLI::App& command, bool& dryRun);

/// Saves an edited layer, unless this was to be a dry run, and says what became of it.
void finishEdit(const Layer& layer, bool dryRun);

/// What the program ends with when the command itself worked.
int& exitStatus();
