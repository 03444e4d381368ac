#pragma once

#include <iosfwd>
#include <string>

/// What a user names to start something.
struct Choice {
    std::string department;
    std::string application;
    std::string workDirectory;  ///< empty: none chosen
};

void listDepartments(std::ostream& out);
void listApplications(std::ostream& out, const std::string& department);

/// Writes what a launch would do.
void showLaunch(std::ostream& out, const Choice& choice);

/// Starts the application and writes its command line.
void launch(std::ostream& out, const Choice& choice);
