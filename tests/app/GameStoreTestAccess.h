#pragma once

#include "RunnerTestAccess.h"

#include "Vantrel/GameStore.h"

#include <optional>

namespace vantrel {

// Puts a store into a prepared state (a run at a given moment, a banner on
// show) without playing up to it. Each setter notifies like the store does.
struct GameStoreTestAccess {
    static void setRunner(GameStore& store, const Runner& runner) {
        store.m_runner = runner;
        store.notifyRunnerChanged();
    }
    static void setAward(GameStore& store, std::optional<ScoreAward> award, double remaining) {
        store.setAward(award);
        store.setAwardRemaining(remaining);
    }
    static void setDuckHintRemaining(GameStore& store, double remaining) {
        store.setDuckHintRemaining(remaining);
    }
    static void setIsNewBest(GameStore& store, bool value) { store.setIsNewBest(value); }
    // A running runner placed `pointsBefore` points short of `score`, with a clear runway.
    static Runner runnerNear(int64_t score, double pointsBefore, uint64_t seed = 3) {
        Runner runner(seed);
        runner.start();
        RunnerTestAccess::clearObstacles(runner);
        RunnerTestAccess::addObstacle(runner, {0, 1e6, 16, 26, false, ObstacleKind::cactus, 0});
        RunnerTestAccess::setDistance(runner, static_cast<double>(score) * 12 - pointsBefore);
        return runner;
    }
    // The frame clock's timer, for its interval and kind.
    static const QTimer& frameTimer(const GameStore& store) { return store.m_timer; }
};

} // namespace vantrel
