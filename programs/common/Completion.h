#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

/// Where a shell finds what an argument can be: the first word of each line, but for the heading, that a
/// command of the program writes.
struct Offer {
    std::string argument;          ///< how the argument's name begins
    std::string command;           ///< of the program, like "departments"
    bool takesWordBefore = false;  ///< whether that command takes the argument in front of this one
};

/// Adds the command that writes what a shell needs to complete the program's command lines: completion. It
/// knows the commands that the program has then, so it comes last.
void addCompletionCommand(CLI::App& program, const std::vector<Offer>& offers);
