#include "tests/support/StoreSupport.h"

#include <cstdlib>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>

#include <boost/filesystem/operations.hpp>

#include "base/FileManager.h"
#include "kym/BaseSettings.h"
#include "kym/Configuration.h"
#include "kym/PluginSettings.h"
#include "kym/SiteSettings.h"
#include "kym/SystemInfo.h"
#include "kym/SystemPreferences.h"

namespace Support {
namespace {

namespace fs = boost::filesystem;

// Different generations have different lengths, so that the end of a longer one could show in a mixture.
std::string textOf(int generation) {
    std::string text;
    for (int line = 0; line < 200 + generation % 7; ++line) {
        text += std::to_string(generation) + " of a settings file\n";
    }
    return text;
}

// The store that an object keeps, except for its text.
template <typename Object>
Store storeOf(const fs::path& file, const std::shared_ptr<Object>& object) {
    return {file,
            [object] { object->load(); },
            [object] { object->save(); },
            [object] { return object->needsSaving(); },
            {},
            {}};
}

// Its text is the value of a variable.
template <typename Settings>
Store variableStore(const fs::path& file, const std::shared_ptr<Settings>& settings) {
    Store store = storeOf(file, settings);
    store.text = [settings]() -> std::string {
        const Kym::EnvVariableListSource& table = *settings->winVariables();
        return table.numberOfRowsInList() == 0
                   ? ""
                   : boost::any_cast<std::string>(table.valueForListColumnRow("Value", 0));
    };
    store.setText = [settings](const std::string& text) {
        Kym::EnvVariableListSource& table = *settings->winVariables();
        if (table.numberOfRowsInList() == 0) {
            table.insertRow(-1);
        }
        table.setValueForListColumnRow("Value", 0, text);
    };
    return store;
}

Store systemStore(const fs::path& file) {
    const auto system = std::make_shared<Kym::SystemInfo>();
    Store store = storeOf(file, system);
    store.text = [system] { return system->BroadcastStartMessage; };
    store.setText = [system](const std::string& text) {
        system->BroadcastStartMessage = text;
        system->settingsChanged();
    };
    return store;
}

Store propertiesStore(const fs::path& directory) {
    const fs::path file = directory / ".dirinfo.plist";
    const auto department = std::make_shared<Kym::Configuration>(directory, exists(file));
    Store store = storeOf(file, department);
    store.save = [department] {
        department->save();
        department->setNeedsSaving(false);
    };
    store.text = [department] { return department->description; };
    store.setText = [department](const std::string& text) {
        department->description = text;
        department->setNeedsSaving(true);
    };
    return store;
}

Store preferencesStore(const fs::path& directory) {
    const fs::path file = directory / "global.plist";
    const std::string& folder = directory.string();
    const auto preferences = std::make_shared<Kym::SystemPreferences>("cad");
    const auto load = [=] { preferences->addPath(folder, true); };
    load();
    const auto save = [=] {
        std::ostringstream complaint;
        std::streambuf* const standardError = std::cerr.rdbuf(complaint.rdbuf());
        preferences->Flush(folder);
        std::cerr.rdbuf(standardError);
        if (complaint.str().find("somebody else has changed") != std::string::npos) {
            throw Base::FileChanged(file);
        }
        if (!complaint.str().empty()) {
            throw std::runtime_error(complaint.str());
        }
    };
    const auto text = [=] {
        const auto found = preferences->GetPreference("some/text", "global.plist", folder);
        return found ? boost::any_cast<std::string>(*found) : "";
    };
    const auto setText = [=](const std::string& value) {
        preferences->SetPreference("some/text", boost::any(value), "global.plist", folder);
    };
    return {file, load, save, [=] { return preferences->needsSaving(); }, text, setText};
}

fs::path made(const fs::path& directory) {
    fs::create_directories(directory);
    return directory;
}

}  // namespace

void Store::edit(int generation) const {
    setText(textOf(generation));
}

int Store::generation() const {
    const std::string present = text();
    const int generation = std::atoi(present.c_str());
    if (generation != 0 && present != textOf(generation)) {
        throw std::runtime_error("a mixture of generation " + std::to_string(generation) + " and others");
    }
    return generation;
}

fs::path saverProgram() {
    return KYM_TEST_SAVER;
}

std::vector<std::string> storeKinds() {
    return {"base", "site", "system", "plugin", "department", "properties", "preferences"};
}

Store openStore(const std::string& kind, const fs::path& siteDirectory) {
    const fs::path installation = siteDirectory / "kym", departments = siteDirectory / "departments";
    if (kind == "base") {
        return variableStore(made(installation / "config") / "baseSettings.dat",
                             std::make_shared<Kym::BaseSettings>());
    }
    if (kind == "site") {
        return variableStore(made(departments) / "site_settingsNx4.dat",
                             std::make_shared<Kym::SiteSettings>());
    }
    if (kind == "system") {
        return systemStore(made(installation / "config") / "sysinfo.dat");
    }
    if (kind == "plugin") {
        const fs::path directory = made(installation / "plugins/one");
        return variableStore(directory / "settings.dat", std::make_shared<Kym::PluginSettings>(directory));
    }
    if (kind == "department") {
        const fs::path file = made(departments / "cam/nx4/config") / "configSettings.dat";
        const auto settings = std::make_shared<Kym::ConfigurationSettings>();
        settings->setDataFile(file);
        settings->load();
        return variableStore(file, settings);
    }
    return kind == "properties" ? propertiesStore(made(departments / "cam"))
                                : preferencesStore(made(departments / "preferences"));
}

}  // namespace Support
