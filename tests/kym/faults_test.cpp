#include <algorithm>
#include <chrono>
#include <fstream>
#include <iostream>
#include <random>
#include <set>
#include <thread>

#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>

#include "base/Environment.h"
#include "base/FileManager.h"
#include "base/FileState.h"
#include "kym/Configuration.h"
#include "kym/SystemInfo.h"

#include "tests/support/SiteSupport.h"
#include "tests/support/StoreSupport.h"
#include "tests/support/SystemSupport.h"
#include "tests/support/TarSupport.h"

namespace {

namespace fs = boost::filesystem;
using Support::Process;
using Support::Store;

/// How often a file is saved: few times among the other tests, KYM_TEST_SAVES times when it is measured.
int saveCount(int few) {
    const std::string text = Base::Environment::getEnvVariable("KYM_TEST_SAVES");
    return text.empty() ? few : std::stoi(text);
}

class Faults : public Support::SiteTest {
  protected:
    Faults() {
        const std::string folder = fs::unique_path("kym-test-%%%%-%%%%-%%%%").string();
        Base::Environment::setEnvVariable("KYM_TEST_DATA_FOLDER", folder);
        Base::Environment::setEnvVariable("XDG_CONFIG_HOME", site.root().string());
        Kym::SystemInformation().KymApplicationDataDirectoryName = folder;
        Kym::SystemInformation().CadVersionDirectory = "nx4";
    }
    ~Faults() override { fs::remove_all(Kym::SystemInformation().applicationDataPath()); }

    std::unique_ptr<Store> open(const std::string& kind) const { return Support::openStore(kind, site.root()); }

    std::set<std::string> namesBeside(const fs::path& file) const {
        std::set<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(file.parent_path())) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }

