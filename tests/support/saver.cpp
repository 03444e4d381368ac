// The program that tests kill, and let save beside others, in a SITE to which KYM_BASE_DIR and KYM_UGSITE_DIR
// lead:
//
//   save KIND SITE COUNT PROGRESS: COUNT generations behind the one in the file, for each a byte in PROGRESS
//   prepare SITE: makes the version directory of the department "cam"
//   damage KIND SITE FILE STRIDE STEP: loads FILE cut at every STRIDEth byte, and changed in each STEPth way

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <regex>
#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "base/FileManager.h"
#include "base/FileState.h"
#include "kym/Configuration.h"
#include "kym/SystemInfo.h"

#include "tests/support/StoreSupport.h"
#include "tests/support/SystemSupport.h"

namespace {

using Support::Store;

void save(const Store& store, int count, const std::string& progress) {
    std::ofstream done(progress, std::ios::app | std::ios::binary);
    for (int saved = 0; saved < count;) {
        store.edit(store.generation() + 1);
        try {
            store.save();
            done.put('.').flush();
            ++saved;
        } catch (const Base::FileChanged&) {
            store.load();  // and once more, upon what the other has written
        }
    }
}

// Whether it tells the file, the line where there is one, and a reason.
bool isWhole(const std::string& message, const Store& store) {
    static const std::regex rest(
        ":[1-9][0-9]*: [^]+|: (the file is empty|.+ there is no XML element in it|the property .+ is "
        "missing.+)");
    const std::string file = Base::FileManager::native(store.file);
    return message.starts_with(file) && std::regex_match(message.substr(file.size()), rest);
}

int damage(const std::string& kind, const std::string& site, const std::string& file, std::size_t stride,
           int step) {
    const std::string whole = Base::FileManager::readFile(file);
    const Store store = Support::openStore(kind, site);
    const std::size_t before = Support::peakMemory();  // under Wine, much of it is the program's own file
    int loads = 0, errors = 0;
    double longest = 0;
    std::string fault;
    const auto load = [&](const std::string& content) {
        boost::filesystem::remove(store.file);  // much faster than to truncate it on some file systems
        std::ofstream(store.file.c_str(), std::ios::binary) << content;
        const auto begin = std::chrono::steady_clock::now();
        try {
            ++loads;
            store.load();
        } catch (const std::exception& error) {
            ++errors;
            fault = isWhole(error.what(), store) ? fault : std::string("; a poor error: ") + error.what();
        }
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
        longest = std::max(longest, time.count());
    };
    const auto keepsCopy = [&] {
        const boost::filesystem::path copy = store.file.string() + ".damaged";
        boost::filesystem::remove(copy);
        load(whole);
        store.edit(1);
        store.save();
        return exists(copy);
    };
    if (keepsCopy() || errors != 0) {
        fault = "; the whole file is not understood";
    }
    for (std::size_t size = 0; size < whole.size(); size += stride) {
        load(whole.substr(0, size));
    }
    for (std::size_t at = 0; at < whole.size(); at += stride) {
        for (int bit = static_cast<int>(at) % step; bit < 8; bit += step) {
            std::string changed = whole;
            changed[at] = static_cast<char>(changed[at] ^ (1 << bit));
            load(changed);
        }
    }
    const std::size_t taken = Support::peakMemory() - before;
    const bool isTolerant = kind == "system" || kind == "department" || kind == "preferences";
    if ((errors == 0) != isTolerant || !keepsCopy()) {
        fault += "; damage is not told, or no copy is kept";
    }
    std::cout << kind << ": " << whole.size() << " bytes, " << loads << " loads, " << errors
              << " errors, longest " << longest << " s, memory taken " << taken / 1024 << " KiB" << fault
              << '\n';
    const bool isCheap = longest < KYM_TEST_LOAD_SECONDS && taken < std::size_t{KYM_TEST_MEBIBYTES} << 20U;
    return isCheap && fault.empty() ? 0 : 1;
}

int run(const std::vector<std::string>& words) {
    if (const char* folder = std::getenv("KYM_TEST_DATA_FOLDER")) {
        Kym::SystemInformation().KymApplicationDataDirectoryName = folder;
    }
    const std::string& mode = words.at(0);
    if (mode == "prepare") {
        Kym::SystemInformation().CadVersionDirectory = "nx4";
        Kym::Configuration(boost::filesystem::path(words.at(1)) / "departments/cam", true)
            .createNXVersionDirectory();
        return 0;
    }
    if (mode == "damage") {
        return damage(words.at(1), words.at(2), words.at(3), std::stoul(words.at(4)), std::stoi(words.at(5)));
    }
    save(Support::openStore(words.at(1), words.at(2)), std::stoi(words.at(3)), words.at(4));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::cerr << "kym-test-saver: " << error.what() << '\n';
        return 1;
    }
}
