#include <gtest/gtest.h>

#include "base/Archiver.h"
#include "base/Coder.h"
#include "base/Unarchiver.h"
#include "kym/ApplicationOverlay.h"
#include "kym/ConfigApplication.h"
#include "kym/WorkDirectory.h"

#include "tests/support/SiteSupport.h"

using namespace Kym;
using namespace std::string_literals;
using Texts = std::vector<std::string>;

namespace {

std::string cell(const Base::DataSourceInterface& table, const std::string& column, int row) {
    return boost::any_cast<std::string>(table.valueForListColumnRow(column, row));
}

Texts column(const Base::DataSourceInterface& table, const std::string& name) {
    Texts cells;
    for (int row = 0; row < table.numberOfRowsInList(); ++row) {
        cells.push_back(cell(table, name, row));
    }
    return cells;
}

// Whether the call marks the table as edited.
template <typename Source, typename Call>
bool edits(Source& source, const Call& call) {
    source.setEdited(false);
    call();
    return source.isEdited();
}

// What holds for every table of records; `fresh` is the cell of a new record.
template <typename Source, typename Record>
void checkRows(const std::string& name, const std::string& fresh) {
    const boost::any value = std::string("x");
    Source source(nullptr);
    EXPECT_FALSE(edits(source, [&] {
        EXPECT_EQ(source.numberOfRowsInList(), 0);
        EXPECT_TRUE(source.valueForListColumnRow(name, 0).empty());
        EXPECT_FALSE(source.setValueForListColumnRow(name, 0, value));
        source.insertRow(0);
        source.deleteRows({0});
    }));

    std::vector<Record> list(5);
    source.setList(&list);
    for (int row = 0; row < 5; ++row) {
        EXPECT_TRUE(edits(
            source, [&] { EXPECT_TRUE(source.setValueForListColumnRow(name, row, std::to_string(row))); }));
    }
    EXPECT_TRUE(edits(source, [&] { source.deleteRows({2, 0, 2}); }));
    EXPECT_EQ(column(source, name), (Texts{"1", "4"}));
    EXPECT_TRUE(edits(source, [&] { source.deleteRows({}); }));
    for (const int row : {-1, 0, 4}) {
        EXPECT_TRUE(edits(source, [&] { source.insertRow(row); }));
    }
    EXPECT_EQ(column(source, name), (Texts{fresh, "1", "4", fresh, fresh}));

    EXPECT_FALSE(edits(source, [&] {
        EXPECT_THROW(source.setValueForListColumnRow(name, 0, 1), boost::bad_any_cast);
        EXPECT_THROW(source.setValueForListColumnRow(name, 0, "literal"), boost::bad_any_cast);
        for (const int row : {-1, 5}) {
            EXPECT_THROW(source.valueForListColumnRow(name, row), std::out_of_range);
            EXPECT_THROW(source.setValueForListColumnRow(name, row, value), std::out_of_range);
            EXPECT_THROW(source.deleteRows({0, row}), std::out_of_range);
        }
        EXPECT_THROW(source.deleteRows({4, 4}), std::out_of_range);
        EXPECT_THROW(source.insertRow(6), std::out_of_range);
    }));
    EXPECT_EQ(column(source, name), (Texts{fresh, "1", "4", fresh, fresh}));
    EXPECT_FALSE(source.canReorderRows());
    source.setEdited(true);
    source.setList(nullptr);
    EXPECT_TRUE(source.isEdited());
}

}  // namespace

TEST(TableModels, EditRowsAndRememberThatTheyDid) {
    checkRows<EnvVariableListSource, EnvironmentVariable>("Name", "");
    checkRows<WorkDirectoryListSource, WorkDirectory>("Name", "");
    checkRows<ApplicationListSource, ConfigApplication>("AppID", "ChangeMyAppID");
}

TEST(TableModels, TakeAnyOtherColumnForTheSecondField) {
    std::vector<EnvironmentVariable> variables{{"A", "1"}};
    EnvVariableListSource variableSource(&variables);
    variableSource.setValueForListColumnRow("name", 0, std::string("2"));
    EXPECT_EQ(variables[0].name + "=" + variables[0].value, "A=2");
    EXPECT_EQ(cell(variableSource, "", 0), "2");

    std::vector<WorkDirectory> directories(1);
    WorkDirectoryListSource directorySource(&directories);
    directorySource.setValueForListColumnRow("Path", 0, std::string("p"));
    EXPECT_EQ(directories[0].name + "=" + directories[0].path, "=p");
    EXPECT_EQ(cell(directorySource, "Whatever", 0), "p");
}

