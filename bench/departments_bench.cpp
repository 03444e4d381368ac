// How long it takes to find 10 and 5,000 departments, beside what the system needs to read their directory
// and to open, read and close the property file of each.

#include <cstdio>
#include <iostream>
#include <stdexcept>
#include <string>

#include <benchmark/benchmark.h>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

#include "kym/Configuration.h"
#include "kym/ConfigurationManager.h"
#include "kym/SystemInfo.h"

namespace fs = boost::filesystem;

namespace {

const fs::path& place() {
    return Kym::SystemInformation().localDepartmentsPath();
}

void makeDepartments(int first, int end) {
    for (int number = first; number < end; ++number) {
        Kym::Configuration department(place() / ("department" + std::to_string(100000 + number)), false);
        fs::create_directory(department.path());
        department.description = "Design of part family " + std::to_string(number);
        department.save();
    }
}

void findDepartments(benchmark::State& state, int count) {
    for ([[maybe_unused]] auto _ : state) {
        if (Kym::ConfigurationManager().numberOfRowsInList() != count) {
            throw std::runtime_error("not all departments were found");
        }
    }
}

/// The size of what the departments' property files hold.
std::size_t readPropertyFiles() {
    std::size_t size = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(place())) {
        std::FILE* file = std::fopen((entry.path() / ".dirinfo.plist").string().c_str(), "rb");
        if (!file) {
            throw std::runtime_error("a property file cannot be read");
        }
        char content[4096];
        std::setvbuf(file, nullptr, _IONBF, 0);
        size += std::fread(content, 1, sizeof content, file);
        std::fclose(file);
    }
    return size;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        int made = 0;
        for (const int count : {10, 5000}) {
            const std::string size = std::to_string(count);
            benchmark::RegisterBenchmark(("departments/find/" + size).c_str(), [&made, count](
                                                                                   benchmark::State& state) {
                makeDepartments(made, count);
                made = count;
                findDepartments(state, count);
            })->Unit(benchmark::kMicrosecond);
            benchmark::RegisterBenchmark(("departments/read/" + size).c_str(), [](benchmark::State& state) {
                for ([[maybe_unused]] auto _ : state) {
                    benchmark::DoNotOptimize(readPropertyFiles());
                }
            })->Unit(benchmark::kMicrosecond);
        }
        benchmark::Initialize(&argc, argv);
        benchmark::RunSpecifiedBenchmarks();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << argv[0] << ": " << error.what() << '\n';
        return 1;
    }
}
