// Rules that must hold for every seed and every sequence of inputs.
#include "VantrelCore/Runner.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using namespace vantrel;

namespace {

enum class Input { act, release, duckOn, duckOff, pause, reset, start, frame, oddDelta };

// A random but reproducible stream of player inputs, weighted toward frames.
class InputStream {
public:
    explicit InputStream(uint32_t seed) : m_engine(seed) {}

    Input next() {
        const uint32_t roll = m_engine() % 1000;
        if (roll < 700)
            return Input::frame;
        if (roll < 800)
            return Input::act;
        if (roll < 850)
            return Input::release;
        if (roll < 900)
            return Input::duckOn;
        if (roll < 950)
            return Input::duckOff;
        if (roll < 960)
            return Input::pause;
        if (roll < 965)
            return Input::reset;
        if (roll < 970)
            return Input::start;
        return Input::oddDelta;
    }

    double oddDelta() {
        static const double deltas[] = {0.0,
                                        -0.5,
                                        std::numeric_limits<double>::infinity(),
                                        -std::numeric_limits<double>::infinity(),
                                        std::nan(""),
                                        0.2499,
                                        0.25,
                                        1e-9,
                                        0.0123,
                                        5.0};
        return deltas[m_engine() % std::size(deltas)];
    }

private:
    std::mt19937 m_engine;
};

void apply(Runner& runner, Input input, double delta) {
    switch (input) {
    case Input::act:
        runner.act();
        break;
    case Input::release:
        runner.releaseJump();
        break;
    case Input::duckOn:
        runner.setDucking(true);
        break;
    case Input::duckOff:
        runner.setDucking(false);
        break;
    case Input::pause:
        runner.pause();
        break;
    case Input::reset:
        runner.reset();
        break;
    case Input::start:
        runner.start();
        break;
    case Input::frame:
    case Input::oddDelta:
        runner.advance(delta);
        break;
    }
}

bool allowedTransition(Input input, RunPhase from, RunPhase to) {
    if (from == to && input != Input::reset && input != Input::start) {
        return input != Input::act || from == RunPhase::running;
    }
    switch (input) {
    case Input::act:
        return to == RunPhase::running;
    case Input::pause:
        return from == RunPhase::running && to == RunPhase::paused;
    case Input::reset:
        return to == RunPhase::ready;
    case Input::start:
        return to == RunPhase::running;
    case Input::frame:
    case Input::oddDelta:
        return from == RunPhase::running && (to == RunPhase::paused || to == RunPhase::over);
    default:
        return false;
    }
}

bool finite(const Runner& r) {
    if (!std::isfinite(r.height()) || !std::isfinite(r.velocity()) || !std::isfinite(r.elapsed()) ||
        !std::isfinite(r.distance()) || !std::isfinite(r.resumeGrace()) || !std::isfinite(r.nextGap()) ||
        !std::isfinite(r.jumpBuffer())) {
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

} // namespace

TEST(RunnerProperties, SameSeedSameInputsSameState) {
    for (uint32_t seed = 1; seed <= 20; ++seed) {
        Runner a(seed * 7919ULL);
        Runner b(seed * 7919ULL);
        InputStream inputsA(seed);
        InputStream inputsB(seed);
        for (int i = 0; i < 5000; ++i) {
            const Input input = inputsA.next();
            inputsB.next();
            const double delta = input == Input::oddDelta ? inputsA.oddDelta() : 1.0 / 60;
            if (input == Input::oddDelta) {
                inputsB.oddDelta();
            }
            apply(a, input, delta);
            apply(b, input, delta);
            ASSERT_EQ(a, b) << "seed " << seed << " step " << i;
        }
    }
}

TEST(RunnerProperties, RandomInputsStayFiniteAndFollowThePhaseTable) {
    int64_t framesChecked = 0;
    for (uint32_t seed = 1; seed <= 40; ++seed) {
        Runner runner(seed);
        InputStream inputs(seed + 1000);
        for (int i = 0; i < 20000; ++i) {
            const Input input = inputs.next();
            const double delta = input == Input::oddDelta ? inputs.oddDelta() : 1.0 / 60;
            const RunPhase before = runner.phase();
            apply(runner, input, delta);
            ASSERT_TRUE(allowedTransition(input, before, runner.phase()))
                << "seed " << seed << " step " << i << ": " << toString(before) << " -> "
                << toString(runner.phase());
            ASSERT_TRUE(finite(runner)) << "seed " << seed << " step " << i;
            ASSERT_GE(runner.height(), 0);
            ASSERT_GE(runner.resumeGrace(), 0);
            ++framesChecked;
        }
    }
    EXPECT_EQ(framesChecked, 40 * 20000);
}

TEST(RunnerProperties, IdsConsecutiveAndSpawnsKeepTheirDistance) {
    int64_t spawnsChecked = 0;
    for (uint64_t seed = 1; seed <= 60; ++seed) {
        Runner runner(seed);
        std::mt19937 engine(static_cast<uint32_t>(seed));
        runner.act();
        int64_t lastId = 0;
        for (int frame = 0; frame < 20000 && runner.phase() == RunPhase::running; ++frame) {
            // Jump when the next obstacle comes close, a little late or early at
            // random, so runs last long enough to see many spawns.
            for (const Obstacle& o : runner.obstacles()) {
                const double ahead = o.x - (Runner::dinoX + Runner::dinoWidth);
                if (ahead > -o.width) {
                    if (ahead < runner.speed() * (0.1 + 0.1 * (engine() % 100) / 100.0)) {
                        runner.act();
                    }
                    break;
                }
            }
            const double gapBefore = runner.nextGap();
            const int64_t newestIdBefore = runner.obstacles().empty() ? -1 : runner.obstacles().back().id;
            runner.advance(1.0 / 60);

            const auto& obstacles = runner.obstacles();
            for (std::size_t i = 1; i < obstacles.size(); ++i) {
                ASSERT_EQ(obstacles[i].id, obstacles[i - 1].id + 1);
                ASSERT_LT(obstacles[i - 1].x, obstacles[i].x);
            }
            if (!obstacles.empty() && obstacles.back().id != newestIdBefore && newestIdBefore >= 0) {
                ASSERT_EQ(obstacles.back().id, lastId + 1);
                // All obstacles move together, so the spacing at the spawn is still there.
                ASSERT_GE(obstacles.size(), 2u);
                const double spacing = obstacles.back().x - (obstacles.end() - 2)->x;
                ASSERT_GT(spacing, gapBefore + 24 - 1e-9);
                ++spawnsChecked;
            }
            if (!obstacles.empty()) {
                lastId = obstacles.back().id;
            }
        }
    }
    EXPECT_GT(spawnsChecked, 100);
}
