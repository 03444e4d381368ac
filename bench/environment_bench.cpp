// How long it takes to assemble the environment of an application, beside a plain transcription of the rules,
// and how much that adds to starting a program. scripts/bench sets the place up and prints the ratios.

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/filesystem/operations.hpp>

#include "kym/BaseSettings.h"
#include "kym/ConfigApplication.h"
#include "kym/Configuration.h"
#include "kym/Launcher.h"
#include "kym/PluginsManager.h"
#include "kym/SiteSettings.h"
#include "kym/SystemInfo.h"
#include "kym/WorkDirectory.h"

#include "BenchSite.h"
#include "Transcription.h"

namespace fs = boost::filesystem;
using BenchSite::Variables;

namespace {

std::vector<const char*> processStrings;
constexpr int startCount = 10;

std::string native(fs::path path) {
    return path.make_preferred().string();
}

/// Seven layers of variables: the site, the base, two plugins, a common department, a department, an
/// application.
class Place {
  public:
    Place() : mCommon(department("common")), mConfig(department("department")) {
        mConfig.commonDepartment = "common";
        mConfig.doFileCleanup = false;  // a benchmark removes no files of the machine
        for (const char* plugin : {"plugin_a", "plugin_b"}) {
            const fs::path directory = Kym::SystemInformation().installPath() / "plugins" / plugin;
            fs::create_directories(directory);
            Kym::PluginsManagement().addPlugin(directory);
        }
        Kym::SiteSettings& site = Kym::SiteInformation();
        site.useWindowsRegistry = false;
        site.winNxInstallPath.value = "C:\\nx";
    }

    /// Gives each layer that many variables.
    void setLayerSize(std::size_t count) {
        Kym::PluginsManager& plugins = Kym::PluginsManagement();
        Kym::EnvVariableListSource* lists[] = {Kym::SiteInformation().commonVariables(),
                                               Kym::BaseInformation().commonVariables(),
                                               plugins.plugin(0, false)->commonVariables(),
                                               plugins.plugin(1, false)->commonVariables(),
                                               mCommon.settings()->commonVariables(),
                                               mConfig.settings()->commonVariables(),
                                               mApplication.commonVariables()};
        mInput = Transcription::Input();
        for (std::size_t layer = 0; layer < std::size(lists); ++layer) {
            mInput.layers.push_back(BenchSite::layerVariables(layer, count));
            BenchSite::fill(lists[layer], mInput.layers.back());
        }
        if (byLibrary() != byTranscription()) {
            throw std::runtime_error("the library and the transcription disagree");
        }
    }

    std::map<std::string, std::string> byLibrary() {
        std::map<std::string, std::string> env;
        mLauncher.buildEnvVarMap(mConfig, &mCommon, mApplication, env);
        return env;
    }

    /// Asks the process, the site and the file system for the same things as the library does.
    void askTheSystem() {
        const Kym::SystemInfo& system = Kym::SystemInformation();
        mInput.process.assign(processStrings.begin(), processStrings.end());
        mInput.siteDerived = {{"UGII_BASE_DIR", "C:\\nx"}, {"UGII_ROOT_DIR", "C:\\nx\\ugii\\"}};
        mInput.siteAppended = {{system.CadWebBrowserVariable, Kym::SiteInformation().getWebBrowser()},
                               {"UGII_UGDOC_BASE_DIR", "${UGII_BASE_DIR}/ugdoc"}};
        mInput.addCadLibrariesToPath = true;
        mInput.launcher = {{"KYM_DEPT_DIR", native(mConfig.path())},
                           {"KYM_COMMONDEPT_DIR", native(mConfig.commonConfigPath())},
                           {system.KymConfigPathEnvVarName, native(system.localDepartmentsPath())},
                           {"UG_VER", system.CadVersionDirectory},
                           {"OS", system.osDirectoryName()},
                           {"OSA", system.osaDirectoryName()},
                           {"SCRIPTx", system.scriptExtension()},
                           {"UGII_SITE_DIR", "${KYM_COMMONDEPT_DIR}/${UG_VER}"},
                           {"UGII_GROUP_DIR", "${KYM_DEPT_DIR}/${UG_VER}"}};
        for (const fs::path& directory :
             {mConfig.versionPath(), mConfig.commonConfigVersionPath(), system.installPath()}) {
            if (fs::exists(directory / "symbol" / "symbol_library.txt")) {
                throw std::runtime_error("the place has a symbol library");
            }
        }
    }

