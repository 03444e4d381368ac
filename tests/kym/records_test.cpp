#include <gtest/gtest.h>

#include "base/Coder.h"
#include "base/FileManager.h"
#include "kym/ApplicationOverlay.h"
#include "kym/ArchiveMembers.h"
#include "kym/ConfigApplication.h"
#include "kym/WorkDirectory.h"

#include "tests/support/ScratchSupport.h"
#include "tests/support/SiteSupport.h"

using namespace Kym;
using Base::FileManager::readFile;
using Support::cellsOf;
using Texts = std::vector<std::string>;

namespace {

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

    std::vector<Record> list(2);
    source.setList(&list);
    for (int row = 0; row < 2; ++row) {
        const boost::any number = std::to_string(row);
        EXPECT_TRUE(edits(source, [&] { source.setValueForListColumnRow(name, row, number); }));
    }
    EXPECT_TRUE(edits(source, [&] { source.deleteRows({}); }));
    for (const int row : {-1, 0, 4}) {
        EXPECT_TRUE(edits(source, [&] { source.insertRow(row); }));
    }
    EXPECT_EQ(cellsOf(source, name), (Texts{fresh, "0", "1", fresh, fresh}));
    EXPECT_TRUE(edits(source, [&] { source.deleteRows({3, 1, 3}); }));
    EXPECT_EQ(cellsOf(source, name), (Texts{fresh, "1"}));

    EXPECT_FALSE(edits(source, [&] {
        EXPECT_THROW(source.setValueForListColumnRow(name, 0, "literal"), boost::bad_any_cast);
        for (const int row : {-1, 2}) {
            EXPECT_THROW(source.valueForListColumnRow(name, row), std::out_of_range);
            EXPECT_THROW(source.setValueForListColumnRow(name, row, value), std::out_of_range);
            EXPECT_THROW(source.deleteRows({0, row}), std::out_of_range);
        }
        EXPECT_THROW(source.deleteRows({1, 1}), std::out_of_range);
        EXPECT_THROW(source.insertRow(3), std::out_of_range);
    }));
    EXPECT_EQ(cellsOf(source, name), (Texts{fresh, "1"}));
}

}  // namespace

TEST(TableModels, EditRowsAndRememberThatTheyDid) {
    checkRows<EnvVariableListSource, EnvironmentVariable>("Name", "");
    checkRows<WorkDirectoryListSource, WorkDirectory>("Name", "");
    checkRows<ApplicationListSource, ConfigApplication>("AppID", "ChangeMyAppID");
}

TEST(TableModels, ValidateVariables) {
    std::vector<EnvironmentVariable> list(1);
    const EnvVariableListSource source(&list);
    const auto expect = [&](const char* column, const Texts& cells, bool isValid) {
        for (const std::string& cell : cells) {
            list[0] = EnvironmentVariable(cell, cell);
            EXPECT_EQ(source.valueIsValid(column, 0), isValid) << cell;
        }
    };
    expect("Name", {"", "#abc", "#", "#_1", "A1_b"}, true);
    expect("Name", {"a#bc", "_abc", "1abc", "##a", "A-B", "é"}, false);
    expect("Value", {"", "1", "}{", "%{%}%%"}, true);
    expect("Value", {"%TEMP", "${A", "{{}"}, false);
}

namespace {

template <typename List>
std::string keyOf() {
    return Base::CoderBase::find(typeid(List))->name();
}

template <typename... Lists>
std::string written(const boost::filesystem::path& file, Lists&... lists) {
    Base::Archiver archiver(file);
    (encodeMember(archiver, keyOf<Lists>(), lists), ...);
    archiver.finishEncoding();
    return readFile(file);
}

template <typename... Lists>
void read(const boost::filesystem::path& file, Lists&... lists) {
    Base::Unarchiver unarchiver(file);
    (decodeMember(unarchiver, keyOf<Lists>(), lists), ...);
}

}  // namespace

TEST(Coding, KeepsNamesKeysAndOrderOfTheFile) {
    std::vector<EnvironmentVariable> variables{{"N", "v"}, {}};
    variables[0].comment = "c";
    variables[0].type = static_cast<PlatformType>(99);
    std::vector<WorkDirectory> directories;
    WorkDirectoryListSource directorySource(&directories);
    Support::addRow(directorySource, {{"Name", "n"}, {"Path", "p"}});
    std::vector<ApplicationOverlay> overlays(1);
    overlays[0].configurationName = "n";
    overlays[0].applicationId = "i";
    overlays[0].category = "c";
    overlays[0].description = "d";
    overlays[0].disableApplication = true;
    overlays[0].settingsChanged();
    std::vector<ConfigApplication> applications;
    ApplicationListSource source(&applications);
    Support::addRow(
        source,
        {{"AppID", "i"}, {"Category", "c"}, {"Description", "d"}, {"Executable", "p"}, {"Arguments", "a"}});
    Support::addRow(source, {{"AddNXLibs", "False"}, {"NoCustom", "True"}});
    Support::addRow(source, {{"Disable", "True"}});
    applications[0].platform = static_cast<PlatformType>(-77);
    applications[0].setConfigurationName("not stored");
    Support::addRow(*source.commonVariables(0), {{"Name", "common"}});
    Support::addRow(*source.unixVariables(0), {{"Name", "unix"}});
    Support::addRow(*source.winVariables(0), {{"Name", "2"}});
    Support::addRow(*source.winVariables(0), {{"Name", "1"}});

    const Support::Scratch scratch;
    const auto file = scratch / "records.dat";
    const auto recorded = Support::recorded("records-1.dat");
    EXPECT_EQ(written(file, variables, directories, overlays, applications), readFile(recorded));
    EXPECT_FALSE(applications[0].needsSaving());

    std::vector<EnvironmentVariable> variablesRead{{"kept", ""}};
    directories.clear();
    overlays.clear();
    applications.clear();
    read(recorded, variablesRead, directories, overlays, applications);
    EXPECT_EQ(variablesRead.at(0).name, "kept") << "a list is appended to";
    variablesRead.erase(variablesRead.begin());
    EXPECT_FALSE(overlays.at(0).needsSaving());
    EXPECT_FALSE(applications.at(0).needsSaving());
    EXPECT_EQ(applications[0].configurationName(), "");
    EXPECT_EQ(written(file, variablesRead, directories, overlays, applications), readFile(recorded));
}

TEST(Coding, LeavesWhatAFileLacksButForgetsThePlatform) {
    const Support::Scratch scratch;
    Base::Archiver(scratch / "empty.dat").finishEncoding();
    Base::Unarchiver empty(scratch / "empty.dat");

    ConfigApplication application;
    application.program = "kept";
    application.platform = PlatformType::Windows;
    application.decode(empty);
    EXPECT_EQ(application.program, "kept");
    EXPECT_EQ(application.platform, PlatformType::Common);
    EnvironmentVariable variable("NAME", PlatformType::Unix);
    variable.decode(empty);
    EXPECT_EQ(variable.name, "NAME");
    EXPECT_EQ(variable.type, PlatformType::Common);
}
