#pragma once

#include <map>
#include <string>
#include <vector>

#include "kym/EnvironmentVariable.h"

/// The rules by which an environment is assembled, in the plainest way: a linear search for every name, and a
/// regular expression, compiled where it is used, for every text rule. What the library computes must be
/// equal to it, and is measured against it.
namespace Transcription {

using Variables = std::vector<Kym::EnvironmentVariable>;

/// Everything an assembly starts from, outermost layer first.
struct Input {
    std::vector<std::string> process;    ///< NAME=VALUE
    Variables siteDerived;               ///< what the site store derives from its paths; replaced plainly
    Variables siteAppended;              ///< what the site store appends after them
    std::vector<Variables> layers;       ///< the users' variables of each layer, in merge order
    bool addCadLibrariesToPath = false;  ///< what the last layer, the application, asks for
    Variables launcher;                  ///< what the launcher appends at the end
};

std::map<std::string, std::string> buildEnvironment(const Input& input);

void mergeLayered(const Kym::EnvironmentVariable& variable, Variables& target);
std::string cleanPathList(std::string value);
std::string collapseSeparators(const std::string& value);
std::vector<std::string> splitArguments(const std::string& text);

}  // namespace Transcription
