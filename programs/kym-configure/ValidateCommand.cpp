#include "ValidateCommand.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <memory>

#include <CLI/CLI.hpp>
#include <boost/filesystem/operations.hpp>

#include "base/Unarchiver.h"
#include "kym/Configuration.h"
#include "kym/SystemInfo.h"

#include "Checks.h"
#include "Commands.h"

namespace fs = boost::filesystem;

namespace {

void addUnreadable(const std::string& layer, const fs::path& file, const std::string& reason,
                   Findings& findings) {
    const auto isKnown = [&reason](const Finding& finding) { return finding.reason == reason; };
    if (std::none_of(findings.begin(), findings.end(), isKnown)) {
        findings.push_back({true, "unreadable", nativeText(file), layer, 0, "", reason,
                            "Mend the file that is named, or put a copy of it from a backup in its place."});
    }
}

/// What a store throws is a finding, once, and the other layers are still looked at.
bool load(const std::string& layer, const fs::path& file, const std::function<void()>& action,
          Findings& findings) {
    try {
        action();
        return true;
    } catch (const Base::ArchiveError& error) {
        const fs::path damaged = error.file();
        const bool isPlugin = damaged.filename() == "settings.dat";
        addUnreadable(isPlugin ? "plugin/" + damaged.parent_path().filename().string() : layer, damaged,
                      error.what(), findings);
    } catch (const std::exception& error) {
        addUnreadable(layer, file, error.what(), findings);
    }
    return false;
}

/// Which departments it is that keep the list of all from being read.
void findUnreadableDepartments(Findings& findings) {
    for (const auto& entry : fs::directory_iterator(Kym::SystemInformation().localDepartmentsPath())) {
        const auto read = [&entry] {
            try {
                Kym::Configuration(entry.path(), true);
            } catch (const Kym::InvalidConfiguration&) {
                // no department; the list leaves it out, too
            }
        };
        boost::system::error_code ignored;
        if (fs::is_directory(entry.path(), ignored)) {
            load("department/" + entry.path().filename().string(), entry.path() / ".dirinfo.plist", read,
                 findings);
        }
    }
}

Findings validateAll() {
    Site site;
    Findings findings;
    std::vector<Layer> layers = {site.system()};
    bool whole = true;
    const auto take = [&](const std::string& what, const std::function<std::vector<Layer>()>& source,
                          Findings& found) {
        const auto append = [&] {
            const std::vector<Layer> more = source();
            layers.insert(layers.end(), more.begin(), more.end());
        };
        whole = load(what, fs::path(), append, found) && whole;
    };
    take(
        "site", [&site] { return std::vector{site.site()}; }, findings);
    take(
        "base", [&site] { return std::vector{site.base()}; }, findings);
    take(
        "plugin", [&site] { return site.plugins(); }, findings);
    Findings ofDepartments;
    take(
        "department", [&site] { return site.departments(); }, ofDepartments);
    if (!ofDepartments.empty()) {
        load(
            "department", fs::path(), [&findings] { findUnreadableDepartments(findings); }, ofDepartments);
    }
    for (const Finding& finding : ofDepartments) {
        addUnreadable(finding.table, finding.file, finding.reason, findings);
    }
    for (const Layer& layer : layers) {
        load(
            layer.path, layer.file, [&layer] { requireReadable(layer); }, findings);
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