    std::map<std::string, std::string> byTranscription() {
        askTheSystem();
        return Transcription::buildEnvironment(mInput);
    }

    void setProgram(const std::string& program) { mApplication.program = program; }
    Kym::LaunchPlan plan() const { return mLauncher.plan(mConfig, &mCommon, mApplication, &mDirectory); }
    void start(const Kym::LaunchPlan& plan) const { mLauncher.launch(plan); }
    void buildAndStart() const { mLauncher.launchApplication(mConfig, &mCommon, mApplication, &mDirectory); }

  private:
    static Kym::Configuration department(const std::string& name) {
        const fs::path directory = Kym::SystemInformation().localDepartmentsPath() / name;
        fs::create_directories(directory);
        return Kym::Configuration(directory, false);
    }

    Kym::Launcher mLauncher;
    Kym::Configuration mCommon;
    Kym::Configuration mConfig;
    Kym::ConfigApplication mApplication;
    Kym::WorkDirectory mDirectory;
    Transcription::Input mInput;
};

/// A launch builds one environment in a young process: throwing it away, and the allocator's tidying up of
/// what an earlier round left, which a large request sets off, are no part of the time. The time is taken
/// here, as a pause of the benchmark asks for the processor's time within it, which under Wine is a question
/// to another process.
template <typename Build>
void measureBuilding(benchmark::State& state, const Build& build) {
    using Clock = std::chrono::steady_clock;
    for ([[maybe_unused]] auto _ : state) {
        const Clock::time_point begin = Clock::now();
        auto env = build();
        benchmark::DoNotOptimize(env);
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - begin).count());
        env.clear();
        benchmark::DoNotOptimize(std::make_unique_for_overwrite<char[]>(std::size_t{1} << 20U));
    }
}

/// Starting a plan that was made before takes turns with making and starting one, and what was started gets
/// time to end, so that neither has to share the machine. The time of the former, in microseconds, is the
/// counter "alone".
void measureStarting(benchmark::State& state, const Place& place) {
    using Clock = std::chrono::steady_clock;
    using Seconds = std::chrono::duration<double>;
    const auto timed = [](const auto& start) {
        const Clock::time_point begin = Clock::now();
        start();
        const Seconds time = Clock::now() - begin;
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        return time;
    };
    const Kym::LaunchPlan plan = place.plan();
    Seconds alone{0};
    for ([[maybe_unused]] auto _ : state) {
        alone += timed([&] { place.start(plan); });
        state.SetIterationTime(timed([&] { place.buildAndStart(); }).count());
    }
    state.counters["alone"] = benchmark::Counter(1e6 * alone.count(), benchmark::Counter::kAvgIterations);
}

}  // namespace

int main(int argc, char** argv, char** envp) {
    for (; *envp; ++envp) {
        processStrings.push_back(*envp);
    }
    try {
        Place place;
        for (const std::size_t perLayer : {50U, 1429U}) {
            const std::string size = std::to_string(perLayer * 7);
            const auto measure = [&](const char* name, std::map<std::string, std::string> (Place::*build)()) {
                benchmark::RegisterBenchmark((name + size).c_str(),
                                             [&place, perLayer, build](benchmark::State& state) {
                                                 place.setLayerSize(perLayer);
                                                 measureBuilding(state, [&] { return (place.*build)(); });
                                             })
                    ->UseManualTime()
                    ->Unit(benchmark::kMicrosecond);
            };
            measure("build/library/", &Place::byLibrary);
            measure("build/transcription/", &Place::byTranscription);
        }
        benchmark::RegisterBenchmark("build/questions", [&](benchmark::State& state) {
            for ([[maybe_unused]] auto _ : state) {
                place.askTheSystem();
            }
        })->Unit(benchmark::kMicrosecond);
        // A program can be started on Windows only; scripts/bench names one there.
        const char* program = std::getenv("KYM_BENCH_PROGRAM");
        if (program && *program) {
            place.setProgram(program);
            benchmark::RegisterBenchmark("start/build_and_start",
                                         [&](benchmark::State& state) {
                                             place.setLayerSize(50);
                                             measureStarting(state, place);
                                         })
                ->UseManualTime()
                ->Unit(benchmark::kMicrosecond)
                ->Iterations(startCount);
        }
        benchmark::AddCustomContext("process_variables", std::to_string(processStrings.size()));
        benchmark::Initialize(&argc, argv);
        benchmark::RunSpecifiedBenchmarks();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << argv[0] << ": " << error.what() << '\n';
        return 1;
    }
}
