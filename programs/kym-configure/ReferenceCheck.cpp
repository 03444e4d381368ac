#include "ReferenceCheck.h"

#include <algorithm>

#include "kym/SiteSettings.h"

#include "Settings.h"
#include "Tables.h"
#include "programs/common/References.h"

void ReferenceCheck::addScope(const Layer& layer, const Names& names) {
    mScopes[layer.path].push_back(names);
}

void ReferenceCheck::setScope(const Layer& layer, int applicationRow, const Names& names) {
    mApplicationScopes[{layer.path, applicationRow}] = {names};
}

void ReferenceCheck::check(const Layer& layer) {
    const auto found = mScopes.find(layer.path);
    if (found == mScopes.end()) {
        return;
    }
    const std::vector<Names>& scopes = found->second;
    const std::vector<Table> tables = tablesOf(layer);
    std::map<int, Names> own;  // names that an application sets itself
    for (const Table& table : tables) {
        for (int row = 0; table.applicationRow >= 0 && !table.isUnix && row < table.rows(); ++row) {
            own[table.applicationRow].insert(table.cell(row, "Name"));
        }
    }
    for (const Table& table : tables) {
        for (int row = 0; !table.isUnix && row < table.rows(); ++row) {
            const int application = table.columns.front() == "AppID" ? row : table.applicationRow;
            const bool isPlain =
                application >= 0 && layer.applications->application(application).disableCustomization;
            const std::vector<Names>& known =
                isPlain ? mApplicationScopes[{layer.path, application}] : scopes;
            for (const std::string& column : table.columns) {
                static const Names columns = {"Value", "Path", "Executable", "Arguments"};
                if (columns.contains(column) && !known.empty()) {
                    check({nativeText(layer.file), table.path, row + 1, column}, table.cell(row, column),
                          known, own[application]);
                }
            }
        }
    }
    for (const Setting& setting : settingsOf(layer)) {
        const bool isRead =
            setting.variable && setting.name.starts_with("win") &&
            !(setting.name == "winNxInstallPath" && Kym::SiteInformation().useWindowsRegistry);
        if (isRead) {
            check({nativeText(layer.file), layer.path + '/' + setting.name, 0, ""}, setting.get(), scopes,
                  {});
        }
    }
}

void ReferenceCheck::check(const Cell& cell, const std::string& text, const std::vector<Names>& scopes,
                           const Names& own) {
    for (const Reference& reference : referencesIn(text)) {
        const std::string& name = reference.name;
        const auto knows = [&name](const Names& names) { return names.contains(name); };
        if (!own.contains(name) && std::none_of(scopes.begin(), scopes.end(), knows)) {
            mFindings.push_back(
                {false, "undefined-variable", cell.file, cell.table, cell.row, cell.column,
                 "No layer sets the variable " + quoted(name) + ".",
                 isReferable(name)
                     ? "Set it where it belongs, as with: kym-configure add site/variables/common Name=" +
                           name + " Value=VALUE"
                     : "Change the reference: a variable of that name cannot be set."});
        }
    }
}
