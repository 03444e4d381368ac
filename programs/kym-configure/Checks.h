#pragma once

#include "Findings.h"
#include "Tables.h"

/// Names and values of the layer's tables and settings, and identifiers of its applications.
void checkContent(const Layer& layer, Findings& findings);

/// What the department (the plugin) says of itself and of others.
void checkProperties(Site& site, const Layer& layer, Findings& findings);

/// What only shows when the layers come together: references, executables, the CAD system.
void checkEnvironments(Site& site, const std::vector<Layer>& layers, Findings& findings);
