#pragma once

#include <map>
#include <string>
#include <vector>

namespace Kym {

class VariableList;

/// Turns the merged variables, which it uses up, into the environment that they describe: `env`, passed
/// empty.
///
/// Names that no environment can hold are dropped; of several variables of one name the last counts, and when
/// its value is empty, none is set. References are expanded and separators get the Windows form, variable by
/// variable in the order of the names; then path lists lose their duplicates. An expansion that fails, or an
/// environment beyond 64 MiB, throws `std::runtime_error` that names the variable.
///
/// Returns the names of the variables that a program on Windows must not get: Windows does not tell apart
/// names that differ in nothing but the case of their letters, and of such variables the one that was set
/// last counts.
std::vector<std::string> fillEnvironmentMap(VariableList&& variables,
                                            std::map<std::string, std::string>& env);

}  // namespace Kym
