#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "kym/EnvironmentVariable.h"

/// What the benchmarks run on. KYM_BASE_DIR and KYM_UGSITE_DIR name two empty directories that the caller
/// made.
namespace BenchSite {

using Variables = std::vector<Kym::EnvironmentVariable>;

/// The variables of one layer. Every fifth refers to itself and so extends what an earlier layer set, every
/// tenth is a list of paths, every seventh refers to another variable.
Variables layerVariables(std::size_t layer, std::size_t count);

/// Puts `variables` into a layer's list, through its table model, in place of what it held.
void fill(Kym::EnvVariableListSource* list, const Variables& variables);

}  // namespace BenchSite
