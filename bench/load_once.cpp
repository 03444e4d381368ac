// Loads the base settings once and says how many variables they hold, and how much memory the process has
// needed at most where the system tells it. scripts/bench compares that with and without a settings file.

#include <exception>
#include <fstream>
#include <iostream>
#include <string>

#include "kym/BaseSettings.h"

int main() {
    try {
        std::cout << Kym::BaseInformation().commonVariables()->numberOfRowsInList() << " variables\n";
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("VmHWM:")) {
                std::cout << line << '\n';
            }
        }
        return 0;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
