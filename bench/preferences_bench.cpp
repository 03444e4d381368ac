// How long a look-up among eight layered preference files takes, with 900 keys and a key in four that no file
// has, beside a walk by hand through the same eight trees of std::map; and, where KConfig is installed,
// beside its own look-up in the same eight layers, which it keeps merged.

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/any.hpp>
#include <boost/filesystem/operations.hpp>

#include "kym/SystemInfo.h"
#include "kym/SystemPreferences.h"

#if defined(KYM_BENCH_KCONFIG)
#include <KConfig>
#include <KConfigGroup>
#endif

namespace {

using Dictionary = std::map<std::string, boost::any>;
using Names = std::vector<std::string>;

constexpr std::size_t layerCount = 8;
constexpr std::size_t keyCount = 900;

Names namesOf(std::size_t number) {
    return {"window" + std::to_string(number % 20), "section" + std::to_string(number % 3),
            "preference" + std::to_string(number)};
}

std::string join(const Names& names) {
    return names[0] + '/' + names[1] + '/' + names[2];
}

/// Every layer has a key of its own for the first time, and so the user's first one hides later ones.
bool has(std::size_t layer, std::size_t number) {
    const std::size_t first = number % layerCount;
    return layer >= first && (layer - first) % 3 == 0;
}

std::string valueOf(std::size_t layer, std::size_t number) {
    return "the value " + std::to_string(number) + " of layer " + std::to_string(layer);
}

struct Lookup {
    std::string key;
    Names names;
    std::string value;  // empty: no layer has it
};

std::vector<Lookup> lookups() {
    std::vector<Lookup> lookups;
    for (std::size_t number = 0; number < keyCount + keyCount / 3; ++number) {
        Lookup lookup{join(namesOf(number)), namesOf(number), ""};
        if (number < keyCount) {
            lookup.value = valueOf(number % layerCount, number);
        }
        lookups.push_back(lookup);
    }
    std::shuffle(lookups.begin(), lookups.end(), std::mt19937(1));
    return lookups;
}

void requireSame(const std::string& found, const Lookup& lookup) {
    if (found != lookup.value) {
        throw std::runtime_error("\"" + found + "\" was found for " + lookup.key);
    }
}

/// Looks up all keys, over and over; `find` gives what it finds as a text first, to be checked.
template <typename Find, typename Text>
void measure(const char* name, const std::vector<Lookup>& keys, Find find, Text text) {
    for (const Lookup& lookup : keys) {
        requireSame(text(find(lookup)), lookup);
    }
    benchmark::RegisterBenchmark(name, [&keys, find](benchmark::State& state) {
        for ([[maybe_unused]] auto _ : state) {
            for (const Lookup& lookup : keys) {
                benchmark::DoNotOptimize(find(lookup));
            }
        }
    })->Unit(benchmark::kMicrosecond);
}

std::string textOf(const boost::any* value) {
    return value && !value->empty() ? boost::any_cast<std::string>(*value) : std::string();
}

std::string valueOf(const char* variable) {
    const char* value = std::getenv(variable);
    return value ? value : "";
}

/// The preferences, read from the files that another object wrote.
Kym::SystemPreferences preferences() {
    Kym::SystemPreferences written("kym-bench");
    const std::array<std::string, layerCount / 2> directories{
        written.CurrentUser(), written.AnyUser(), valueOf("KYM_COMMONDEPT_DIR") + "/nx4/preferences/",
        valueOf("KYM_BASE_DIR") + "/preferences/"};
    for (std::size_t layer = 0; layer < layerCount; ++layer) {
        const std::string& file = layer % 2 ? written.AnyApplication() : written.CurrentApplication();
        for (std::size_t number = 0; number < keyCount; ++number) {
            if (has(layer, number)) {
                written.SetPreference(join(namesOf(number)), valueOf(layer, number), file,
                                      directories[layer / 2]);
            }
        }
    }
    for (const std::string& directory : directories) {
        boost::filesystem::create_directories(directory);
        written.Flush(directory);
    }
    return Kym::SystemPreferences("kym-bench");
}

std::vector<Dictionary> trees() {
    std::vector<Dictionary> trees(layerCount);
    for (std::size_t layer = 0; layer < layerCount; ++layer) {
        for (std::size_t number = 0; number < keyCount; ++number) {
            if (has(layer, number)) {
                Dictionary* dictionary = &trees[layer];
                const Names names = namesOf(number);
                for (std::size_t i = 0; i < 2; ++i) {
                    boost::any& inner = (*dictionary)[names[i]];
                    if (inner.empty()) {
                        inner = Dictionary();
                    }
                    dictionary = boost::any_cast<Dictionary>(&inner);
                }
                (*dictionary)[names[2]] = valueOf(layer, number);
            }
        }
    }
    return trees;
}

/// A copy of what the first of the trees has at the key.
boost::any walk(const std::vector<Dictionary>& trees, const std::string& key) {
    Names names;
    names.reserve(4);
    for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + 1) {
        end = key.find('/', begin);
        names.emplace_back(key, begin, end - begin);
    }
    for (const Dictionary& tree : trees) {
        const Dictionary* dictionary = &tree;
        for (std::size_t i = 0; dictionary; ++i) {
            const auto found = dictionary->find(names[i]);
            if (found == dictionary->end()) {
                break;
            }
            if (i + 1 == names.size()) {
                return found->second;
            }
            dictionary = boost::any_cast<Dictionary>(&found->second);
        }
    }
    return {};
}

