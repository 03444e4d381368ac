#include "LayerFile.h"

#include "Settings.h"

namespace {

std::string platformName(Kym::PlatformType platform) {
    const int number = static_cast<int>(platform);
    static const std::vector<std::string> names = {"common", "unix", "windows"};
    return number >= 0 && number < 3 ? names[static_cast<std::size_t>(number)] : std::to_string(number);
}

void addRest(Json& object, const Kym::EnvironmentVariable& variable) {
    if (!variable.comment.empty()) {
        object.add("comment", variable.comment);
    }
    if (variable.type != Kym::PlatformType::Common) {
        object.add("platform", platformName(variable.type));
    }
}

Json listOf(Kym::EnvVariableListSource& source) {
    Json list = Json::array();
    for (int row = 0; row < source.numberOfRowsInList(); ++row) {
        const Kym::EnvironmentVariable& variable = source.variable(row);
        Json object = Json::object({{"name", variable.name}, {"value", variable.value}});
        addRest(object, variable);
        list.add(object);
    }
    return list;
}

Json variablesOf(Kym::SettingsProtocol& owner) {
    return Json::object({{"common", listOf(*owner.commonVariables())},
                         {"unix", listOf(*owner.unixVariables())},
                         {"windows", listOf(*owner.winVariables())}});
}

Json applicationsOf(Kym::ApplicationListSource& source) {
    Json list = Json::array();
    for (int row = 0; row < source.numberOfRowsInList(); ++row) {
        Kym::ConfigApplication& application = source.application(row);
        list.add(Json::object({{"id", application.applicationId},
                               {"category", application.category},
                               {"description", application.description},
                               {"executable", application.program},
                               {"arguments", application.arguments},
                               {"addLibraries", application.addUgLibsToPath},
                               {"noCustomization", application.disableCustomization},
                               {"disabled", application.disableApplication},
                               {"platform", platformName(application.platform)},
                               {"variables", variablesOf(application)}}));
    }
    return list;
}

Json settingsJson(const Layer& layer) {
    Json object = Json::object();
    for (const Setting& setting : settingsOf(layer)) {
        const std::string text = setting.get();
        if (setting.variable) {
            Json variable = Json::object({{"value", text}});
            addRest(variable, *setting.variable);
            object.add(setting.name, variable);
        } else if (setting.kind == Setting::Kind::truth) {
            object.add(setting.name, text == "True");
        } else if (setting.kind == Setting::Kind::number) {
            object.add(setting.name, static_cast<std::uint64_t>(std::stoull(text)));
        } else {
            object.add(setting.name, text);
        }
    }
    return object;
}

}  // namespace

Json layerToJson(const Layer& layer) {
    Json result = Json::object({{"format", std::uint64_t{1}}, {"layer", layer.path}});
    if (layer.path != "base") {
        result.add("settings", settingsJson(layer));
    }
    if (layer.variables) {
        result.add("variables", variablesOf(*layer.variables));
    }
    if (layer.applications) {
        result.add("applications", applicationsOf(*layer.applications));
    }
    if (Kym::ConfigurationSettings* settings = layer.departmentSettings()) {
        Json directories = Json::array();
        for (const Kym::WorkDirectory& directory : settings->workDirectoryList()) {
            directories.add(Json::object({{"name", directory.name}, {"path", directory.path}}));
        }
        Json overlays = Json::array();
        for (const Kym::ApplicationOverlay& overlay : settings->overlays()) {
            overlays.add(Json::object({{"configuration", overlay.configurationName},
                                       {"id", overlay.applicationId},
                                       {"category", overlay.category},
                                       {"description", overlay.description},
                                       {"disabled", overlay.disableApplication}}));
        }
        result.add("workDirectories", directories);
        result.add("overlays", overlays);
        result.add("disabledPlugins", Json::array(settings->disabledPlugins()));
    }
    return result;
}
