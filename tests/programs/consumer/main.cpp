#include <iostream>

#include "all_headers.h"

int main() {
    Kym::SettingsProtocol settings;
    std::cout << "merged\n";
    return 0;
}
