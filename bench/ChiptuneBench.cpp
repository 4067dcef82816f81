#include "VantrelCore/ArcadeCue.h"
#include "VantrelCore/Chiptune.h"

#include <benchmark/benchmark.h>

using namespace vantrel;

namespace {

// What the audio layer pays the first time each cue is played: render and wrap in WAV.
void BM_RenderAllCuesToWav(benchmark::State& state) {
    std::size_t bytes = 0;
    for (auto _ : state) {
        for (ArcadeCue cue : allArcadeCues) {
            auto wav = Chiptune::waveData(cue);
            bytes += wav.size();
            benchmark::DoNotOptimize(wav);
        }
    }
    state.SetLabel("jump, duck, milestone, record, crash");
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
}
BENCHMARK(BM_RenderAllCuesToWav)->Unit(benchmark::kMillisecond);

void BM_RenderCue(benchmark::State& state) {
    const ArcadeCue cue = allArcadeCues[static_cast<std::size_t>(state.range(0))];
    for (auto _ : state) {
        auto samples = Chiptune::samples(cue);
        benchmark::DoNotOptimize(samples);
    }
    state.SetLabel(std::string(toString(cue)));
}
BENCHMARK(BM_RenderCue)->DenseRange(0, 4)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