TEST(TableModels, ShowAndStoreEveryColumnOfAnApplication) {
    std::vector<ConfigApplication> list(1);
    ApplicationListSource source(&list);
    const auto row = [&] {
        Texts cells;
        for (const char* name : {"Disable", "AppID", "Category", "Description", "Executable", "Arguments",
                                 "AddNXLibs", "NoCustom", "Platform", "appid"}) {
            cells.push_back(cell(source, name, 0));
        }
        return cells;
    };
    EXPECT_EQ(row(), (Texts{"False", "ChangeMyAppID", "", "", "", "", "True", "False", "", ""}));
    const std::pair<const char*, const char*> edits[] = {
        {"Disable", "TRUE"}, {"AppID", "id"},       {"Category", "c"},     {"Description", "d"},
        {"Executable", "e"}, {"Arguments", "True"}, {"AddNXLibs", "yes"},  {"NoCustom", "tRuE"},
        {"Platform", "2"},   {"appid", "lower"},    {"configuration", "x"}};
    for (const auto& [name, value] : edits) {
        source.setEdited(false);
        EXPECT_TRUE(source.setValueForListColumnRow(name, 0, std::string(value)));
        EXPECT_TRUE(source.isEdited()) << name;
    }
    EXPECT_EQ(row(), (Texts{"True", "id", "c", "d", "e", "True", "False", "True", "", ""}));
    source.setValueForListColumnRow("Disable", 0, std::string("yes"));
    EXPECT_FALSE(list[0].disableApplication);
    EXPECT_EQ(list[0].platform, PlatformType::Common);
    EXPECT_FALSE(list[0].needsSaving());
}

TEST(TableModels, ValidateVariables) {
    const std::pair<const char*, bool> names[] = {
        {"", true},      {"#abc", true},  {"#", true},     {"#_1", true},  {"A1_b", true},
        {"a#bc", false}, {"_abc", false}, {"1abc", false}, {"##a", false}, {"A-B", false},
        {"A B", false},  {"é", false},    {"A_", true}};
    const std::pair<const char*, bool> values[] = {{"", true},       {"%TEMP%", true}, {"%TEMP", false},
                                                   {"${A", false},   {"${A}", true},   {"}{", true},
                                                   {"%{%}%%", true}, {"{{}", false}};
    std::vector<EnvironmentVariable> list(1);
    const EnvVariableListSource source(&list);
    for (const auto& [name, valid] : names) {
        list[0] = EnvironmentVariable(name, std::string("{"));
        EXPECT_EQ(source.valueIsValid("Name", 0), valid) << name;
    }
    for (const auto& [value, valid] : values) {
        list[0] = EnvironmentVariable("1", std::string(value));
        EXPECT_EQ(source.valueIsValid("Value", 0), valid) << value;
    }
    std::vector<ConfigApplication> applications(1);
    EXPECT_TRUE(ApplicationListSource(&applications).valueIsValid("AppID", 0));
}

TEST(TableModels, LeadToTheVariablesOfAnApplication) {
    ApplicationListSource source;
    EXPECT_TRUE(source.isNull());
    EXPECT_EQ(source.commonVariables(0), nullptr);
    EXPECT_THROW(source.application(0), std::out_of_range);

    std::vector<ConfigApplication> list(2);
    source.setList(&list);
    for (const auto get : {&ApplicationListSource::commonVariables, &ApplicationListSource::unixVariables,
                           &ApplicationListSource::winVariables}) {
        list[1] = ConfigApplication();
        (source.*get)(1)->insertRow(-1);
        EXPECT_TRUE(source.application(1).needsSaving());
        EXPECT_EQ((source.*get)(1)->numberOfRowsInList(), 1);
        EXPECT_EQ((source.*get)(0)->numberOfRowsInList(), 0);
        EXPECT_THROW((source.*get)(2), std::out_of_range);
        EXPECT_THROW((source.*get)(-1), std::out_of_range);
    }
    EXPECT_FALSE(list[0].needsSaving());
    EXPECT_FALSE(source.isEdited());
}

TEST(TableModels, ReportTheMisuseOfAnIndex) {
    const Support::Site site;
    site.startLog("base.assert");
    std::vector<ConfigApplication> list(1);
    ApplicationListSource source(&list);
    EXPECT_THROW(source.application(-1), std::out_of_range);
    EXPECT_THROW(source.winVariables(1), std::out_of_range);
    const std::vector<std::string> lines = site.logLines();
    ASSERT_EQ(lines.size(), 2U);
    const std::string message = ": tried to access out of range application";
    EXPECT_EQ(lines[0].find("Assertion failed (level 300): index < mList->size(), ConfigApplication"), 0U);
    EXPECT_NE(lines[0].find("index = -1" + message), std::string::npos);
    EXPECT_NE(lines[1].find("index = 1" + message), std::string::npos);
}

