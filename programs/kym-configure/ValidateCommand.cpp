#include "ValidateCommand.h"

#include <exception>
#include <functional>
#include <memory>

#include <CLI/CLI.hpp>

#include "Checks.h"
#include "Commands.h"

namespace {

/// What a store throws is a finding, and the other layers are still looked at.
void load(const std::string& what, const std::function<void()>& action, Findings& findings) {
    try {
        action();
    } catch (const std::exception& error) {
        findings.push_back({true, "unreadable", "", what, 0, "", error.what(),
                            "Mend the file that is named, or put a copy of it from a backup in its place."});
    }
}

Findings validateAll() {
    Site site;
    Findings findings;
    std::vector<Layer> layers = {site.system()};
    bool whole = true;
    const auto take = [&](const std::string& what, const std::function<std::vector<Layer>()>& source) {
        const std::size_t before = findings.size();
        load(
            what,
            [&] {
                const std::vector<Layer> more = source();
                layers.insert(layers.end(), more.begin(), more.end());
            },
            findings);
        whole = whole && findings.size() == before;
    };
    take("site", [&site] { return std::vector{site.site()}; });
    take("base", [&site] { return std::vector{site.base()}; });
    take("plugin", [&site] { return site.plugins(); });
    take("department", [&site] { return site.departments(); });
    for (const Layer& layer : layers) {
        load(
            layer.path, [&layer] { requireReadable(layer); }, findings);
        checkContent(layer, findings);
        if (whole && (layer.department || layer.plugin)) {
            checkProperties(site, layer, findings);
        }
    }
    if (whole) {
        checkEnvironments(site, layers, findings);
    }
    return findings;
}

}  // namespace

void addValidateCommand(CLI::App& program) {
    const auto json = std::make_shared<bool>(false);
    CLI::App* command =
        addCommand(program, "validate",
                   "Check everything: names and values, references, cycles, executables, "
                   "identifiers, overlays, common departments, disabled plugins",
                   "kym-configure validate --json\nExit status: 0 when nothing is wrong, 3 with "
                   "warnings, 4 with errors.");
    addJsonFlag(*command, *json);
    command->callback([json] {
        const Findings findings = validateAll();
        report(findings, *json);
        exitStatus() = statusOf(findings);
    });
}
