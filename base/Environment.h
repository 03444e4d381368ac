#pragma once

#include <map>
#include <string>
#include <vector>

#include "base/BaseException.h"

/// The process environment, and the expansion of references to variables. Texts are UTF-8.
namespace Base::Environment {

/// Variable name to value.
using VariableMap = std::map<std::string, std::string>;

/// The value of a variable of this process; empty when it is not set. On Windows the case of the name does
/// not count.
std::string getEnvVariable(const std::string& name);

/// Sets a variable of this process, or removes it when the value is empty. `BaseException` when the name is
/// empty or holds "=", when the name or the value holds a NUL, and when the system refuses.
void setEnvVariable(const std::string& name, const std::string& value);

/// Every NAME=VALUE string of this process, in the order of the run-time's environment block. The hidden
/// strings in which Windows keeps a current directory for each drive (they begin with "=") are left out.
std::vector<std::string> environmentStrings();

/// A reference that cannot be expanded: a "${" without "}", a cycle, or a result beyond all bounds.
class ExpansionError : public BaseException {
  public:
    using BaseException::BaseException;
    ~ExpansionError() override;
};

/// Replaces, in place, every $NAME and ${NAME} by the value of NAME, and returns `text`.
///
/// $NAME is the longest run of letters, digits and "_" that begins with a letter or "_"; ${NAME} is
/// everything up to the next "}". References inside a referenced value are expanded too. A reference to a
/// variable that is not there stays as it stands, and so does any other "$". A cycle throws `ExpansionError`
/// with the chain in its message, a "${" without "}" with the text, and a result beyond 1 MiB with the name
/// of the variable that goes beyond it. When it throws, `text` is unchanged.
std::string& expandEnvVariables(std::string& text, const VariableMap& variables);

/// The same against the environment of this process.
std::string& expandEnvVariables(std::string& text);

}  // namespace Base::Environment
