#include <chrono>
#include <fstream>
#include <future>
#include <iostream>
#include <random>
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
using Base::FileManager::readFile;
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

    std::set<std::string> namesBeside(const fs::path& file) const {
        return Support::namesIn(file.parent_path());
    }

    void pause(double atMost) {
        const double seconds = std::uniform_real_distribution<>(0, atMost)(random);
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    }

    std::mt19937 random{std::random_device()()};
};

class FaultsOf : public Faults, public testing::WithParamInterface<std::string> {
  protected:
    Store open() const { return Support::openStore(GetParam(), site.root()); }

    // Starts the program that saves; it tells its progress in a file.
    std::unique_ptr<Process> save(int count, const fs::path& progress) const {
        return std::make_unique<Process>(Support::saverProgram(),
                                         std::vector<std::string>{"save", GetParam(), site.root().string(),
                                                                  std::to_string(count), progress.string()});
    }
};

INSTANTIATE_TEST_SUITE_P(EachFile, FaultsOf, testing::ValuesIn(Support::storeKinds()),
                         [](const auto& kind) { return kind.param; });

TEST_P(FaultsOf, IsWrittenWithTheKeysAndDefaultsOfTheRecordedFile) {
    const Store store = open();
    store.setText("text");
    store.save();
    EXPECT_EQ(readFile(store.file), readFile(Support::recorded("store-" + GetParam() + ".dat")));
}

TEST_P(FaultsOf, WhatOthersWroteIsReplacedOnlyWhenToldTo) {
    Store store = open();
    const auto writtenByOthers = [&](const std::string& content) {
        fs::remove(store.file);
        std::ofstream(store.file.c_str(), std::ios::binary) << content;
    };
    writtenByOthers(readFile(Support::recorded("store-" + GetParam() + ".dat")));
    store = open();
    store.edit(1);
    writtenByOthers("of others");
    EXPECT_THROW(store.save(), Base::FileChanged) << "this process never wrote it";
    Base::saveOverChanges(store.file);
    store.save();
    const std::string first = readFile(store.file);
    const std::set<std::string> names = namesBeside(store.file);
    const auto expectRefusalOver = [&](const std::string& content) {
        writtenByOthers(content);
        try {
            store.save();
            ADD_FAILURE() << "the work of others is gone";
        } catch (const Base::FileChanged& changed) {
            EXPECT_EQ(changed.file(), store.file);
            EXPECT_EQ(std::string(changed.what()).find(Base::FileManager::native(store.file)), 0U);
        }
        EXPECT_TRUE(store.needsSaving());
        EXPECT_EQ(readFile(store.file), content);
    };
    store.edit(2);
    expectRefusalOver(first + "\n<!-- of others -->\n");
    Base::saveOverChanges(store.file);
    expectRefusalOver(first + "\n<!-- of others --> ");
    Base::saveOverChanges(store.file);
    store.save();
    EXPECT_FALSE(store.needsSaving());
    EXPECT_EQ(open().generation(), 2);

    writtenByOthers("<damaged");
    Support::messageOf([&] {
        const Store lenient = open();  // other kinds take this for an error
        lenient.edit(3);
        writtenByOthers(first);
        EXPECT_THROW(lenient.save(), Base::FileChanged);
    });
    store.edit(3);
    expectRefusalOver(first);
    store.load();
    EXPECT_EQ(store.generation(), 1);
    store.edit(4);
    store.save();
    EXPECT_EQ(open().generation(), 4) << "loaded again";
    fs::remove(store.file.string() + ".damaged");

    const Store beside = open();  // another object of this process
    beside.edit(5);
    beside.save();
    store.edit(6);
    store.save();
    writtenByOthers(readFile(store.file));
    store.edit(7);
    store.save();
    fs::remove(store.file);
    store.edit(8);
    store.save();
    EXPECT_EQ(open().generation(), 8);
    EXPECT_EQ(namesBeside(store.file), names);
}

