#pragma once

#include <string>
#include <vector>

#include "kym/LaunchExplanation.h"

/// A variable through which a path of a list came, and who gave it the value, or within a list of its own
/// that path.
struct PathOrigin {
    std::string name;
    std::string layer;
    std::string file;  ///< empty when there is none
};

/// For each path of `list`, the variables to which the value of the list refers where that path stands;
/// `variables` are all of the launch, by name. Nothing where a path stands in the value itself.
std::vector<std::vector<PathOrigin>> originsOfPaths(const Kym::VariableExplanation& list,
                                                    const std::vector<Kym::VariableExplanation>& variables);