TEST(Applications, AreOrderedByCategoryThenDescription) {
    const std::pair<const char*, const char*> ascending[] = {{"", "z"},    {"CAD", "B"},       {"CAD", "a"},
                                                             {"CAD", "é"}, {"CAD tools", "A"}, {"cad", ""}};
    std::vector<ConfigApplication> list;
    for (const auto& [category, description] : ascending) {
        list.emplace_back().category = category;
        list.back().description = description;
        list.back().applicationId = std::to_string(9 - list.size());
    }
    for (std::size_t left = 0; left < list.size(); ++left) {
        for (std::size_t right = 0; right < list.size(); ++right) {
            EXPECT_EQ(list[left] < list[right], left < right) << left << " " << right;
        }
    }
}

TEST(Applications, AreFoundByConfigurationAndIdentifier) {
    EqualOverlayOrApp matches("Dept", "nx");
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"Dept", "nx", true}, {"dept", "nx", false}, {"Dept", "NX", false}, {"nx", "Dept", false}};
    for (const auto& [configuration, id, expected] : cases) {
        ApplicationOverlay overlay;
        ConfigApplication application;
        overlay.configurationName = configuration;
        application.setConfigurationName(configuration);
        overlay.applicationId = application.applicationId = id;
        EXPECT_EQ(matches(overlay), expected) << configuration << " " << id;
        EXPECT_EQ(matches(application), expected) << configuration << " " << id;
    }
}

namespace {

const std::string hostile = "a\0<&>\"' \r\n\t\xff\xc3(${X}\\"s;

// Through a file, by the coder of the type, into an object that is already there.
template <typename Object>
void sendThroughFile(const boost::filesystem::path& file, Object& source, Object& target) {
    Base::Archiver archiver(file);
    archiver.encodeObject("Object", &source, archiver.getCoder(typeid(Object)));
    archiver.finishEncoding();
    Base::Unarchiver unarchiver(file);
    EXPECT_EQ(unarchiver.decodeObject("Object", &target), &target);
}

void fill(EnvVariableListSource* source, const std::string& name) {
    for (const std::string& item : {"2" + name, "1" + name, hostile}) {
        source->insertRow(-1);
        source->setValueForListColumnRow("Name", source->numberOfRowsInList() - 1, item);
    }
}

class Coding : public Support::SiteTest {
  protected:
    const boost::filesystem::path file = site.root() / "archive.dat";
};

}  // namespace

TEST_F(Coding, BringsApplicationsBack) {
    std::vector<ConfigApplication> sent(2), received;
    ConfigApplication& odd = sent[1];
    odd.applicationId = hostile + "1";
    odd.category = hostile + "2";
    odd.description = hostile + "3";
    odd.program = hostile + "4";
    odd.arguments = hostile + "5";
    odd.addUgLibsToPath = false;
    odd.disableCustomization = odd.disableApplication = true;
    odd.platform = static_cast<PlatformType>(-77);
    odd.setConfigurationName("not stored");
    fill(odd.commonVariables(), "common");
    fill(odd.unixVariables(), "unix");
    fill(odd.winVariables(), "win");
    sendThroughFile(file, sent, received);

    EXPECT_FALSE(odd.needsSaving());
    ASSERT_EQ(received.size(), 2U);
    EXPECT_TRUE(received[0].applicationId == "ChangeMyAppID" && received[0].addUgLibsToPath);
    ConfigApplication& back = received[1];
    EXPECT_EQ((Texts{back.applicationId, back.category, back.description, back.program, back.arguments}),
              (Texts{hostile + "1", hostile + "2", hostile + "3", hostile + "4", hostile + "5"}));
    EXPECT_FALSE(back.addUgLibsToPath);
    EXPECT_TRUE(back.disableCustomization && back.disableApplication);
    EXPECT_EQ(back.platform, odd.platform);
    EXPECT_EQ(back.configurationName(), "");
    EXPECT_FALSE(back.needsSaving());
    EXPECT_EQ(column(*back.commonVariables(), "Name"), (Texts{"2common", "1common", hostile}));
    EXPECT_EQ(column(*back.unixVariables(), "Name"), (Texts{"2unix", "1unix", hostile}));
    EXPECT_EQ(column(*back.winVariables(), "Name"), (Texts{"2win", "1win", hostile}));
}

