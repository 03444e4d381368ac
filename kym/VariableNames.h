#pragma once

#include <map>
#include <string>
#include <vector>

#include "kym/VariableList.h"

namespace Kym {

/// The entries of one list in the order of their names, and those of one name in the order of the list.
std::vector<const VariableList::Entry*> inOrderOfNames(const std::vector<const VariableList::Entry*>& list);

/// Windows does not tell apart names that differ in nothing but the case of their letters. The names of those
/// variables in `env` with which a later entry of the list shares its name in this sense, so that a program
/// must get the later one only: what a layer sets wins over what the launcher's own environment has, which
/// comes first and in upper case.
std::vector<std::string> supersededNames(const std::vector<VariableList::Entry>& list,
                                         const std::map<std::string, std::string>& env);

}  // namespace Kym
