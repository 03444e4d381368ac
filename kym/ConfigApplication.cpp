#include "kym/ConfigApplication.h"

#include <array>
#include <tuple>

#include "base/Coder.h"
#include "base/SmartAssert.h"
#include "kym/ArchiveMembers.h"
#include "kym/ListRows.h"
#include "kym/VariableList.h"

namespace Kym {
namespace {

const std::string applicationIdKey = "App ID";
const std::string categoryKey = "Category";
const std::string descriptionKey = "Description";
const std::string programKey = "Program";
const std::string argumentsKey = "Arguments";
const std::string addUgLibsToPathKey = "Add UG Libs To Path";
const std::string disableCustomizationKey = "Disable Customization";
const std::string disableApplicationKey = "Disable Application";
const std::string platformKey = "Platform";

Base::Coder<ConfigApplication> coder("ConfigApplication");
Base::CollectionCoder<std::vector<ConfigApplication>> listCoder("ApplicationList");

const std::string cadLibraries = "${UGII_BASE_DIR}/ugii";

struct TextColumn {
    const char* name;
    std::string ConfigApplication::*field;
};
struct FlagColumn {
    const char* name;
    bool ConfigApplication::*field;
};
constexpr std::array<TextColumn, 5> textColumns{{{"AppID", &ConfigApplication::applicationId},
                                                 {"Category", &ConfigApplication::category},
                                                 {"Description", &ConfigApplication::description},
                                                 {"Executable", &ConfigApplication::program},
                                                 {"Arguments", &ConfigApplication::arguments}}};
constexpr std::array<FlagColumn, 3> flagColumns{{{"Disable", &ConfigApplication::disableApplication},
                                                 {"AddNXLibs", &ConfigApplication::addUgLibsToPath},
                                                 {"NoCustom", &ConfigApplication::disableCustomization}}};

}  // namespace

ConfigApplication::ConfigApplication() = default;
ConfigApplication::ConfigApplication(const ConfigApplication&) = default;
ConfigApplication::ConfigApplication(ConfigApplication&&) noexcept = default;
ConfigApplication& ConfigApplication::operator=(const ConfigApplication&) = default;
ConfigApplication& ConfigApplication::operator=(ConfigApplication&&) noexcept = default;
ConfigApplication::~ConfigApplication() = default;

std::string ConfigApplication::configurationName() {
    return mConfigurationName;
}

void ConfigApplication::setConfigurationName(const std::string& name) {
    mConfigurationName = name;
}

bool ConfigApplication::needsSaving() const {
    return variablesEdited();
}

void ConfigApplication::mergeEnvVariables(std::vector<EnvironmentVariable>& list) const {
    mergeIndexed(list, [&](VariableList& indexed) { mergeEnvVariables(indexed); });
}

void ConfigApplication::mergeEnvVariables(VariableList& list) const {
    mergeUserEnvVariables(list);
    if (!addUgLibsToPath) {
        return;
    }
    // The colon is right on Windows too: the path lists of the assembled environment are cleaned at its end.
    if (const auto path = list.valueOf("PATH")) {
        list.setValue("PATH", cadLibraries + ":" + std::string(*path));
    } else {
        list.append(EnvironmentVariable("PATH", cadLibraries));
    }
}

void ConfigApplication::encode(Base::Archiver& archiver) {
    archiver.encode(applicationIdKey, applicationId);
    archiver.encode(categoryKey, category);
    archiver.encode(descriptionKey, description);
    archiver.encode(programKey, program);
    archiver.encode(argumentsKey, arguments);
    archiver.encode(addUgLibsToPathKey, addUgLibsToPath);
    archiver.encode(disableCustomizationKey, disableCustomization);
    encodeMember(archiver, commonVariablesKey, mCommonVariables);
    encodeMember(archiver, unixVariablesKey, mUnixVariables);
    encodeMember(archiver, winVariablesKey, mWinVariables);
    archiver.encode(disableApplicationKey, disableApplication);
    archiver.encode(platformKey, static_cast<int>(platform));
    setVariablesEdited(false);
}

void ConfigApplication::decode(Base::Unarchiver& unarchiver) {
    unarchiver.decode(applicationIdKey, applicationId);
    unarchiver.decode(categoryKey, category);
    unarchiver.decode(descriptionKey, description);
    unarchiver.decode(programKey, program);
    unarchiver.decode(argumentsKey, arguments);
    unarchiver.decode(addUgLibsToPathKey, addUgLibsToPath);
    unarchiver.decode(disableCustomizationKey, disableCustomization);
    decodeMember(unarchiver, commonVariablesKey, mCommonVariables);
    decodeMember(unarchiver, unixVariablesKey, mUnixVariables);
    decodeMember(unarchiver, winVariablesKey, mWinVariables);
    unarchiver.decode(disableApplicationKey, disableApplication);
    int number = 0;
    unarchiver.decode(platformKey, number);
    platform = static_cast<PlatformType>(number);
}

bool operator<(const ConfigApplication& left, const ConfigApplication& right) {
    return std::tie(left.category, left.description) < std::tie(right.category, right.description);
}

ApplicationListSource::ApplicationListSource(std::vector<ConfigApplication>* list) : mList(list) {}

int ApplicationListSource::numberOfRowsInList() const {
    return numberOfRows(mList);
}

boost::any ApplicationListSource::valueForListColumnRow(const std::string& column, int row) const {
    if (!mList) {
        return {};
    }
    const ConfigApplication& application = rowOf(*mList, row);
    for (const TextColumn& text : textColumns) {
        if (column == text.name) {
            return application.*text.field;
        }
    }
    for (const FlagColumn& flag : flagColumns) {
        if (column == flag.name) {
            return truthText(application.*flag.field);
        }
    }
    return std::string();
}

bool ApplicationListSource::setValueForListColumnRow(const std::string& column, int row,
                                                     const boost::any& value) {
    if (!mList) {
        return false;
    }
    const auto& cell = boost::any_cast<const std::string&>(value);
    ConfigApplication& application = rowOf(*mList, row);
    for (const TextColumn& text : textColumns) {
        if (column == text.name) {
            application.*text.field = cell;
        }
    }
    for (const FlagColumn& flag : flagColumns) {
        if (column == flag.name) {
            application.*flag.field = isTrue(cell);
        }
    }
    mEdited = true;
    return true;
}

void ApplicationListSource::insertRow(int row) {
    insertDefaultRow(mList, row, mEdited);
}

void ApplicationListSource::deleteRows(const std::vector<int>& rows) {
    eraseRows(mList, rows, mEdited);
}

ConfigApplication& ApplicationListSource::application(int index) {
    if (!mList || static_cast<std::size_t>(index) >= mList->size()) {
        Base::smart_assert("index < mList->size()", 300, __FILE__, __LINE__, __func__)
            .value("index", index)
            .message("tried to access out of range application");
        if (!mList) {
            throw std::out_of_range("there is no list of applications");
        }
    }
    return rowOf(*mList, index);
}

EnvVariableListSource* ApplicationListSource::commonVariables(int index) {
    return mList ? application(index).commonVariables() : nullptr;
}

EnvVariableListSource* ApplicationListSource::unixVariables(int index) {
    return mList ? application(index).unixVariables() : nullptr;
}

EnvVariableListSource* ApplicationListSource::winVariables(int index) {
    return mList ? application(index).winVariables() : nullptr;
}

}  // namespace Kym