#if defined(KYM_BENCH_KCONFIG)
/// The layers as files of KConfig; the last of its sources counts most, and its own file more than these.
void writeLayers(KConfig& config) {
    QStringList sources;
    for (std::size_t layer = 0; layer < layerCount; ++layer) {
        const QString name = config.name() + (layer == 0 ? QString() : QString::number(layer));
        KConfig other(name, KConfig::SimpleConfig);
        KConfig& file = layer == 0 ? config : other;
        for (std::size_t number = 0; number < keyCount; ++number) {
            if (has(layer, number)) {
                const Names names = namesOf(number);
                file.group(names[0].c_str())
                    .group(names[1].c_str())
                    .writeEntry(names[2].c_str(), QString::fromStdString(valueOf(layer, number)));
            }
        }
        file.sync();
        if (layer != 0) {
            sources.prepend(name);
        }
    }
    config.addConfigSources(sources);
}
#endif

}  // namespace

int main(int argc, char** argv) {
    try {
        Kym::SystemInfo& system = Kym::SystemInformation();
        system.KymApplicationDataDirectoryName = "kym-bench";  // the user's own preferences are left alone
        const std::vector<Lookup> keys = lookups();
        const Kym::SystemPreferences database = preferences();
        boost::filesystem::remove_all(system.applicationDataPath());
        measure(
            "preferences/library", keys,
            [&](const Lookup& lookup) { return database.GetPreference(lookup.key); },
            [](const auto& value) { return textOf(value.get()); });
        const std::vector<Dictionary> maps = trees();
        measure(
            "preferences/maps", keys, [&](const Lookup& lookup) { return walk(maps, lookup.key); },
            [](const boost::any& value) { return textOf(&value); });
#if defined(KYM_BENCH_KCONFIG)
        KConfig config(QString::fromLocal8Bit(std::getenv("KYM_BASE_DIR")) + "/layer",
                       KConfig::CascadeConfig);
        writeLayers(config);
        measure(
            "preferences/kconfig", keys,
            [&](const Lookup& lookup) {
                return config.group(lookup.names[0].c_str())
                    .group(lookup.names[1].c_str())
                    .readEntry(lookup.names[2].c_str(), QString());
            },
            [](const QString& value) { return value.toStdString(); });
#endif
        benchmark::Initialize(&argc, argv);
        benchmark::RunSpecifiedBenchmarks();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << argv[0] << ": " << error.what() << '\n';
        return 1;
    }
}
