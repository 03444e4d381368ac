// A program of somebody else's: sees the installed headers, links the installed library and nothing else of
// it.

#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "all_headers.h"

namespace {

// Cells of any type, marks and exceptions pass the border of the library.
std::string whatDoesNotHold() {
    Kym::ConfigApplication application;
    application.addUgLibsToPath = false;
    Base::DataSourceInterface& table = *application.commonVariables();
    table.insertRow(0);
    table.setValueForListColumnRow("Name", 0, std::string("COLOURS"));
    table.setValueForListColumnRow("Value", 0, std::string("$COLOURS;blue"));
    std::vector<Kym::EnvironmentVariable> merged{{"COLOURS", "red"}};
    application.mergeEnvVariables(merged);
    if (boost::any_cast<std::string>(table.valueForListColumnRow("Name", 0)) != "COLOURS" ||
        !application.needsSaving() || merged.at(0).value != "red;blue") {
        return "an edit through a table is read, marked and merged";
    }
    try {
        Kym::SystemInformation();
        return "there is no system information without KYM_BASE_DIR";
    } catch (const std::runtime_error&) {
    }
    try {
        throw Kym::InvalidConfiguration("no department");
    } catch (const Base::BaseException& error) {
        return error.what() == std::string("no department") ? "" : "an exception keeps its message";
    }
}

}  // namespace

int main() {
    const std::string failure = whatDoesNotHold();
    std::cerr << failure;
    return failure.empty() ? 0 : 1;
}
