#include <CLI/CLI.hpp>

#include "Commands.h"
#include "SettingCommands.h"
#include "TableCommands.h"
#include "TransferCommands.h"
#include "ValidateCommand.h"
#include "programs/common/Completion.h"
#include "programs/common/Program.h"

namespace {

constexpr const char* footer =
    R"(The settings of a site are kept in layers: "system" (constants of the installation), "base" (the
installation's variables and applications), "site", "plugin/NAME" and "department/NAME". A table is named by
its layer and its place in it, as in department/design/variables/windows, a named setting alike, as in
site/winNxInstallPath. Every command tells its arguments and an example with --help.

KYM_BASE_DIR names the installation and KYM_UGSITE_DIR the directory of the departments.

Exit status: 0 on success, 1 when something failed (the reason is on standard error; nothing was saved),
2 for wrong usage; validate also 3 when there are warnings and 4 when there are errors.)";

}  // namespace

int main(int argc, char** argv) {
    CLI::App program("Shows and edits the settings of a CAD site.", "kym-configure");
    program.require_subcommand(1);
    program.allow_windows_style_options(false);
    program.footer(footer);
    addTableCommands(program);
    addSettingCommands(program);
    addTransferCommands(program);
    addValidateCommand(program);
    addCompletionCommand(program, {{"TABLE", "tables"}, {"NAME", "get"}, {"LAYER", "layers"}});

    return runProgram(program, argc, argv, [] { return exitStatus(); });
}
