#pragma once

#include <string>

#include "Layers.h"

namespace CLI {
class App;
}

/// Adds the commands that show and change named settings: get, put.
void addSettingCommands(CLI::App& program);

/// Puts a text into the setting of that path, saves its layer unless this is a dry run, and says what
/// changed. `std::runtime_error` when there is no such setting, or it does not take the text; nothing has
/// changed then.
void putSetting(Site& site, const std::string& path, const std::string& value, bool dryRun);
