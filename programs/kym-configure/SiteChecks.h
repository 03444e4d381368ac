#pragma once

#include <string>

#include "Layers.h"

/// Whether a department (a plugin) can have that type.
bool isKnownType(Site& site, const Layer& layer, const std::string& type);
std::string typesOf(Site& site, const Layer& layer);

/// `std::runtime_error` when there is no such type, or no department of that name.
void requireKnownType(Site& site, const Layer& layer);
void requireKnownCommonDepartment(Site& site, const std::string& name);
