// The cost of one frame of the game store with every observer connected,
// without drawing, in a long run played well.
#include "Vantrel/Clock.h"
#include "Vantrel/GameStore.h"

#include "VantrelCore/Autopilot.h"

#include <QGuiApplication>
#include <QSettings>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

using namespace vantrel;

namespace {

// Frames of 1/64 s are exact in binary, so the store's clock deltas equal the
// recording's and the store replays the recorded run bit for bit.
constexpr double frame = 1.0 / 64;
constexpr uint64_t seed = 77;
constexpr int recordedFrames = 64 * 600; // ten minutes

// The autopilot's keys for each frame of one run, decided ahead of time so
// the planning is not part of the measurement.
std::vector<Controls> recordRun() {
    Runner runner(seed);
    runner.act();
    Autopilot pilot;
    std::vector<Controls> keys;
    for (int i = 0; i < recordedFrames && runner.phase() == RunPhase::running; ++i) {
        const Controls next = pilot.decide(runner);
        pilot.apply(runner, next);
        keys.push_back(next);
        runner.advance(frame);
    }
    return keys;
}

struct Session {
    QTemporaryDir dir;
    ManualClock clock{1000};
    std::unique_ptr<GameStore> store;
    long notifications = 0;

    Session() {
        store = std::make_unique<GameStore>(
            std::make_unique<QSettings>(dir.filePath("Vantrel.conf"), QSettings::IniFormat), clock, seed);
        // Every observable property gets an observer, as the views and the panel do.
        auto count = [this] { ++notifications; };
        GameStore* s = store.get();
        QObject::connect(s, &GameStore::runnerChanged, count);
        QObject::connect(s, &GameStore::bestChanged, count);
        QObject::connect(s, &GameStore::isNewBestChanged, count);
        QObject::connect(s, &GameStore::awardChanged, count);
        QObject::connect(s, &GameStore::awardRemainingChanged, count);
        QObject::connect(s, &GameStore::duckHintRemainingChanged, count);
        QObject::connect(s, &GameStore::expandedChanged, count);
        QObject::connect(s, &GameStore::peekingChanged, count);
        QObject::connect(s, &GameStore::panelSizeChanged, count);
        QObject::connect(s, &GameStore::soundEnabledChanged, count);
        QObject::connect(s, &GameStore::cuePlayed, count);
        store->act();
    }
};

void BM_GameStoreTick(benchmark::State& state) {
    static const std::vector<Controls> keys = recordRun();
    auto session = std::make_unique<Session>();
    std::size_t index = 0;
    Controls held;
    long notifications = 0;
    long restarts = 0;
    for (auto _ : state) {
        if (index == keys.size() || !session->store->clockRunning()) {
            state.PauseTiming();
            notifications += session->notifications;
            session = std::make_unique<Session>();
            index = 0;
            held = {};
            ++restarts;
            state.ResumeTiming();
        }
        Autopilot::press(*session->store, held, keys[index]);
        held = keys[index++];
        session->clock.advance(frame);
        session->store->runFrame();
    }
    notifications += session->notifications;
    state.counters["recorded frames"] = static_cast<double>(keys.size());
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
