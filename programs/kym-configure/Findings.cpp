#include "Findings.h"

#include <algorithm>
#include <iostream>

#include "programs/common/Json.h"

namespace {

constexpr int warned = 3;
constexpr int erred = 4;

std::size_t errorsIn(const Findings& findings) {
    return static_cast<std::size_t>(std::count_if(findings.begin(), findings.end(),
                                                  [](const Finding& finding) { return finding.isError; }));
}

std::string counted(std::size_t number, const std::string& what) {
    return std::to_string(number) + ' ' + what + (number == 1 ? "" : "s");
}

}  // namespace

std::string placeOf(const Finding& finding) {
    return finding.table + (finding.row != 0 ? " row " + std::to_string(finding.row) : "") +
           (finding.column.empty() ? "" : ", " + finding.column);
}

std::string setCommand(const std::string& table, int row, const std::string& column,
                       const std::string& value) {
    return "Run: kym-configure set " + wordFor(table) + ' ' + std::to_string(row + 1) + ' ' + column + ' ' +
           wordFor(value);
}

int statusOf(const Findings& findings) {
    return findings.empty() ? 0 : errorsIn(findings) == 0 ? warned : erred;
}

void report(const Findings& findings, bool json) {
    const std::size_t errors = errorsIn(findings);
    Json list = Json::array();
    for (const Finding& finding : findings) {
        const std::string severity = finding.isError ? "error" : "warning";
        if (json) {
            list.add(Json::object({{"severity", severity},
                                   {"code", finding.code},
                                   {"file", finding.file},
                                   {"table", finding.table},
                                   {"row", static_cast<std::uint64_t>(finding.row)},
                                   {"column", finding.column},
                                   {"reason", finding.reason},
                                   {"suggestion", finding.suggestion}}));
            continue;
        }
        std::cout << severity << ' ' << finding.code << ": " << printable(placeOf(finding)) << "\n    "
                  << printableLines(finding.reason) << "\n    " << printable(finding.suggestion)
                  << "\n    File: " << printable(finding.file) << '\n';
    }
    if (json) {
        std::cout << Json::object({{"errors", static_cast<std::uint64_t>(errors)},
                                   {"warnings", static_cast<std::uint64_t>(findings.size() - errors)},
                                   {"findings", list}})
                         .document();
    } else {
        std::cout << counted(errors, "error") << ", " << counted(findings.size() - errors, "warning")
                  << ".\n";
    }
}
