#include "tests/support/StoreSupport.h"

#include <iostream>
#include <sstream>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include <boost/filesystem/operations.hpp>

#include "base/FileManager.h"
#include "base/PropertyList.h"
#include "kym/BaseSettings.h"
#include "kym/Configuration.h"
#include "kym/PluginSettings.h"
#include "kym/SiteSettings.h"
#include "kym/SystemInfo.h"
#include "kym/SystemPreferences.h"

namespace Support {
namespace {

namespace fs = boost::filesystem;
using Texts = std::vector<std::string>;

// Different generations have different lengths, so that the end of a longer one could show in a mixture.
Texts valuesOf(int generation) {
    return Texts(generation == 0 ? 0 : static_cast<std::size_t>(40 + generation % 7),
                 std::to_string(generation) + " of a settings file's value");
}

int generationOf(const Texts& values) {
    const int generation = values.empty() ? 0 : std::stoi(values.front());
    if (values != valuesOf(generation)) {
        throw std::runtime_error("a mixture of generation " + std::to_string(generation) + " and others");
    }
    return generation;
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

    void edit(int generation) override {
        const Texts values = valuesOf(generation);
        const auto count = static_cast<int>(values.size());
        while (rows() > count) {
            table().deleteRows({rows() - 1});
        }
        for (int row = 0; row < count; ++row) {
            if (row == rows()) {
                addRow();
            }
            table().setValueForListColumnRow("Value", row, values[static_cast<std::size_t>(row)]);
        }
    }

    int generation() override {
        Texts values;
        for (int row = 0; row < rows(); ++row) {
            values.push_back(boost::any_cast<std::string>(table().valueForListColumnRow("Value", row)));
        }
        return generationOf(values);
    }

    void addRow() override { table().insertRow(-1); }
    int rows() override { return table().numberOfRowsInList(); }

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
    void edit(int generation) override {
        const Texts values = valuesOf(generation);
        mSystem.CadProductName = std::to_string(values.size());
        mSystem.BroadcastStartMessage.clear();
        for (const std::string& value : values) {
            mSystem.BroadcastStartMessage += value + '\n';
        }
        mSystem.settingsChanged();
    }
    int generation() override {
        if (mSystem.BroadcastStartMessage == "startup") {
            return 0;
        }
        Texts values;
        std::string text = mSystem.BroadcastStartMessage;
        for (std::size_t end; (end = text.find('\n')) != std::string::npos; text.erase(0, end + 1)) {
            values.push_back(text.substr(0, end));
        }
        if (mSystem.CadProductName != std::to_string(values.size())) {
            throw std::runtime_error("a mixture of constants");
        }
        return generationOf(values);
    }

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
    void edit(int generation) override {
        const Texts values = valuesOf(generation);
        mDepartment.description.clear();
        for (const std::string& value : values) {
            mDepartment.description += value + '\n';
        }
        mDepartment.cleanupDays = static_cast<std::uint32_t>(generation);
        mDepartment.setNeedsSaving(true);
    }
    int generation() override {
        const auto generation = static_cast<int>(mDepartment.cleanupDays);
        std::string expected;
        for (const std::string& value : valuesOf(generation)) {
            expected += value + '\n';
        }
        if (mDepartment.description == "None") {
            return 0;
        }
        if (mDepartment.description != expected) {
            throw std::runtime_error("a mixture of properties");
        }
        return generation;
    }

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
    void edit(int generation) override {
        Base::PropertyList::Array values;
        for (const std::string& value : valuesOf(generation)) {
            values.emplace_back(value);
        }
        mPreferences.SetPreference("some/values", boost::any(values), "global.plist", mDirectory);
    }
    int generation() override {
        const auto found = mPreferences.GetPreference("some/values", "global.plist", mDirectory);
        Texts values;
        if (found) {
            for (const boost::any& value : boost::any_cast<const Base::PropertyList::Array&>(*found)) {
                values.push_back(boost::any_cast<std::string>(value));
            }
        }
        return generationOf(values);
    }

  private:
    std::string mDirectory;
    Kym::SystemPreferences mPreferences{"cad"};
};

}  // namespace

Store::Store(fs::path file) : mFile(std::move(file)) {}
Store::~Store() = default;

void Store::addRow() {
    throw std::logic_error("a store without rows");
}
int Store::rows() {
    return 0;
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
