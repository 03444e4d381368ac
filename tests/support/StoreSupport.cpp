#include "tests/support/StoreSupport.h"

#include <cstdlib>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <type_traits>

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

// A store that has variables.
template <typename Settings>
class VariableStore : public Store {
  public:
    template <typename... Arguments>
    explicit VariableStore(const fs::path& file, const Arguments&... arguments)
        : Store(file), mSettings(arguments...) {
        if constexpr (std::is_same_v<Settings, Kym::ConfigurationSettings>) {
            mSettings.setDataFile(file);
            mSettings.load();
        }
    }

    void load() override { mSettings.load(); }
    void save() override { mSettings.save(); }
    bool needsSaving() override { return mSettings.needsSaving(); }

    void setText(const std::string& text) override {
        if (table().numberOfRowsInList() == 0) {
            table().insertRow(-1);
        }
        table().setValueForListColumnRow("Value", 0, text);
    }
    std::string text() override {
        return table().numberOfRowsInList() == 0
                   ? ""
                   : boost::any_cast<std::string>(table().valueForListColumnRow("Value", 0));
    }

  private:
    Kym::EnvVariableListSource& table() { return *mSettings.winVariables(); }

    Settings mSettings;
};

class SystemStore : public Store {
  public:
    explicit SystemStore(const fs::path& file) : Store(file) {}

    void load() override { mSystem.load(); }
    void save() override { mSystem.save(); }
    bool needsSaving() override { return mSystem.needsSaving(); }
    void setText(const std::string& text) override {
        mSystem.BroadcastStartMessage = text;
        mSystem.settingsChanged();
    }
    std::string text() override { return mSystem.BroadcastStartMessage; }

  private:
    Kym::SystemInfo mSystem;
};

class PropertiesStore : public Store {
  public:
    explicit PropertiesStore(const fs::path& directory)
        : Store(directory / ".dirinfo.plist"), mDepartment(directory, exists(file())) {}

    void load() override { mDepartment.load(); }
    void save() override {
        mDepartment.save();
        mDepartment.setNeedsSaving(false);
    }
    bool needsSaving() override { return mDepartment.needsSaving(); }
    void setText(const std::string& text) override {
        mDepartment.description = text;
        mDepartment.setNeedsSaving(true);
    }
    std::string text() override { return mDepartment.description; }

  private:
    Kym::Configuration mDepartment;
};

class PreferencesStore : public Store {
  public:
    explicit PreferencesStore(const fs::path& directory)
        : Store(directory / "global.plist"), mDirectory(directory.string()) {
        load();
    }

    void load() override { mPreferences.addPath(mDirectory, true); }
    void save() override {
        std::ostringstream complaint;
        std::streambuf* const standardError = std::cerr.rdbuf(complaint.rdbuf());
        mPreferences.Flush(mDirectory);
        std::cerr.rdbuf(standardError);
        if (complaint.str().find("somebody else has changed") != std::string::npos) {
            throw Base::FileChanged(file());
        }
        if (!complaint.str().empty()) {
            throw std::runtime_error(complaint.str());
        }
    }
    bool needsSaving() override { return mPreferences.needsSaving(); }
    void setText(const std::string& text) override {
        mPreferences.SetPreference("some/text", boost::any(text), "global.plist", mDirectory);
    }
    std::string text() override {
        const auto found = mPreferences.GetPreference("some/text", "global.plist", mDirectory);
        return found ? boost::any_cast<std::string>(*found) : "";
    }

  private:
    std::string mDirectory;
    Kym::SystemPreferences mPreferences{"cad"};
};

}  // namespace

void Store::edit(int generation) {
    setText(textOf(generation));
}

int Store::generation() {
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

std::unique_ptr<Store> openStore(const std::string& kind, const fs::path& siteDirectory) {
    const fs::path installation = siteDirectory / "kym", departments = siteDirectory / "departments";
    const auto made = [](const fs::path& directory) {
        fs::create_directories(directory);
        return directory;
    };
    if (kind == "base") {
        return std::make_unique<VariableStore<Kym::BaseSettings>>(made(installation / "config") /
                                                                  "baseSettings.dat");
    }
    if (kind == "site") {
        return std::make_unique<VariableStore<Kym::SiteSettings>>(made(departments) / "site_settingsNx4.dat");
    }
    if (kind == "system") {
        return std::make_unique<SystemStore>(made(installation / "config") / "sysinfo.dat");
    }
    if (kind == "plugin") {
        const fs::path directory = made(installation / "plugins" / "one");
        return std::make_unique<VariableStore<Kym::PluginSettings>>(directory / "settings.dat", directory);
    }
    if (kind == "department") {
        return std::make_unique<VariableStore<Kym::ConfigurationSettings>>(
            made(departments / "cam" / "nx4" / "config") / "configSettings.dat");
    }
    if (kind == "properties") {
        return std::make_unique<PropertiesStore>(made(departments / "cam"));
    }
    return std::make_unique<PreferencesStore>(made(departments / "preferences"));
}

}  // namespace Support
