#pragma once

#include <string>

#include "kym/ConfigApplication.h"
#include "kym/LaunchPlan.h"

#include "programs/common/Departments.h"

namespace CLI {
class App;
}

/// What a user names to start something.
struct Choice {
    std::string department;
    std::string application;
    std::string workDirectory;  ///< empty: none chosen
};

/// Lets a command take a choice, which must outlive it. Where it takes a second one, `suffix` tells the names
/// of its arguments from those of the first.
void addChoice(CLI::App& command, Choice& choice, const std::string& suffix = "");

/// Lets a command write JSON.
void addJson(CLI::App& command, bool& json);

/// What a launch is made of; points into the departments. What is chosen and does not exist is a
/// `std::runtime_error`, as of `Departments`.
struct Launchable {
    Launchable(Departments& departments, const Choice& choice);

    const Kym::Configuration* department;
    const Kym::Configuration* common;  ///< may be null
    Kym::ConfigApplication application;
    const Kym::WorkDirectory* workDirectory = nullptr;  ///< may be null

    Kym::LaunchPlan plan() const;
};
