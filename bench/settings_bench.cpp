// How long it takes to load and to save a settings file of 10,000 variables, beside what pugixml needs to
// parse the same file and copy the same strings into records.

#include <iostream>
#include <stdexcept>
#include <string>

#include <benchmark/benchmark.h>
#include <boost/filesystem/operations.hpp>
#include <pugixml.hpp>

#include "kym/BaseSettings.h"
#include "kym/SystemInfo.h"

#include "BenchSite.h"

namespace fs = boost::filesystem;

namespace {

constexpr std::size_t variableCount = 10000;

BenchSite::Variables parseAndCopy(const fs::path& file) {
    pugi::xml_document document;
    if (!document.load_file(file.c_str())) {
        throw std::runtime_error("the settings file does not parse");
    }
    BenchSite::Variables variables;
    for (const pugi::xml_node list : document.document_element().children()) {
        for (const pugi::xml_node item : list.children()) {
            Kym::EnvironmentVariable variable;
            pugi::xml_node member = item.first_child();
            variable.name = member.child_value();
            member = member.next_sibling();
            variable.value = member.child_value();
            member = member.next_sibling();
            variable.comment = member.child_value();
            variables.push_back(std::move(variable));
        }
    }
    return variables;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const fs::path file = Kym::SystemInformation().installPath() / "config" / "baseSettings.dat";
        fs::create_directories(file.parent_path());
        Kym::BaseSettings& settings = Kym::BaseInformation();
        BenchSite::fill(settings.commonVariables(), BenchSite::layerVariables(0, variableCount));
        settings.save();
        if (parseAndCopy(file).size() != variableCount) {
            throw std::runtime_error("the settings file does not hold what was saved");
        }

        benchmark::RegisterBenchmark("settings/load", [&](benchmark::State& state) {
            for ([[maybe_unused]] auto _ : state) {
                settings.load();
            }
        })->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("settings/parse_and_copy", [&](benchmark::State& state) {
            for ([[maybe_unused]] auto _ : state) {
                benchmark::DoNotOptimize(parseAndCopy(file));
            }
        })->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("settings/save", [&](benchmark::State& state) {
            for ([[maybe_unused]] auto _ : state) {
                settings.commonVariables()->setEdited(true);
                settings.save();
            }
        })->Unit(benchmark::kMicrosecond);
        benchmark::AddCustomContext("file_bytes", std::to_string(fs::file_size(file)));
        benchmark::Initialize(&argc, argv);
        benchmark::RunSpecifiedBenchmarks();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << argv[0] << ": " << error.what() << '\n';
        return 1;
    }
}