    static void pause(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

    std::mt19937 random{std::random_device()()};
};

class FaultsOf : public Faults, public testing::WithParamInterface<std::string> {
  protected:
    std::unique_ptr<Store> open() const { return Faults::open(GetParam()); }
    std::string saver() const { return Support::saverProgram().string(); }
};

INSTANTIATE_TEST_SUITE_P(EachFile, FaultsOf, testing::ValuesIn(Support::storeKinds()),
                         [](const auto& kind) { return kind.param; });

TEST_P(FaultsOf, WhatOthersWroteIsReplacedOnlyWhenToldTo) {
    const auto store = open();
    store->edit(1);
    store->save();
    const std::string first = Support::contentOf(store->file());
    const auto writtenByOthers = [&](const std::string& content) {
        fs::remove(store->file());
        std::ofstream(store->file().c_str(), std::ios::binary) << content;
    };
    const std::string others = first + "\n<!-- of others -->\n";
    const auto expectRefusal = [&](const std::string& content) {
        try {
            store->save();
            ADD_FAILURE() << "the work of others is gone";
        } catch (const Base::FileChanged& changed) {
            EXPECT_EQ(changed.file(), store->file());
            EXPECT_EQ(std::string(changed.what()).find(Base::FileManager::native(store->file())), 0U);
        }
        EXPECT_TRUE(store->needsSaving());
        EXPECT_EQ(Support::contentOf(store->file()), content);
    };
    const std::set<std::string> names = namesBeside(store->file());
    store->edit(2);
    writtenByOthers(others);
    expectRefusal(others);
    Base::saveOverChanges(store->file());
    writtenByOthers(others + "\n");
    expectRefusal(others + "\n");
    Base::saveOverChanges(store->file());
    store->save();
    EXPECT_FALSE(store->needsSaving());
    EXPECT_EQ(open()->generation(), 2);

    store->edit(3);
    writtenByOthers(first);
    expectRefusal(first);
    store->load();
    EXPECT_EQ(store->generation(), 1);
    store->edit(4);
    store->save();
    EXPECT_EQ(open()->generation(), 4) << "loaded again";

    const auto beside = open();  // another object of this process
    beside->edit(5);
    beside->save();
    store->edit(6);
    store->save();
    writtenByOthers(Support::contentOf(store->file()));
    store->edit(7);
    store->save();
    fs::remove(store->file());
    store->edit(8);
    store->save();
    EXPECT_EQ(open()->generation(), 8);
    EXPECT_EQ(namesBeside(store->file()), names);
}

TEST_P(FaultsOf, ASaveThatFailsLeavesEverythingAsItWas) {
    const auto store = open();
    store->edit(1);
    store->save();
    const std::string before = Support::contentOf(store->file());
    const std::set<std::string> names = namesBeside(store->file());
    store->edit(2);
    const auto expectFailure = [&] {
        const std::string message = Support::messageOf([&] { store->save(); });
        EXPECT_NE(message.find(store->file().filename().string()), std::string::npos) << message;
        EXPECT_TRUE(store->needsSaving());
    };
    {
        const Support::FullDisk full(store->file());
        expectFailure();
    }
    if (!Support::onWindows) {  // where the right to a directory is not told by its mode
        const Support::Held readOnly(store->file());
        const Support::Unprivileged somebody;
        expectFailure();
    }
    EXPECT_EQ(Support::contentOf(store->file()), before);
    EXPECT_EQ(namesBeside(store->file()), names);
    store->save();
    EXPECT_FALSE(store->needsSaving());
    EXPECT_EQ(open()->generation(), 2);
}

TEST_P(FaultsOf, AKilledSaveLeavesTheOldFileOrTheNewOne) {
    const fs::path progress = site.root() / "progress";
    const auto saved = [&progress] {
        boost::system::error_code none;
        const auto size = fs::file_size(progress, none);
        return none ? 0 : static_cast<int>(size);
    };
    const int count = saveCount(40);
    int kills = 0, unfinished = 0, leftovers = 0;
    double oneSave = 0.01;
    const auto store = open();
    while (saved() < count) {
        const int before = saved();
        Process process(saver(), {"save", GetParam(), site.root().string(), progress.string()});
        const auto begin = std::chrono::steady_clock::now();
        while (saved() == before && process.isRunning()) {
            pause(0.0005);
        }
        const auto first = std::chrono::steady_clock::now();
        ASSERT_LT(std::chrono::duration<double>(first - begin).count(), 60.0);
        pause(std::uniform_real_distribution<>(0, 8 * oneSave)(random));
        ASSERT_TRUE(process.isRunning());
        process.kill();
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - first;
        ++kills;
        const int done = saved();
        oneSave = std::clamp(time.count() / std::max(done - before, 1), 0.0005, 0.2);
        const auto names = namesBeside(store->file());
        leftovers += std::any_of(names.begin(), names.end(),
                                 [](const std::string& name) { return name.ends_with(".kymtmp"); });
        store->load();
        const int generation = store->generation();
        ASSERT_TRUE(generation == done || generation == done + 1) << generation << " after " << done;
        if (generation == done + 1) {
            ++unfinished;
            std::ofstream(progress.c_str(), std::ios::app) << '.';
        }
    }
    std::cout << GetParam() << ": " << saved() << " saves, " << kills << " kills, " << leftovers
              << " left a temporary file, " << unfinished << " after the new file stood\n";
    store->edit(saved() + 1);
    store->save();
    for (const std::string& name : namesBeside(store->file())) {
        EXPECT_FALSE(name.ends_with(".kymtmp")) << name;
    }
}

TEST_P(FaultsOf, WhoLoadsWhileOthersSaveSeesOneOfTheirFiles) {
    const int count = saveCount(20);
    const auto store = open();
    store->edit(1);
    store->save();
    const auto start = [&](int first) {
        return std::make_unique<Process>(
            saver(), std::vector<std::string>{"over", GetParam(), site.root().string(), std::to_string(count),
                                              std::to_string(first)});
    };
    const auto one = start(1000), other = start(1'000'000);
    int loads = 0, changes = 0;
    for (int last = 1; one->isRunning() | other->isRunning(); ++loads) {
        const auto read = open();
        const int generation = read->generation();
        ASSERT_GE(generation, last == 1 ? 1 : 1000);
        changes += generation != last;
        last = generation;
    }
    EXPECT_EQ(one->wait(), 0);
    EXPECT_EQ(other->wait(), 0);
    std::cout << GetParam() << ": " << 2 * count << " saves by two processes, " << loads
              << " loads meanwhile, " << changes << " times another content\n";
}

TEST_F(Faults, NothingIsLostWhenTwoAddToTheSameFile) {
    const int count = saveCount(20);
    const auto store = open("plugin");
    const std::vector<std::string> words = {"add", "plugin", site.root().string(), std::to_string(count)};
    Process one(Support::saverProgram(), words), other(Support::saverProgram(), words);
    EXPECT_EQ(one.wait(), 0);
    EXPECT_EQ(other.wait(), 0);
    store->load();
    EXPECT_EQ(store->rows(), 2 * count);
}

TEST_F(Faults, AKilledPreparationLeavesNoVersionDirectory) {
    std::vector<Support::TarEntry> entries;
    for (int file = 0; file < 200; ++file) {
        entries.push_back({"lib/" + std::to_string(file), Support::noise(2000)});
    }
    site.makeFile("kym/data/install/versionFiles.tar.gz", Support::tarGz(entries));
    Kym::Configuration department(site.makeDirectory("departments/cam"), false);
    department.save();
    int whole = 0, none = 0;
    double time = 0;
    for (int kill = 0; kill <= saveCount(10); ++kill) {
        Process process(Support::saverProgram(), {"prepare", site.root().string()});
        if (kill == 0) {
            const auto begin = std::chrono::steady_clock::now();
            ASSERT_EQ(process.wait(), 0);
            time = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        } else {
            pause(std::uniform_real_distribution<>(0, 1.1 * time)(random));
            process.kill();
        }
        if (department.isUpdated()) {
            ++whole;
            for (const Support::TarEntry& entry : entries) {
                ASSERT_EQ(fs::file_size(department.versionPath() / entry.name), entry.content.size());
            }
            Base::FileManager::removeAll(department.versionPath());
        } else {
            ++none;
        }
    }
    department.createNXVersionDirectory();
    EXPECT_EQ(namesBeside(department.versionPath()), (std::set<std::string>{".dirinfo.plist", "nx4"}));
    std::cout << "preparations: " << whole << " whole, " << none << " none\n";
}

}  // namespace
