#include "Commands.h"

#include <iostream>
#include <stdexcept>

#include <CLI/CLI.hpp>

#include "base/FileState.h"

CLI::App* addCommand(CLI::App& program, const std::string& name, const std::string& text,
                     const std::string& example) {
    CLI::App* command = program.add_subcommand(name, text);
    command->footer("Example:\n  " + example);
    return command;
}

void addJsonFlag(CLI::App& command, bool& json) {
    command.add_flag("--json", json, "Write JSON, for programs");
}

void addDryRunFlag(CLI::App& command, bool& dryRun) {
    command.add_flag("--dry-run", dryRun, "Show what would change; save nothing");
}

void finishEdit(const Layer& layer, bool dryRun) {
    if (dryRun) {
        std::cout << "Nothing was saved: --dry-run.\n";
        return;
    }
    try {
        layer.save();
    } catch (const Base::FileChanged& error) {
        throw std::runtime_error(
            nativeText(error.file()) +
            ": somebody else has changed the file since this command read it. Nothing was "
            "saved. Run the command again.");
    }
    std::cout << "Saved the layer " << printable(layer.path) << ".\n";
}

int& exitStatus() {
    static int status = 0;
    return status;
}
