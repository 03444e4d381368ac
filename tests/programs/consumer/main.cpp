// A program of somebody else's: sees the installed headers, links the installed library and nothing else of
// it.

#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "all_headers.h"

namespace {

int failures = 0;

void check(bool holds, const char* what) {
    if (!holds) {
        std::cerr << "does not hold: " << what << '\n';
        ++failures;
    }
}

void mergeThroughATableModel() {
    Kym::ConfigApplication application;
    application.addUgLibsToPath = false;
    Base::DataSourceInterface& table = *application.commonVariables();
    table.insertRow(0);
    table.setValueForListColumnRow("Name", 0, std::string("COLOURS"));
    table.setValueForListColumnRow("Value", 0, std::string("$COLOURS;blue"));
    check(boost::any_cast<std::string>(table.valueForListColumnRow("Name", 0)) == "COLOURS",
          "a boost::any of the library is read by the program");
    check(application.needsSaving(), "the edit marked the application");

    std::vector<Kym::EnvironmentVariable> merged{{"COLOURS", "red"}};
    application.mergeEnvVariables(merged);
    check(merged.size() == 1 && merged[0].value == "red;blue", "the later value refers to the earlier one");
}

void catchWhatTheLibraryThrows() {
    try {
        Kym::SystemInformation();
        check(false, "there is no system information without KYM_BASE_DIR");
    } catch (const std::runtime_error& error) {
        check(std::string(error.what()).find("KYM_BASE_DIR") != std::string::npos,
              "the message names the variable");
    }
    try {
        throw Kym::InvalidConfiguration("no department");
    } catch (const Base::BaseException& error) {
        check(std::string(error.what()) == "no department", "the library's own exception keeps its message");
    }
}

}  // namespace

int main() {
    try {
        mergeThroughATableModel();
        catchWhatTheLibraryThrows();
    } catch (const std::exception& error) {
        std::cerr << "unexpected: " << error.what() << '\n';
        return 1;
    }
    return failures == 0 ? 0 : 1;
}
