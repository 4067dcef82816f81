// Long runs, played by the autopilot or by random keys, checked frame by frame
// against rules that must hold however long a run lasts.
#include "VantrelCore/Autopilot.h"
#include "VantrelCore/Runner.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

using namespace vantrel;

namespace {

constexpr double frame = Autopilot::frameTime;

bool finite(const Runner& r) {
    if (!std::isfinite(r.height()) || !std::isfinite(r.velocity()) || !std::isfinite(r.elapsed()) ||
        !std::isfinite(r.distance()) || !std::isfinite(r.resumeGrace())) {
        return false;
    }
    for (const Obstacle& o : r.obstacles()) {
        if (!std::isfinite(o.x) || !std::isfinite(o.width) || !std::isfinite(o.height) ||
            !std::isfinite(o.elevation)) {
            return false;
        }
    }
    return true;
}

// The state rules on their own: empty string when they hold, else what broke.
std::string brokenRule(const Runner& r) {
    if (!finite(r)) {
        return "a value is not finite";
    }
    if (r.height() < 0) {
        return "below the ground";
    }
    const auto& obstacles = r.obstacles();
    for (std::size_t i = 1; i < obstacles.size(); ++i) {
        if (obstacles[i].id != obstacles[i - 1].id + 1) {
            return "ids not consecutive";
        }
        if (!(obstacles[i - 1].x < obstacles[i].x)) {
            return "obstacles not ordered by x";
        }
    }
    for (const Obstacle& o : obstacles) {
        if (o.x + o.width < -20 || o.x > r.worldWidth() + 24) {
            return "obstacle outside the runway";
        }
    }
    return {};
}

// Rules between two consecutive states of one run (no start or reset between).
std::string brokenProgress(const Runner& before, const Runner& after) {
    if (after.score() < before.score()) {
        return "score went down";
    }
    if (after.distance() < before.distance() || after.elapsed() < before.elapsed()) {
        return "time or distance went back";
    }
    if (after.jumps() < before.jumps() || after.flyersSpawned() < before.flyersSpawned()) {
        return "a counter went down";
    }
    if (!before.obstacles().empty() && !after.obstacles().empty() &&
        after.obstacles().back().id < before.obstacles().back().id) {
        return "the newest obstacle got older";
    }
    return {};
}

} // namespace

// Ten minutes of game time for each of a few seeds, at full speed for most of it.
TEST(LongRun, AutopilotRunsKeepEveryRule) {
    for (const uint64_t seed : {21u, 22u, 23u}) {
        Runner runner(seed);
        Autopilot pilot;
        pilot.apply(runner, {true, false});
        int64_t frames = 0;
        for (; frames < 36000 && runner.phase() == RunPhase::running; ++frames) {
            const Runner before = runner;
            pilot.apply(runner, pilot.decide(runner));
            runner.advance(frame);
            ASSERT_EQ(brokenRule(runner), "") << "seed " << seed << " frame " << frames;
            ASSERT_EQ(brokenProgress(before, runner), "") << "seed " << seed << " frame " << frames;
            ASSERT_TRUE(runner.phase() == RunPhase::running || runner.phase() == RunPhase::over);
        }
        EXPECT_EQ(runner.phase(), RunPhase::running)
            << "seed " << seed << " crashed after " << runner.elapsed() << " s";
        EXPECT_EQ(frames, 36000);
        EXPECT_NEAR(runner.elapsed(), 600, 1e-6);
        EXPECT_EQ(runner.speed(), Runner::maximumSpeed);
        EXPECT_GT(runner.flyersSpawned(), 50);
        EXPECT_GT(runner.jumps(), 300);
    }
}

// Random keys and clock trouble: the rules hold in every phase, and a phase
// only changes the way the phase table allows.
TEST(LongRun, RandomKeysKeepEveryRule) {
    enum class Key { act, release, downOn, downOff, pause, reset, start, frame, longFrame };
    int64_t runsSeen = 0;
    for (const uint32_t seed : {5u, 6u}) {
        Runner runner(seed);
        std::mt19937 engine(seed);
        for (int i = 0; i < 150000; ++i) {
            const uint32_t roll = engine() % 1000;
            const Key key = roll < 900   ? Key::frame
                            : roll < 950 ? Key::act
                            : roll < 965 ? Key::release
                            : roll < 975 ? Key::downOn
                            : roll < 985 ? Key::downOff
                            : roll < 988 ? Key::pause
                            : roll < 990 ? Key::reset
                            : roll < 992 ? Key::start
                                         : Key::longFrame;
            const Runner before = runner;
            switch (key) {
            case Key::act:
                runner.act();
                break;
            case Key::release:
                runner.releaseJump();
                break;
            case Key::downOn:
                runner.setDucking(true);
                break;
            case Key::downOff:
                runner.setDucking(false);
                break;
            case Key::pause:
                runner.pause();
                break;
            case Key::reset:
                runner.reset();
                break;
            case Key::start:
                runner.start();
                break;
            case Key::frame:
                runner.advance(frame);
                break;
            case Key::longFrame:
                runner.advance(0.3); // a stall: pauses a running run
                break;
            }
            ASSERT_EQ(brokenRule(runner), "") << "seed " << seed << " step " << i;

            const RunPhase from = before.phase();
            const RunPhase to = runner.phase();
            const bool newRun = key == Key::reset || key == Key::start ||
                                (key == Key::act && (from == RunPhase::ready || from == RunPhase::over));
            if (newRun) {
                ++runsSeen;
                ASSERT_EQ(to, key == Key::reset ? RunPhase::ready : RunPhase::running);
                continue;
            }
            ASSERT_EQ(brokenProgress(before, runner), "") << "seed " << seed << " step " << i;
            bool allowed = from == to;
            if (key == Key::act) {
                allowed = to == RunPhase::running; // a resume, or a jump in a running run
            } else if (key == Key::pause || key == Key::longFrame) {
                allowed = from == RunPhase::running ? to == RunPhase::paused : to == from;
            } else if (key == Key::frame && from == RunPhase::running) {
                allowed = to == RunPhase::running || to == RunPhase::over;
            }
            ASSERT_TRUE(allowed) << "seed " << seed << " step " << i << ": " << toString(from) << " -> "
                                 << toString(to);
            if (to == RunPhase::over && from == RunPhase::running) {
                ASSERT_NE(Autopilot::obstacleHit(runner), nullptr) << "a crash needs something to hit";
            }
        }
    }
    EXPECT_GT(runsSeen, 100);
}
