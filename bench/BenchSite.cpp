#include "BenchSite.h"

#include <numeric>

namespace BenchSite {

Variables layerVariables(std::size_t layer, std::size_t count) {
    Variables variables;
    variables.reserve(count);
    for (std::size_t number = 0; number < count; ++number) {
        const bool extends = number % 5 == 0;
        const bool isPathList = number % 10 == 0;
        const char group = extends ? 'S' : static_cast<char>('A' + layer);  // S: every layer extends these
        const std::string name = std::string("UGII_") + group + "_SETTING_" + std::to_string(10000 + number) +
                                 (isPathList ? "_PATH" : "");
        const std::string own =
            "C:/Siteware/layer" + std::to_string(layer) + "/part" + std::to_string(number);
        std::string value = own;
        if (extends) {
            value = (number % 2 == 0 ? "${" + name + "};" : "$" + name + ";") + own;
        } else if (number % 7 == 0) {
            value = "${UGII_BASE_DIR}/menus/" + std::to_string(number);
        }
        variables.emplace_back(name, value);
        variables.back().comment = "set for part " + std::to_string(number);
    }
    return variables;
}

void fill(Kym::EnvVariableListSource* list, const Variables& variables) {
    std::vector<int> rows(static_cast<std::size_t>(list->numberOfRowsInList()));
    std::iota(rows.begin(), rows.end(), 0);
    list->deleteRows(rows);
    int row = 0;
    for (const auto& variable : variables) {
        list->insertRow(-1);
        list->setValueForListColumnRow("Name", row, variable.name);
        list->setValueForListColumnRow("Value", row, variable.value);
        ++row;
    }
}

}  // namespace BenchSite
