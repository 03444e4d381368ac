#include <CLI/CLI.hpp>

#include "Clean.h"
#include "Compare.h"
#include "Documentation.h"
#include "Explain.h"
#include "Export.h"
#include "Launching.h"
#include "Listing.h"
#include "Management.h"
#include "Preferences.h"
#include "programs/common/Completion.h"
#include "programs/common/Program.h"

namespace {

constexpr const char* footer =
    R"(APPLICATION is an identifier, as "applications" lists it. When several layers have an application of that
identifier, the department's own is meant, then its common department's, then a plugin's, then the
installation's; CONFIGURATION:IDENTIFIER, as in "Base KYM:nx", names one exactly.

KYM_BASE_DIR names the installation and KYM_UGSITE_DIR the directory of the departments.

"kym COMMAND --help" tells what a command takes and gives an example of it.

Exit status: 0 on success, 1 when something failed (the reason is on standard error), 2 for wrong usage.)";

}  // namespace

int main(int argc, char** argv) {
    CLI::App program("Shows the departments of a CAD site and their applications, and starts these.", "kym");
    program.require_subcommand(1);
    program.allow_windows_style_options(false);
    program.footer(footer);

    addListingCommands(program);
    addLaunchingCommands(program);
    addExplainCommand(program);
    addCompareCommand(program);
    addExportCommand(program);
    addCleanCommand(program);
    addManagementCommands(program);
    addPreferencesCommand(program);
    addDocumentationCommand(program);
    addCompletionCommand(program,
                         {{"DEPARTMENT", "departments --all"}, {"APPLICATION", "applications", true}});

    return runProgram(program, argc, argv, [] { return 0; });
}
