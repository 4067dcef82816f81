// The cost of one frame of the game store with observers connected, without drawing.
#include "Vantrel/Clock.h"
#include "Vantrel/GameStore.h"

#include <QGuiApplication>
#include <QSettings>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace vantrel;

namespace {

// Jumps when the next obstacle comes close, so runs last through many frames.
void jumpWhenClose(GameStore& store) {
    const Runner& runner = store.runner();
    for (const Obstacle& o : runner.obstacles()) {
        const double ahead = o.x - (Runner::dinoX + Runner::dinoWidth);
        if (ahead > -o.width) {
            if (ahead < runner.speed() * 0.16 && runner.grounded()) {
                store.act();
                store.releaseJump();
            }
            return;
        }
    }
}

void BM_GameStoreTick(benchmark::State& state) {
    QTemporaryDir dir;
    ManualClock clock;
    GameStore store(std::make_unique<QSettings>(dir.filePath("Vantrel.conf"), QSettings::IniFormat), clock,
                    77);
    long notifications = 0;
    // Every observable property gets an observer, as the views and the panel do.
    auto count = [&notifications] { ++notifications; };
    QObject::connect(&store, &GameStore::runnerChanged, count);
    QObject::connect(&store, &GameStore::bestChanged, count);
    QObject::connect(&store, &GameStore::isNewBestChanged, count);
    QObject::connect(&store, &GameStore::awardChanged, count);
    QObject::connect(&store, &GameStore::awardRemainingChanged, count);
    QObject::connect(&store, &GameStore::duckHintRemainingChanged, count);
    QObject::connect(&store, &GameStore::expandedChanged, count);
    QObject::connect(&store, &GameStore::peekingChanged, count);
    QObject::connect(&store, &GameStore::panelSizeChanged, count);
    QObject::connect(&store, &GameStore::soundEnabledChanged, count);
    QObject::connect(&store, &GameStore::cuePlayed, count);
    store.act();
    long restarts = 0;
    for (auto _ : state) {
        clock.advance(1.0 / 60);
        store.runFrame();
        if (!store.clockRunning()) {
            state.PauseTiming();
            store.act(); // a crash: start again outside the measurement
            ++restarts;
            state.ResumeTiming();
        } else {
            jumpWhenClose(store);
        }
    }
    state.counters["restarts"] = static_cast<double>(restarts);
    state.counters["notifications/frame"] =
        benchmark::Counter(static_cast<double>(notifications), benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_GameStoreTick);

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