TEST_P(FaultsOf, ASaveThatFailsLeavesEverythingAsItWas) {
    const Store store = open();
    store.edit(1);
    store.save();
    const std::string before = readFile(store.file);
    const std::set<std::string> names = namesBeside(store.file);
    store.edit(2);
    const auto expectFailure = [&] {
        const std::string message = Support::messageOf([&] { store.save(); });
        EXPECT_NE(message.find(store.file.filename().string()), std::string::npos) << message;
        EXPECT_TRUE(store.needsSaving());
    };
    {
        const Support::FullDisk full(store.file);
        expectFailure();
    }
    if (!Support::onWindows) {  // where the right to a directory is not told by its mode
        const Support::Held readOnly(store.file);
        const Support::Unprivileged somebody;
        expectFailure();
    }
    EXPECT_EQ(readFile(store.file), before);
    EXPECT_EQ(namesBeside(store.file), names);
    store.save();
    EXPECT_FALSE(store.needsSaving());
    EXPECT_EQ(open().generation(), 2);
}

TEST_P(FaultsOf, AKilledSaveLeavesTheOldFileOrTheNewOne) {
    const fs::path progress = site.makeFile("progress");
    const auto saved = [&] { return static_cast<int>(fs::file_size(progress)); };
    const int count = saveCount(15);
    const Store store = open();
    int kills = 0, unfinished = 0, leftovers = 0;
    for (; saved() < count; ++kills) {
        const int before = saved();
        auto process = save(1'000'000, progress);
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (saved() == before) {
            ASSERT_LT(std::chrono::steady_clock::now(), end) << "nothing was saved";
            pause(0.001);
        }
        pause(0.01);
        process.reset();
        const int done = saved();
        leftovers += namesBeside(store.file).size() > 1;
        store.load();
        const int generation = store.generation();
        ASSERT_TRUE(generation == done || generation == done + 1) << generation << " after " << done;
        unfinished += generation - done;
        fs::resize_file(progress, static_cast<std::uintmax_t>(generation));
    }
    std::cout << GetParam() << ": " << saved() << " saves, " << kills << " kills, " << leftovers
              << " left a temporary file, " << unfinished << " after the new file stood\n";
    store.edit(saved() + 1);
    store.save();
    for (const std::string& name : namesBeside(store.file)) {
        EXPECT_FALSE(name.ends_with(".kymtmp")) << name;
    }
}

TEST_P(FaultsOf, WhoLoadsWhileOthersSaveSeesOneOfTheirFilesAndNothingIsLost) {
    const int count = saveCount(20);
    const Store store = open();
    store.edit(1);
    store.save();
    std::vector<std::future<int>> savers;
    for (const char* progress : {"one", "other"}) {
        savers.push_back(std::async(std::launch::async, [this, count, progress] {
            return save(count, site.root() / progress)->wait();
        }));
    }
    int loads = 0, last = 1;
    for (std::future<int>& saver : savers) {
        for (; saver.wait_for(std::chrono::seconds(0)) != std::future_status::ready; ++loads) {
            const int generation = open().generation();
            ASSERT_GE(generation, last);
            last = generation;
        }
        EXPECT_EQ(saver.get(), 0);
    }
    EXPECT_EQ(open().generation(), 1 + 2 * count);
    std::cout << GetParam() << ": " << 2 * count << " saves by two processes, " << loads << " loads\n";
}

TEST_F(Faults, AKilledPreparationLeavesNoVersionDirectory) {
    std::vector<Support::TarEntry> entries;
    entries.reserve(200);
    for (int file = 0; file < 200; ++file) {
        entries.push_back({"lib/" + std::to_string(file), Support::noise(2000)});
    }
    site.makeFile("kym/data/install/versionFiles.tar.gz", Support::tarGz(entries));
    Kym::Configuration department(site.makeDirectory("departments/cam"), false);
    department.save();
    int whole = 0;
    std::chrono::duration<double> time{};
    const int kills = saveCount(10);
    for (int kill = 0; kill <= kills; ++kill) {
        const auto begin = std::chrono::steady_clock::now();
        {
            Process process(Support::saverProgram(), {"prepare", site.root().string()});
            if (kill == 0) {
                ASSERT_EQ(process.wait(), 0);
                time = std::chrono::steady_clock::now() - begin;
            } else {
                pause(1.1 * time.count());
            }
        }
        if (department.isUpdated()) {
            ++whole;
            for (const Support::TarEntry& entry : entries) {
                ASSERT_EQ(fs::file_size(department.versionPath() / entry.name), entry.content.size());
            }
            Base::FileManager::removeAll(department.versionPath());
        }
    }
    department.createNXVersionDirectory();
    EXPECT_EQ(namesBeside(department.versionPath()), (std::set<std::string>{".dirinfo.plist", "nx4"}));
    std::cout << "preparations: " << kills << " killed, " << whole - 1 << " of them when all was done\n";
}

}  // namespace
