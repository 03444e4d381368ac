#pragma once

namespace CLI {
class App;
}

/// Adds the commands that list what the site offers: departments, applications.
void addListingCommands(CLI::App& program);
