// The autopilot's cost: whole demonstration runs, as `vantrel-sim bot` plays them.
#include "VantrelCore/Autopilot.h"
#include "VantrelCore/Runner.h"

#include <benchmark/benchmark.h>

#include <cstdint>

using namespace vantrel;

namespace {

// One run of state.range(0) seconds of game time per iteration, seeds 1, 2, 3, ...
void BM_AutopilotRun(benchmark::State& state) {
    const int64_t frames = state.range(0) * 60;
    uint64_t seed = 0;
    int64_t framesPlayed = 0;
    std::size_t plans = 0;
    std::size_t simulated = 0;
    int64_t crashes = 0;
    for (auto _ : state) {
        Runner runner(++seed);
        Autopilot pilot;
        pilot.apply(runner, {true, false});
        for (int64_t i = 0; i < frames && runner.phase() == RunPhase::running; ++i) {
            pilot.apply(runner, pilot.decide(runner));
            runner.advance(Autopilot::frameTime);
            ++framesPlayed;
        }
        crashes += runner.phase() == RunPhase::running ? 0 : 1;
        plans += pilot.plansMade();
        simulated += pilot.framesSimulated();
        benchmark::DoNotOptimize(runner);
    }
    state.counters["crashes"] = static_cast<double>(crashes);
    state.counters["frame"] = benchmark::Counter(static_cast<double>(framesPlayed),
                                                 benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["plans/run"] =
        benchmark::Counter(static_cast<double>(plans), benchmark::Counter::kAvgIterations);
    state.counters["simulated/frame"] =
        framesPlayed ? static_cast<double>(simulated) / static_cast<double>(framesPlayed) : 0;
}
BENCHMARK(BM_AutopilotRun)->Arg(600)->Unit(benchmark::kMillisecond);

} // namespace
