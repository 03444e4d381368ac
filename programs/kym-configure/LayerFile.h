#pragma once

#include <string>
#include <vector>

#include "Layers.h"
#include "programs/common/Json.h"

/// Everything that a layer keeps.
Json layerToJson(const Layer& layer);

/// Puts what `text` says, as `layerToJson` wrote it, into the layer, which is saved by the caller; `file`
/// names it in messages. A section that is not there leaves its part of the layer as it is.
/// `std::runtime_error` that names every place where something is wrong; nothing must be saved then. The
/// result: what may be meant as it is, but is likely not.
std::vector<std::string> layerFromJson(const Layer& layer, const std::string& text, const std::string& file);