TEST_F(Coding, BringsTheSmallRecordsBack) {
    std::vector<EnvironmentVariable> variables{{hostile, hostile + "v"}}, variablesBack{{"kept", ""}};
    variables[0].comment = hostile + "c";
    variables[0].type = static_cast<PlatformType>(99);
    sendThroughFile(file, variables, variablesBack);
    ASSERT_EQ(variablesBack.size(), 2U);
    const EnvironmentVariable& variable = variablesBack[1];
    EXPECT_EQ((Texts{variable.name, variable.value, variable.comment}),
              (Texts{hostile, hostile + "v", hostile + "c"}));
    EXPECT_EQ(variable.type, variables[0].type);

    std::vector<ApplicationOverlay> overlays(1), overlaysBack;
    overlays[0].configurationName = hostile;
    overlays[0].applicationId = hostile + "i";
    overlays[0].category = hostile + "c";
    overlays[0].description = hostile + "d";
    overlays[0].disableApplication = true;
    overlays[0].settingsChanged();
    sendThroughFile(file, overlays, overlaysBack);
    ASSERT_EQ(overlaysBack.size(), 1U);
    const ApplicationOverlay& overlay = overlaysBack[0];
    EXPECT_EQ(
        (Texts{overlay.configurationName, overlay.applicationId, overlay.category, overlay.description}),
        (Texts{hostile, hostile + "i", hostile + "c", hostile + "d"}));
    EXPECT_TRUE(overlay.disableApplication);
    EXPECT_FALSE(overlay.needsSaving());

    std::vector<WorkDirectory> directories(1), directoriesBack;
    directories[0].name = hostile;
    directories[0].path = hostile + "p";
    sendThroughFile(file, directories, directoriesBack);
    ASSERT_EQ(directoriesBack.size(), 1U);
    EXPECT_EQ((Texts{directoriesBack[0].name, directoriesBack[0].path}), (Texts{hostile, hostile + "p"}));
}

TEST_F(Coding, KeepsTypeNamesKeysAndTheirOrder) {
    const std::pair<Base::TypeInfo, const char*> types[] = {
        {typeid(EnvironmentVariable), "EnvironmentVariable"},
        {typeid(std::vector<EnvironmentVariable>), "EnvVariableList"},
        {typeid(ApplicationOverlay), "ApplicationOverlay"},
        {typeid(std::vector<ApplicationOverlay>), "ApplicationOverlayList"},
        {typeid(ConfigApplication), "ConfigApplication"},
        {typeid(std::vector<ConfigApplication>), "ApplicationList"},
        {typeid(WorkDirectory), "WorkDirectory"},
        {typeid(std::vector<WorkDirectory>), "WorkDirectoryList"}};
    for (const auto& [type, name] : types) {
        ASSERT_NE(Base::CoderBase::find(type), nullptr) << name;
        EXPECT_EQ(Base::CoderBase::find(type)->name(), name);
    }
    const auto keys = [&](auto record) {
        Base::Archiver archiver(file);
        record.encode(archiver);
        archiver.finishEncoding();
        return Support::keysOf(file);
    };
    EXPECT_EQ(keys(EnvironmentVariable()),
              (Texts{"Name Key", "Value Key", "Comment Key", "Variable Type Key"}));
    EXPECT_EQ(keys(ApplicationOverlay()),
              (Texts{"Configuration", "App ID", "Category", "Description", "Disable Application"}));
    EXPECT_EQ(keys(WorkDirectory()), (Texts{"Name", "Path"}));
    EXPECT_EQ(keys(ConfigApplication()),
              (Texts{"App ID", "Category", "Description", "Program", "Arguments", "Add UG Libs To Path",
                     "Disable Customization", "Common Variables", "Unix Variables", "Windows Variables",
                     "Disable Application", "Platform"}));
}

TEST_F(Coding, LeavesWhatAFileLacksButForgetsThePlatform) {
    Base::Archiver(file).finishEncoding();
    Base::Unarchiver empty(file);

    ConfigApplication application;
    application.program = "kept";
    application.platform = PlatformType::Windows;
    application.decode(empty);
    EXPECT_EQ(application.program, "kept");
    EXPECT_TRUE(application.addUgLibsToPath);
    EXPECT_EQ(application.platform, PlatformType::Common);

    EnvironmentVariable variable("NAME", PlatformType::Unix);
    variable.decode(empty);
    EXPECT_EQ(variable.name, "NAME");
    EXPECT_EQ(variable.type, PlatformType::Common);
}
