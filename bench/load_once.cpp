// Loads the base settings once and says how many variables they hold. scripts/bench compares the memory that
// this takes with and without a settings file.

#include <exception>
#include <iostream>

#include "kym/BaseSettings.h"

int main() {
    try {
        std::cout << Kym::BaseInformation().commonVariables()->numberOfRowsInList() << '\n';
        return 0;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
