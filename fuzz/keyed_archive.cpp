// Keyed archives. An input is a file, or, behind a "v", the material of records: what is read or made is
// written and comes back; a file that cannot be read is told so.
#include <tuple>

#include "base/Archiver.h"
#include "base/FileManager.h"
#include "base/Unarchiver.h"
#include "kym/ApplicationOverlay.h"
#include "kym/ArchiveMembers.h"
#include "kym/ConfigApplication.h"
#include "kym/WorkDirectory.h"

#include "fuzz/Fuzz.h"

namespace {

using Fuzz::require;

struct Settings {
    std::string text;
    bool flag = false;
    int number = 0;
    std::vector<std::string> list;
    std::vector<Kym::ConfigApplication> applications;
    std::vector<Kym::EnvironmentVariable> variables;
    std::vector<Kym::ApplicationOverlay> overlays;
    std::vector<Kym::WorkDirectory> directories;

    void write(const boost::filesystem::path& file) {
        Base::Archiver archiver(file);
        visitMembers([&](const char* key, const auto& value) { archiver.encode(key, value); },
                     [&](const char* key, auto& records) { Kym::encodeMember(archiver, key, records); });
        archiver.finishEncoding();
    }

    explicit Settings(const boost::filesystem::path& file) {
        Base::Unarchiver unarchiver(file);
        visitMembers([&](const char* key, auto& value) { unarchiver.decode(key, value); },
                     [&](const char* key, auto& records) { Kym::decodeMember(unarchiver, key, records); });
    }

    explicit Settings(Fuzz::Source& source) : text(source.text()) {
        flag = source.byte() % 2 == 0;
        number = static_cast<int>(source.number() >> (source.byte() % 64));
        while (!source.isEmpty()) {
            switch (source.byte() % 5) {
                case 0:
                    list.push_back(source.text());
                    break;
                case 1:
                    variables.push_back(variableOf(source));
                    break;
                case 2:
                    overlays.emplace_back();
                    overlays.back().configurationName = source.text();
                    overlays.back().description = source.text();
                    overlays.back().disableApplication = source.byte() % 2 == 0;
                    break;
                case 3:
                    directories.emplace_back();
                    directories.back().name = source.text();
                    directories.back().path = source.text();
                    break;
                default:
                    addApplication(source);
            }
        }
    }

  private:
    template <typename VisitValue, typename VisitList>
    void visitMembers(const VisitValue& visitValue, const VisitList& visitList) {
        visitValue("Text", text);
        visitValue("Flag", flag);
        visitValue("Number", number);
        visitList("List", list);
        visitList("ApplicationList", applications);
        visitList("EnvVariableList", variables);
        visitList("ApplicationOverlayList", overlays);
        visitList("WorkDirectoryList", directories);
    }

    static Kym::EnvironmentVariable variableOf(Fuzz::Source& source) {
        Kym::EnvironmentVariable variable{source.text(), static_cast<Kym::PlatformType>(source.byte() % 3)};
        variable.value = source.text();
        variable.comment = source.text();
        return variable;
    }

    void addApplication(Fuzz::Source& source) {
        Kym::ConfigApplication& application = applications.emplace_back();
        application.applicationId = source.text();
        application.arguments = source.text();
        application.addUgLibsToPath = source.byte() % 2 == 0;
        for (Kym::EnvVariableListSource* table :
             {application.commonVariables(), application.unixVariables(), application.winVariables()}) {
            for (int row = 0; row < source.byte() % 3; ++row) {
                table->insertRow(row);
                table->variable(row) = variableOf(source);
            }
        }
    }
};

auto partsOf(const Kym::EnvironmentVariable& variable) {
    return std::tie(variable.name, variable.value, variable.comment, variable.type);
}
auto partsOf(const Kym::ApplicationOverlay& overlay) {
    return std::tie(overlay.configurationName, overlay.applicationId, overlay.description, overlay.category,
                    overlay.disableApplication);
}
auto partsOf(const Kym::WorkDirectory& directory) {
    return std::tie(directory.name, directory.path);
}
auto partsOf(const Kym::ConfigApplication& application) {
    return std::tie(application.applicationId, application.description, application.category,
                    application.program, application.arguments, application.addUgLibsToPath,
                    application.disableCustomization, application.disableApplication, application.platform);
}

template <typename Record>
bool areEqual(const std::vector<Record>& left, const std::vector<Record>& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](const Record& a, const Record& b) { return partsOf(a) == partsOf(b); });
}

bool areEqual(Kym::EnvVariableListSource* left, Kym::EnvVariableListSource* right) {
    bool same = left->numberOfRowsInList() == right->numberOfRowsInList();
    for (int row = 0; same && row < left->numberOfRowsInList(); ++row) {
        same = partsOf(left->variable(row)) == partsOf(right->variable(row));
    }
    return same;
}

bool areEqual(Settings& left, Settings& right) {
    bool same = std::tie(left.text, left.flag, left.number, left.list) ==
                    std::tie(right.text, right.flag, right.number, right.list) &&
                areEqual(left.applications, right.applications) &&
                areEqual(left.variables, right.variables) && areEqual(left.overlays, right.overlays) &&
                areEqual(left.directories, right.directories);
    for (std::size_t i = 0; same && i < left.applications.size(); ++i) {
        Kym::ConfigApplication& first = left.applications[i];
        Kym::ConfigApplication& second = right.applications[i];
        same = areEqual(first.commonVariables(), second.commonVariables()) &&
               areEqual(first.unixVariables(), second.unixVariables()) &&
               areEqual(first.winVariables(), second.winVariables());
    }
    return same;
}

void checkComesBack(Settings& settings) {
    const boost::filesystem::path file = Fuzz::fileOf("");
    settings.write(file);
    const std::string written = Base::FileManager::readFile(file);
    Settings again(file);
    require(areEqual(settings, again), "what was written comes back", written);
    again.write(file);
    require(Base::FileManager::readFile(file) == written, "the same is written for the same settings",
            written);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input = Fuzz::textOf(data, size);
    if (input.starts_with('v')) {
        Fuzz::Source source(input.substr(1));
        Settings settings(source);
        checkComesBack(settings);
        return 0;
    }
    const boost::filesystem::path file = Fuzz::fileOf(input);
    try {
        Settings settings(file);
        checkComesBack(settings);
    } catch (const Base::ArchiveError& error) {
        const std::string name = Base::FileManager::native(file);
        require(error.file() == name && std::string_view(error.what()).starts_with(name),
                "the message names the file", error.what());
        require(Base::FileManager::readFile(file) == input, "a file that cannot be read stays as it is",
                input);
    }
    return 0;
}
