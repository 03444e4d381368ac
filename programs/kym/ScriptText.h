#pragma once

#include <map>
#include <string>

/// A script that gives a shell exactly this environment: it unsets what is set and sets these. The script is
/// ASCII unless said otherwise. What a shell cannot carry is a `std::runtime_error` that names the variable
/// and the reason.
using Environment = std::map<std::string, std::string>;

/// For cmd.exe, to be run with `call`. The script is UTF-8 when a text is beyond ASCII, and switches the
/// console to that code page while it runs. Refused: names that hold "=" or a quote, control characters other
/// than tab, what is no UTF-8, and lines longer than cmd.exe reads.
std::string batchScript(const Environment& environment);

/// For PowerShell, to be dot-sourced. Characters beyond ASCII are given by number, so that no encoding can
/// spoil them. Refused: names that hold "=", and what is no UTF-8.
std::string powerShellScript(const Environment& environment);
