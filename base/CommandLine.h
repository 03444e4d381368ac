#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "base/Task.h"

/// What Windows wants to know about a program that is to be started, as texts. Pure functions, for both
/// systems. Arguments and results are UTF-8. What cannot be passed on is a `TaskError`: a NUL, a text that is
/// not UTF-8, a command line that is too long.
namespace Base::CommandLine {

/// The argument as one word of a command line, from which `CommandLineToArgvW` and the C run-time get it back
/// byte for byte.
std::string quoteArgument(std::string_view argument);

/// The command line of a program: its path, always in double quotes, and the arguments. The system takes at
/// most 32,767 UTF-16 units, the closing NUL included.
std::string programCommandLine(const std::string& program, const std::vector<std::string>& arguments);

/// Whether Windows may run the file by `cmd.exe`: its extension is .bat or .cmd in any case. Trailing dots
/// and blanks, which Windows drops, and the name of a stream (as in "x.bat::$DATA") do not hide the
/// extension.
bool isBatchFile(std::string_view path);

/// The command line by which `cmd.exe` runs a batch file.
///
///     "CMDEXE" /d /e:ON /v:OFF /c ""SCRIPT" ARGUMENT..."
///
/// An argument of more than letters, digits and harmless characters stands in double quotes, so that
/// `cmd.exe` finds no operator in it; a double quote is doubled, and an empty expansion keeps every percent
/// sign from being the end of a variable's name. The batch file sees its arguments in this form; a program to
/// which it passes them on (%*) gets them back through the C run-time. Refused are arguments with a line
/// break, a script whose name holds a double quote, names a stream or does not plainly end with .bat or .cmd,
/// and what is longer than the 8,191 UTF-16 units that `cmd.exe` reads.
std::string batchCommandLine(const std::string& cmdExe, const std::string& script,
                             const std::vector<std::string>& arguments);

/// The environment block of exactly these variables: UTF-16, every NAME=VALUE with a NUL behind it, in the
/// order of the upper-cased names, one more NUL at the end. Two NULs when there is no variable. An entry
/// without a name is left out, since no program could see it; of names that differ in nothing but the case of
/// their letters, which the system does not tell apart, the last in the order of the map stays. A name with
/// "=" or a NUL and a value with a NUL are refused; the message names the variable.
std::u16string environmentBlock(const std::map<std::string, std::string>& variables);

}  // namespace Base::CommandLine
