#include "SiteChecks.h"

#include <algorithm>
#include <stdexcept>

namespace {

std::vector<std::string> knownTypes(Site& site, const Layer& layer) {
    std::vector<std::string> types = site.manager().availableTypes();
    if (layer.plugin) {
        types.insert(types.begin(), "Site-wide");
    }
    return types;
}

}  // namespace

bool isKnownType(Site& site, const Layer& layer, const std::string& type) {
    const std::vector<std::string> types = knownTypes(site, layer);
    return std::find(types.begin(), types.end(), type) != types.end();
}

std::string typesOf(Site& site, const Layer& layer) {
    return joined(knownTypes(site, layer));
}

void requireKnownType(Site& site, const Layer& layer) {
    const std::string& type = layer.department ? layer.department->type : layer.plugin->pluginType;
    if (!isKnownType(site, layer, type)) {
        throw std::runtime_error("There is no type " + quoted(type) + ". There are: " + typesOf(site, layer) +
                                 ".");
    }
}

void requireKnownCommonDepartment(Site& site, const std::string& name) {
    if (!name.empty() && !site.manager().configurationByName(name)) {
        throw std::runtime_error("There is no department " + quoted(name) + ". Run: kym create " +
                                 wordFor(name) + " --type Common");
    }
}
