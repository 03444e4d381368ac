#pragma once

#include "Tables.h"

/// The table of a department's overlays, and the table of the plugins that it switches off: every known
/// plugin has a row, and so has a name that no plugin has.
Table overlayTable(const Layer& layer);
Table disabledPluginTable(const Layer& layer);
