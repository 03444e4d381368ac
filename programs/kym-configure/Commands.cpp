#include "Commands.h"

#include <iostream>

#include <CLI/CLI.hpp>

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
    layer.save();
    std::cout << "Saved the layer " << layer.path << ".\n";
}

int& exitStatus() {
    static int status = 0;
    return status;
}
