#include "kym/DisablePluginSource.h"

#include <algorithm>

#include "kym/LeafName.h"
#include "kym/ListRows.h"
#include "kym/PluginsManager.h"

namespace Kym {

DisablePluginSource::DisablePluginSource(std::vector<std::string>* list) : mList(list) {
    PluginsManager& plugins = PluginsManagement();
    const int count = plugins.numberOfPlugins();
    for (int index = 0; index < count; ++index) {
        mPluginPaths.push_back(plugins.plugin(index, false)->path());
    }
}

int DisablePluginSource::numberOfRowsInList() const {
    return static_cast<int>(mPluginPaths.size());
}

boost::any DisablePluginSource::valueForListColumnRow(const std::string& column, int row) const {
    if (!mList) {
        return {};
    }
    const std::string plugin = leaf(row);
    if (column == "Name") {
        return plugin;
    }
    return truthText(std::find(mList->begin(), mList->end(), plugin) != mList->end());
}

bool DisablePluginSource::setValueForListColumnRow(const std::string&, int row, const boost::any& value) {
    if (!mList) {
        return false;
    }
    const bool disable = isTrue(boost::any_cast<const std::string&>(value));
    const std::string plugin = leaf(row);
    const auto found = std::find(mList->begin(), mList->end(), plugin);
    if (disable && found == mList->end()) {
        mList->push_back(plugin);
    } else {
        mList->erase(found, mList->end());
    }
    mEdited = true;
    return true;
}

std::string DisablePluginSource::leaf(int row) const {
    return leafName(mPluginPaths.at(static_cast<std::size_t>(row)));
}

}  // namespace Kym
