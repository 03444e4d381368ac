#include "SettingCommands.h"

#include <iostream>
#include <memory>
#include <stdexcept>

#include <CLI/CLI.hpp>

#include "Commands.h"
#include "Settings.h"
#include "SiteChecks.h"
#include "programs/common/Json.h"
#include "programs/common/Table.h"

namespace {

struct Request {
    std::string name;
    std::string value;
    bool json = false;
    bool dryRun = false;
};

Setting findSetting(const Layer& layer, const std::string& name) {
    std::vector<std::string> names;
    for (const Setting& setting : settingsOf(layer)) {
        if (setting.name == name) {
            return setting;
        }
        names.push_back(layer.path + '/' + setting.name);
    }
    throw std::runtime_error("There is no setting " + quoted(layer.path + '/' + name) + ". " +
                             (names.empty() ? "The layer has tables only; kym-configure tables lists them."
                                            : "There are: " + joined(names) + "."));
}

void listSettings(const Request& request) {
    Site site;
    const std::vector<Layer> layers =
        request.name.empty() ? site.layers() : std::vector<Layer>{site.layer(request.name)};
    std::vector<Row> rows = {{"SETTING", "VALUE"}};
    Json list = Json::object();
    for (const Layer& layer : layers) {
        if (!layer.department) {
            requireReadable(layer);
        }
        for (const Setting& setting : settingsOf(layer)) {
            rows.push_back({layer.path + '/' + setting.name, setting.get()});
            list.add(rows.back()[0], rows.back()[1]);
        }
    }
    if (request.json) {
        std::cout << Json::object({{"settings", list}}).document();
    } else {
        writeTable(std::cout, rows, TableStyle::ofOutput());
    }
}

void getSetting(const Request& request) {
    const auto [layerPath, name] = splitLayer(request.name);
    if (name.empty()) {
        listSettings(request);
        return;
    }
    Site site;
    const Layer layer = site.layer(layerPath);
    if (!layer.department) {
        requireReadable(layer);
    }
    const std::string value = findSetting(layer, name).get();
    if (request.json) {
        std::cout << Json::object({{"settings", Json::object({{request.name, value}})}}).document();
    } else {
        std::cout << value << '\n';
    }
}

}  // namespace

void putSetting(Site& site, const std::string& path, const std::string& value, bool dryRun) {
    const auto [layerPath, name] = splitLayer(path);
    const Layer layer = site.layer(layerPath);
    if (!layer.department) {
        requireReadable(layer);
    }
    const Setting setting = findSetting(layer, name);
    const std::string before = setting.get();
    setting.put(value);
    if (name == "type") {
        requireKnownType(site, layer);
    } else if (name == "commonDepartment") {
        requireKnownCommonDepartment(site, value);
    }
    std::cout << printable(path) << ' ' << quoted(before) << " becomes " << quoted(setting.get()) << '\n';
    finishEdit(layer, dryRun);
}

void addSettingCommands(CLI::App& program) {
    const auto request = std::make_shared<Request>();

    CLI::App* get = addCommand(program, "get", "Show a named setting, those of a layer, or all",
                               "kym-configure get site/winNxInstallPath");
    get->add_option("NAME", request->name,
                    "LAYER/SETTING, or LAYER for all of it; every layer when left out");
    addJsonFlag(*get, request->json);
    get->callback([request] { getSetting(*request); });

    CLI::App* put = addCommand(program, "put", "Change a named setting",
                               "kym-configure put department/design/commonDepartment common");
    put->add_option("NAME", request->name, "LAYER/SETTING, as \"get\" lists it")->required();
    put->add_option("VALUE", request->value, "The text; put -- before one that begins with a minus")
        ->required();
    addDryRunFlag(*put, request->dryRun);
    put->callback([request] {
        Site site;
        putSetting(site, request->name, request->value, request->dryRun);
    });
}
