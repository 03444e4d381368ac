#include "DepartmentTables.h"

#include <algorithm>
#include <stdexcept>

namespace {

class OverlaySource : public Base::DataSourceInterface {
  public:
    explicit OverlaySource(Kym::ConfigurationSettings& settings) : mSettings(settings) {}

    int numberOfRowsInList() const override { return static_cast<int>(mSettings.overlays().size()); }

    boost::any valueForListColumnRow(const std::string& column, int row) const override {
        Kym::ApplicationOverlay overlay = mSettings.overlays().at(static_cast<std::size_t>(row));
        return column == "Disable" ? std::string(overlay.disableApplication ? "True" : "False")
                                   : field(overlay, column);
    }

    bool setValueForListColumnRow(const std::string& column, int row, const boost::any& value) override {
        const auto& text = boost::any_cast<const std::string&>(value);
        Overlays overlays = mSettings.overlays();
        Kym::ApplicationOverlay& overlay = overlays.at(static_cast<std::size_t>(row));
        if (column == "Disable") {
            overlay.disableApplication = text == "True";
        } else {
            field(overlay, column) = text;
        }
        replace(overlays);
        return true;
    }

    void insertRow(int row) override {
        Overlays overlays = mSettings.overlays();
        overlays.insert(row < 0 ? overlays.end() : overlays.begin() + row, Kym::ApplicationOverlay());
        replace(overlays);
    }

    void deleteRows(const std::vector<int>& rows) override {
        Overlays left;
        for (int row = 0; row < numberOfRowsInList(); ++row) {
            if (std::find(rows.begin(), rows.end(), row) == rows.end()) {
                left.push_back(mSettings.overlays()[static_cast<std::size_t>(row)]);
            }
        }
        replace(left);
    }

  private:
    using Overlays = std::vector<Kym::ApplicationOverlay>;

    static std::string& field(Kym::ApplicationOverlay& overlay, const std::string& column) {
        return column == "Configuration" ? overlay.configurationName
               : column == "AppID"       ? overlay.applicationId
               : column == "Category"    ? overlay.category
                                         : overlay.description;
    }

    void replace(const Overlays& overlays) {
        for (std::size_t row = 0; row < overlays.size(); ++row) {
            Kym::EqualOverlayOrApp same(overlays[row].configurationName, overlays[row].applicationId);
            if (std::any_of(overlays.begin(), overlays.begin() + static_cast<std::ptrdiff_t>(row), same)) {
                throw std::runtime_error(
                    "There is an overlay of the application \"" + overlays[row].configurationName + ':' +
                    overlays[row].applicationId +
                    "\" already. Name another application with Configuration and AppID, or set that row.");
            }
        }
        const Overlays before = mSettings.overlays();
        for (const Kym::ApplicationOverlay& overlay : before) {
            mSettings.removeOverlay(overlay.configurationName, overlay.applicationId);
        }
        for (const Kym::ApplicationOverlay& overlay : overlays) {
            mSettings.setOverlay(overlay);
        }
    }

    Kym::ConfigurationSettings& mSettings;
};

/// The library's own model of these re-enables, with a plugin, all that were disabled after it; here each
/// row is on its own.
class DisabledPluginSource : public Base::DataSourceInterface {
  public:
    explicit DisabledPluginSource(Kym::ConfigurationSettings& settings) : mSettings(settings) {
        const Kym::DisablePluginSource& known = *settings.disablePlugins();
        for (int row = 0; row < known.numberOfRowsInList(); ++row) {
            mNames.push_back(boost::any_cast<std::string>(known.valueForListColumnRow("Name", row)));
        }
        for (const std::string& name : settings.disabledPlugins()) {
            if (std::find(mNames.begin(), mNames.end(), name) == mNames.end()) {
                mNames.push_back(name);
            }
        }
    }

    int numberOfRowsInList() const override { return static_cast<int>(mNames.size()); }

    boost::any valueForListColumnRow(const std::string& column, int row) const override {
        const std::string& name = mNames.at(static_cast<std::size_t>(row));
        return column == "Name" ? name : std::string(mSettings.isPluginDisabled(name) ? "True" : "False");
    }

    bool setValueForListColumnRow(const std::string& column, int row, const boost::any& value) override {
        if (column == "Name") {
            return false;
        }
        const std::string& name = mNames.at(static_cast<std::size_t>(row));
        std::vector<std::string> disabled = mSettings.disabledPlugins();
        if (boost::any_cast<const std::string&>(value) != "True") {
            std::erase(disabled, name);
        } else if (!mSettings.isPluginDisabled(name)) {
            disabled.push_back(name);
        }
        mSettings.setDisabledPlugins(disabled);
        return true;
    }

  private:
    Kym::ConfigurationSettings& mSettings;
    std::vector<std::string> mNames;
};

}  // namespace

Table overlayTable(const Layer& layer) {
    return {layer.path + "/overlays",
            {"Configuration", "AppID", "Category", "Description", "Disable"},
            std::make_shared<OverlaySource>(*layer.departmentSettings()),
            layer};
}

Table disabledPluginTable(const Layer& layer) {
    return {layer.path + "/disabled-plugins",
            {"Name", "Disabled"},
            std::make_shared<DisabledPluginSource>(*layer.departmentSettings()),
            layer,
            "It has a row for each plugin; set its column Disabled to True or False."};
}
