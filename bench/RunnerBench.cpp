#include "Replay.h"

#include "VantrelCore/Runner.h"
#include "VantrelCore/ScoreCelebrations.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

using namespace vantrel;

// Counts heap allocations so the benchmarks can report them per iteration.
static std::atomic<long> allocations{0};

// The replacement pair below is matched (malloc/free); GCC cannot see that.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

void* operator new(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size == 0 ? 1 : size)) {
        return p;
    }
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}

namespace {

// A plain jumping policy, good enough to keep a run going through the cactus
// phase so the measurement sees a runway with obstacles on it.
void jumpWhenClose(Runner& runner) {
    for (const Obstacle& o : runner.obstacles()) {
        const double ahead = o.x - (Runner::dinoX + Runner::dinoWidth);
        if (ahead > -o.width) {
            if (ahead < runner.speed() * 0.16 && runner.grounded()) {
                runner.act();
            }
            return;
        }
    }
}

Runner steadyRunner() {
    Runner runner(2024);
    runner.act();
    for (int i = 0; i < 600; ++i) {
        jumpWhenClose(runner);
        runner.advance(1.0 / 60);
        if (runner.phase() != RunPhase::running) {
            runner.act();
        }
    }
    return runner;
}

void BM_RunnerAdvanceFrame(benchmark::State& state) {
    const Runner start = steadyRunner();
    Runner runner = start;
    long restarts = 0;
    std::size_t obstacleSum = 0;
    long frames = 0;
    for (auto _ : state) {
        runner.advance(1.0 / 60);
        benchmark::DoNotOptimize(runner);
        obstacleSum += runner.obstacles().size();
        ++frames;
        if (runner.phase() != RunPhase::running) {
            state.PauseTiming();
            runner = start;
            ++restarts;
            state.ResumeTiming();
        } else {
            jumpWhenClose(runner);
        }
    }
    state.counters["restarts"] = static_cast<double>(restarts);
    state.counters["obstacles"] = frames ? static_cast<double>(obstacleSum) / frames : 0;
}
BENCHMARK(BM_RunnerAdvanceFrame);

void BM_ScoreCelebrationsNoAward(benchmark::State& state) {
    ScoreCelebrations celebrations(10000);
    celebrations.update(99);
    const long before = allocations.load();
    int64_t score = 0;
    for (auto _ : state) {
        auto awards = celebrations.update(score % 99);
        benchmark::DoNotOptimize(awards);
        ++score;
    }
    state.counters["allocs/iter"] = benchmark::Counter(static_cast<double>(allocations.load() - before),
                                                       benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_ScoreCelebrationsNoAward);

// One simulated hour of frames (216,000 at 60 Hz) through the replay driver,
// with a jump every second and a state line every minute.
void BM_ReplayOneHour(benchmark::State& state) {
    std::string script;
    for (int frame = 0; frame < 216000; ++frame) {
        if (frame % 60 == 0) {
            script += "act\n";
        }
        script += "advance 0.016666666666666666\n";
        if (frame % 3600 == 0) {
            script += "state\n";
        }
    }
    for (auto _ : state) {
        std::FILE* in = fmemopen(script.data(), script.size(), "r");
        std::FILE* out = std::fopen("/dev/null", "w");
        const int status = sim::runReplay(in, out, stderr, {});
        std::fclose(in);
        std::fclose(out);
        if (status != 0) {
            state.SkipWithError("replay failed");
        }
    }
    state.SetLabel("216000 frames");
}
BENCHMARK(BM_ReplayOneHour)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
