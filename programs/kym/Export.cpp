#include "Export.h"

#include <memory>
#include <string>

#include <CLI/CLI.hpp>
#include <boost/algorithm/string/replace.hpp>

#include "Choice.h"
#include "ScriptText.h"
#include "programs/common/Json.h"
#include "programs/common/Program.h"

namespace {

struct Request {
    Choice choice;
    std::string format;
    std::string file;  // empty: standard output
};

void exportEnvironment(const Request& request) {
    Departments departments;
    const Environment environment = Launchable(departments, request.choice).plan().environment;
    if (request.format == "json") {
        writeResult(Json::object({environment.begin(), environment.end()}).document(), request.file);
        return;
    }
    std::string script = request.format == "batch" ? batchScript(environment) : powerShellScript(environment);
    if (!request.file.empty()) {
        boost::replace_all(script, "\n", "\r\n");  // whichever system writes it, Windows reads it
    }
    writeResult(script, request.file);
}

}  // namespace

void addExportCommand(CLI::App& program) {
    const auto request = std::make_shared<Request>();
    CLI::App* command = program.add_subcommand("export", "Write the environment of a launch as a script");
    addChoice(*command, request->choice);
    command
        ->add_option(
            "--format", request->format,
            "batch: for cmd.exe, to be run with call; powershell: to be dot-sourced; json: one object")
        ->required()
        ->check(CLI::IsMember({"batch", "powershell", "json"}));
    command
        ->add_option("--output", request->file,
                     "The file to be written, byte for byte; a shell's own > may change texts beyond ASCII")
        ->type_name("FILE");
    command->callback([request] { exportEnvironment(*request); });
    command->footer(
        "The script sets exactly this environment: what else the shell has is unset. What cmd.exe or "
        "PowerShell cannot\n"
        "carry is refused, with the reason.\n\n"
        "Example:\n  kym export design nx --format batch --output nx.bat");
}
