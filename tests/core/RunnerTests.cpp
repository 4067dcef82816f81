#include "RunnerTestAccess.h"
#include "VantrelCore/Runner.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace vantrel;

namespace {

using Access = RunnerTestAccess;

// A running runner with the opening cactus removed, so nothing can end it.
Runner clearRunway(uint64_t seed = 5) {
    Runner runner(seed);
    runner.start();
    Access::clearObstacles(runner);
    Access::addObstacle(runner, {0, 1e9, 16, 26, false, ObstacleKind::cactus, 0});
    return runner;
}

// Advances one frame at a time until the predicate holds; fails after `limit` frames.
template <typename Predicate> void advanceUntil(Runner& runner, Predicate done, int limit = 1000) {
    for (int i = 0; i < limit && !done(runner); ++i) {
        runner.advance(1.0 / 120);
    }
    ASSERT_TRUE(done(runner)) << "condition not reached";
}

} // namespace

TEST(Runner, InitialState) {
    const Runner runner(9);
    EXPECT_EQ(runner.phase(), RunPhase::ready);
    EXPECT_EQ(runner.height(), 0);
    EXPECT_EQ(runner.velocity(), 0);
    EXPECT_TRUE(runner.obstacles().empty());
    EXPECT_EQ(runner.jumps(), 0);
    EXPECT_EQ(runner.worldWidth(), 440);
    EXPECT_EQ(runner.nextID(), 1);
    EXPECT_EQ(runner.nextGap(), 250);
    EXPECT_EQ(runner.jumpBuffer(), 0);
    EXPECT_FALSE(runner.jumpReleased());
    EXPECT_EQ(runner.consecutiveFlyers(), 0);
}

TEST(Runner, SeedZeroBecomesOne) {
    EXPECT_EQ(Runner(0).randomState(), 1u);
    EXPECT_EQ(Runner(7).randomState(), 7u);
}

TEST(Runner, ActInReadyStartsAndJumps) {
    Runner runner(1);
    runner.act();
    EXPECT_EQ(runner.phase(), RunPhase::running);
    EXPECT_EQ(runner.jumps(), 1);
    EXPECT_EQ(runner.velocity(), 402);
    ASSERT_EQ(runner.obstacles().size(), 1u);
    const Obstacle& cactus = runner.obstacles()[0];
    EXPECT_EQ(cactus.id, 0);
    EXPECT_EQ(cactus.x, 452);
    EXPECT_EQ(cactus.width, 16);
    EXPECT_EQ(cactus.height, 26);
    EXPECT_FALSE(cactus.clustered);
    EXPECT_EQ(cactus.kind, ObstacleKind::cactus);
    EXPECT_EQ(cactus.elevation, 0);
}

TEST(Runner, OpeningCactusFollowsWorldWidth) {
    Runner runner(1);
    runner.setWorldWidth(600);
    runner.act();
    EXPECT_EQ(runner.obstacles()[0].x, 612);
    runner.reset();
    EXPECT_EQ(runner.worldWidth(), 600);
}

TEST(Runner, ActInPausedResumesWithGraceAndNoJump) {
    Runner runner = clearRunway();
    runner.pause();
    ASSERT_EQ(runner.phase(), RunPhase::paused);
    const int64_t jumps = runner.jumps();
    runner.act();
    EXPECT_EQ(runner.phase(), RunPhase::running);
    EXPECT_EQ(runner.resumeGrace(), 0.65);
    EXPECT_EQ(runner.jumps(), jumps);

    const Runner before = runner;
    runner.act(); // ignored during the grace
    EXPECT_EQ(runner, before);
}

TEST(Runner, AdvanceDuringGraceOnlyReducesIt) {
    Runner runner = clearRunway();
    runner.pause();
    runner.act();
    const Runner before = runner;
    runner.advance(0.1);

    // The grace shrinks sub-step by sub-step, the same way the runner does it.
    double expected = 0.65;
    double remaining = 0.1;
    do {
        const double h = std::min(remaining, 1.0 / 120);
        expected = std::max(expected - h, 0.0);
        remaining -= h;
    } while (remaining > 0);
    EXPECT_EQ(runner.resumeGrace(), expected);
    EXPECT_NEAR(runner.resumeGrace(), 0.55, 1e-12);

    EXPECT_EQ(runner.elapsed(), before.elapsed());
    EXPECT_EQ(runner.distance(), before.distance());
    EXPECT_EQ(runner.height(), before.height());
    EXPECT_EQ(runner.obstacles(), before.obstacles());
}

TEST(Runner, ActInAirBuffersTheJump) {
    Runner runner = clearRunway();
    runner.act();
    runner.advance(1.0 / 60);
    ASSERT_GT(runner.height(), 0);
    runner.act();
    EXPECT_EQ(runner.jumpBuffer(), 0.09);
    EXPECT_EQ(runner.jumps(), 1);
    EXPECT_GT(runner.velocity(), 0);
}

TEST(Runner, BufferedJumpTakesOffOnLanding) {
    Runner runner = clearRunway();
    runner.act();
    // Wait until landing is less than 0.09 s away: falling, and low.
    advanceUntil(runner, [](const Runner& r) { return r.velocity() < 0 && r.height() < 12; });
    runner.act();
    ASSERT_EQ(runner.jumps(), 1);
    int64_t restingSteps = 0;
    for (int i = 0; i < 20 && runner.jumps() == 1; ++i) {
        runner.advance(1.0 / 120);
        restingSteps += runner.grounded() && runner.velocity() == 0 ? 1 : 0;
    }
    EXPECT_EQ(runner.jumps(), 2);
    // The take-off happens in the landing sub-step itself: the runner never rests on the ground.
    EXPECT_EQ(restingSteps, 0);
    EXPECT_EQ(runner.height(), 0);
    EXPECT_EQ(runner.velocity(), 402);
    EXPECT_EQ(runner.jumpBuffer(), 0);
}

TEST(Runner, BufferedJumpExpires) {
    Runner runner = clearRunway();
    runner.act();
    runner.advance(1.0 / 60);
    runner.act(); // far from landing: the buffer runs out first
    advanceUntil(runner, [](const Runner& r) { return r.grounded(); });
    EXPECT_EQ(runner.jumps(), 1);
}

TEST(Runner, BufferedJumpNotTakenWhileDownHeld) {
    Runner runner = clearRunway();
    runner.act();
    advanceUntil(runner, [](const Runner& r) { return r.velocity() < 0 && r.height() < 5; });
    runner.act();
    ASSERT_GT(runner.jumpBuffer(), 0);
    // Holding down clears the buffer at once.
    runner.setDucking(true);
    EXPECT_EQ(runner.jumpBuffer(), 0);
    advanceUntil(runner, [](const Runner& r) { return r.grounded(); });
    EXPECT_EQ(runner.jumps(), 1);
}

TEST(Runner, ActWhileDownHeldDoesNothing) {
    Runner runner = clearRunway();
    runner.setDucking(true);
    const Runner before = runner;
    runner.act();
    EXPECT_EQ(runner, before);
}

TEST(Runner, LongDeltasPauseWithoutMoving) {
    for (double delta : {0.25, 1.0, 3600.0}) {
        Runner runner = clearRunway();
        runner.setDucking(true);
        const Runner before = runner;
        runner.advance(delta);
        EXPECT_EQ(runner.phase(), RunPhase::paused) << delta;
        EXPECT_EQ(runner.distance(), before.distance());
        EXPECT_EQ(runner.elapsed(), before.elapsed());
        EXPECT_EQ(runner.obstacles(), before.obstacles());
        EXPECT_FALSE(runner.downHeld());
    }
    Runner runner = clearRunway();
    runner.advance(0.2499);
    EXPECT_EQ(runner.phase(), RunPhase::running);
    EXPECT_GT(runner.distance(), 0);
    EXPECT_NEAR(runner.elapsed(), 0.2499, 1e-12);
}

TEST(Runner, InvalidDeltasChangeNothing) {
    const double inf = std::numeric_limits<double>::infinity();
    for (double delta : {0.0, -0.0, -1.0 / 60, -inf, inf, std::nan("")}) {
        Runner runner = clearRunway();
        runner.act();
        const Runner before = runner;
        runner.advance(delta);
        EXPECT_EQ(runner, before) << delta;
    }
}

TEST(Runner, AdvanceOutsideRunningDoesNothing) {
    Runner ready(3);
    const Runner before = ready;
    ready.advance(1.0 / 60);
    EXPECT_EQ(ready, before);

    Runner paused = clearRunway();
    paused.pause();
    const Runner pausedBefore = paused;
    paused.advance(1.0 / 60);
    EXPECT_EQ(paused, pausedBefore);
}

TEST(Runner, AdvanceSplitsIntoSubSteps) {
    // A 0.01 s frame is one 1/120 s sub-step and one of the remainder.
    Runner whole = clearRunway();
    Runner split = whole;
    whole.act();
    split.act();
    whole.advance(0.01);
    split.advance(1.0 / 120);
    split.advance(0.01 - 1.0 / 120);
    EXPECT_EQ(whole, split);

    // A 1/60 s frame is exactly two sub-steps.
    Runner frame = clearRunway();
    Runner halves = frame;
    frame.advance(1.0 / 60);
    halves.advance(1.0 / 120);
    halves.advance(1.0 / 120);
    EXPECT_EQ(frame, halves);
}

TEST(Runner, DuckInAirStartsFastFall) {
    Runner runner = clearRunway();
    runner.act();
    Access::setHeight(runner, 20);
    Access::setVelocity(runner, 300);
    runner.setDucking(true);
    EXPECT_EQ(runner.velocity(), -240);

    Access::setVelocity(runner, -500);
    runner.setDucking(true);
    EXPECT_EQ(runner.velocity(), -500);
}

TEST(Runner, DownHeldTriplesGravityInTheAir) {
    Runner normal = clearRunway();
    normal.act();
    Runner held = normal;
    Access::setHeight(normal, 40);
    Access::setHeight(held, 40);
    Access::setVelocity(normal, -240);
    Access::setVelocity(held, -240);
    held.setDucking(true);
    normal.advance(1.0 / 120);
    held.advance(1.0 / 120);
    const double dt = 1.0 / 120;
    EXPECT_EQ(normal.velocity(), -240 - 1620 * dt);
    EXPECT_EQ(held.velocity(), -240 - 4860 * dt);
    EXPECT_LT(held.height(), normal.height());
}

TEST(Runner, DuckingOutsideRunningLeavesDownReleased) {
    Runner ready(2);
    ready.setDucking(true);
    EXPECT_FALSE(ready.downHeld());

    Runner paused = clearRunway();
    paused.pause();
    paused.setDucking(true);
    EXPECT_FALSE(paused.downHeld());

    Runner over(2);
    over.act();
    advanceUntil(
        over, [](const Runner& r) { return r.phase() == RunPhase::over; }, 20000);
    over.setDucking(true);
    EXPECT_FALSE(over.downHeld());
}

TEST(Runner, SpeedScoreAndLevelRules) {
    EXPECT_EQ(Runner::speedAt(0), 190);
    EXPECT_EQ(Runner::speedAt(10), 216);
    EXPECT_LT(Runner::speedAt(111.5), 480);
    EXPECT_EQ(Runner::speedAt(290 / 2.6), 480);
    EXPECT_EQ(Runner::speedAt(111.54), 480);
    EXPECT_EQ(Runner::speedAt(1e6), 480);

    EXPECT_EQ(Runner::speedLevelAt(0), 1);
    EXPECT_EQ(Runner::speedLevelAt(21.99), 1);
    EXPECT_EQ(Runner::speedLevelAt(22), 2);
    EXPECT_EQ(Runner::speedLevelAt(44), 3);
    EXPECT_EQ(Runner::speedLevelAt(66), 4);
    EXPECT_EQ(Runner::speedLevelAt(88), 5);
    EXPECT_EQ(Runner::speedLevelAt(500), 5);

    EXPECT_EQ(Runner::difficultyAt(55), 0.5);
    EXPECT_EQ(Runner::difficultyAt(1000), 1);

    EXPECT_EQ(Runner::scoreFor(11.99), 0);
    EXPECT_EQ(Runner::scoreFor(12), 1);
    EXPECT_EQ(Runner::scoreFor(1200), 100);

    Runner runner = clearRunway();
    Access::setElapsed(runner, 10);
    Access::setDistance(runner, 24);
    EXPECT_EQ(runner.speed(), 216);
    EXPECT_EQ(runner.score(), 2);
}

TEST(RunnerDeathTest, UnrepresentableScoreAborts) {
    Runner runner = clearRunway();
    Access::setDistance(runner, 1e300);
    EXPECT_DEATH((void)runner.score(), "");
}

TEST(Runner, HeldJumpPeaksNearFiftyAndReleasedJumpIsCut) {
    Runner held = clearRunway();
    held.act();
    Runner released = held;
    released.releaseJump();
    double heldPeak = 0;
    double releasedPeak = 0;
    for (int i = 0; i < 120; ++i) {
        held.advance(1.0 / 120);
        released.advance(1.0 / 120);
        heldPeak = std::max(heldPeak, held.height());
        releasedPeak = std::max(releasedPeak, released.height());
    }
    EXPECT_NEAR(heldPeak, 49.9, 0.3);
    EXPECT_GT(releasedPeak, 30);
    EXPECT_LT(releasedPeak, heldPeak - 5);
    EXPECT_TRUE(held.grounded());
    EXPECT_EQ(held.jumps(), 1);
}

TEST(Runner, JumpCutCapsUpwardSpeedAboveThirtyPoints) {
    Runner runner = clearRunway();
    runner.act();
    Access::setHeight(runner, 30);
    Access::setVelocity(runner, 300);
    runner.releaseJump();
    runner.advance(1.0 / 120);
    EXPECT_EQ(runner.velocity(), 170 - 1620.0 / 120);
}

TEST(Runner, PauseReleasesDownAndClearsBufferInEveryPhase) {
    Runner runner = clearRunway();
    runner.act();
    runner.advance(1.0 / 60);
    runner.act();
    runner.setDucking(false);
    ASSERT_GT(runner.jumpBuffer(), 0);
    runner.pause();
    EXPECT_EQ(runner.phase(), RunPhase::paused);
    EXPECT_EQ(runner.jumpBuffer(), 0);
    EXPECT_FALSE(runner.downHeld());

    Runner ready(4);
    ready.pause();
    EXPECT_EQ(ready.phase(), RunPhase::ready);
}

TEST(Runner, CrashFreezesTheRun) {
    Runner runner(11);
    runner.act();
    // Never jump again: the opening cactus ends the run.
    advanceUntil(
        runner, [](const Runner& r) { return r.phase() == RunPhase::over; }, 5000);
    const Runner atCrash = runner;
    runner.advance(1.0 / 60);
    runner.setDucking(true);
    EXPECT_EQ(runner, atCrash);
    EXPECT_FALSE(runner.obstacles().empty());

    runner.act(); // a new run, with a jump
    EXPECT_EQ(runner.phase(), RunPhase::running);
    EXPECT_EQ(runner.jumps(), 1);
    EXPECT_EQ(runner.distance(), 0);
    ASSERT_EQ(runner.obstacles().size(), 1u);
    EXPECT_EQ(runner.obstacles()[0].id, 0);
}

TEST(Runner, ResetKeepsGeneratorAndWidth) {
    Runner runner(42);
    runner.setWorldWidth(500);
    runner.act();
    runner.advance(1.0 / 60);
    const uint64_t state = runner.randomState();
    runner.reset();
    EXPECT_EQ(runner.phase(), RunPhase::ready);
    EXPECT_TRUE(runner.obstacles().empty());
    EXPECT_EQ(runner.randomState(), state);
    EXPECT_EQ(runner.worldWidth(), 500);
    EXPECT_EQ(runner.distance(), 0);
    EXPECT_EQ(runner.jumps(), 0);
    EXPECT_EQ(runner.nextID(), 1);
    EXPECT_EQ(runner.nextGap(), 250);
}

TEST(Runner, GeneratorMatchesTheFormula) {
    Runner runner(123);
    uint64_t state = 123;
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(Access::nextRandom(runner), drawFrom(state));
    }
    EXPECT_EQ(runner.randomState(), state);
    // Both ends are reachable: the largest shifted value gives exactly 1.
    EXPECT_EQ(static_cast<double>((~0ULL) >> 33) / 2147483647.0, 1.0);
}

// --- Spawning ---------------------------------------------------------------

namespace {

Runner runnerAtScore(int64_t score, uint64_t state, double elapsed = 0) {
    Runner runner = clearRunway();
    Access::clearObstacles(runner);
    Access::setDistance(runner, static_cast<double>(score) * 12);
    Access::setElapsed(runner, elapsed);
    Access::setRandomState(runner, state);
    return runner;
}

} // namespace

TEST(RunnerSpawn, BelowHundredOnlySingleCacti) {
    for (uint64_t state = 1; state < 3000; state += 7) {
        for (int64_t score : {0, 50, 99}) {
            Runner runner = runnerAtScore(score, state);
            uint64_t expected = state;
            const double u = drawFrom(expected);
            Access::spawn(runner);
            ASSERT_EQ(runner.obstacles().size(), 1u);
            const Obstacle& o = runner.obstacles().back();
            EXPECT_EQ(o.kind, ObstacleKind::cactus);
            EXPECT_FALSE(o.clustered);
            EXPECT_EQ(o.width, 16);
            EXPECT_EQ(o.height, u < 0.4 ? 23 : 29);
            EXPECT_EQ(o.elevation, 0);
            EXPECT_EQ(o.x, 440 + 24);
        }
    }
}

TEST(RunnerSpawn, NoTripleBelowSixHundred) {
    int clusters = 0;
    int triples = 0;
    for (uint64_t state = 1; state < 4000; state += 3) {
        for (int64_t score : {100, 240, 599}) {
            Runner runner = runnerAtScore(score, state);
            Access::spawn(runner);
            const Obstacle& o = runner.obstacles().back();
            if (o.clustered) {
                ++clusters;
                EXPECT_EQ(o.width, 30);
                EXPECT_EQ(o.height, 29);
            }
        }
        Runner late = runnerAtScore(600, state);
        Access::spawn(late); // the certain first flyer of the run
        uint64_t expected = late.randomState();
        const double u = drawFrom(expected);
        Access::spawn(late);
        const Obstacle& o = late.obstacles().back();
        if (o.kind == ObstacleKind::cactus && o.width == 44) {
            ++triples;
            EXPECT_GT(u, 0.84);
            EXPECT_TRUE(o.clustered);
        }
    }
    EXPECT_GT(clusters, 0);
    EXPECT_GT(triples, 0);
}

TEST(RunnerSpawn, FirstFlyerIsCertainAtMiddleHeight) {
    for (uint64_t state = 1; state < 500; ++state) {
        Runner runner = runnerAtScore(250, state);
        uint64_t expected = state;
        drawFrom(expected); // kind
        drawFrom(expected); // gap: no elevation draw for the first flyer
        Access::spawn(runner);
        const Obstacle& o = runner.obstacles().back();
        EXPECT_EQ(o.kind, ObstacleKind::pterodactyl);
        EXPECT_EQ(o.elevation, 24);
        EXPECT_EQ(o.width, 36);
        EXPECT_EQ(o.height, 22);
        EXPECT_EQ(runner.flyersSpawned(), 1);
        EXPECT_EQ(runner.randomState(), expected);
    }
    Runner early = runnerAtScore(249, 77);
    Access::spawn(early);
    EXPECT_EQ(early.obstacles().back().kind, ObstacleKind::cactus);
}

TEST(RunnerSpawn, NeverThreeFlyersInARow) {
    int cappedSpawns = 0;
    for (uint64_t state = 1; state < 300; ++state) {
        Runner runner = runnerAtScore(400, state, 200);
        for (int i = 0; i < 40; ++i) {
            const bool twoInARow = runner.consecutiveFlyers() == 2;
            Access::spawn(runner);
            if (twoInARow) {
                ++cappedSpawns;
                EXPECT_EQ(runner.obstacles().back().kind, ObstacleKind::cactus);
                EXPECT_EQ(runner.consecutiveFlyers(), 0);
            }
        }
    }
    EXPECT_GT(cappedSpawns, 0);
}

TEST(RunnerSpawn, FlyerChanceAndElevationFollowTheDraws) {
    int seen[3] = {0, 0, 0};
    for (uint64_t state = 1; state < 3000; ++state) {
        Runner runner = runnerAtScore(300, state, 55);
        Access::spawn(runner); // the certain first flyer
        Access::clearObstacles(runner);
        if (runner.consecutiveFlyers() != 1) {
            continue;
        }
        uint64_t expected = runner.randomState();
        const double u = drawFrom(expected);
        Access::spawn(runner);
        const Obstacle& o = runner.obstacles().back();
        const double threshold = 0.22 + 0.16 * 0.5;
        if (u < threshold) {
            const double u2 = drawFrom(expected);
            ASSERT_EQ(o.kind, ObstacleKind::pterodactyl);
            const int index = std::min(static_cast<int>(u2 * 3), 2);
            const double elevations[3] = {6, 24, 54};
            EXPECT_EQ(o.elevation, elevations[index]);
            ++seen[index];
        } else {
            EXPECT_EQ(o.kind, ObstacleKind::cactus);
        }
        drawFrom(expected);
        EXPECT_EQ(runner.randomState(), expected);
    }
    EXPECT_GT(seen[0], 0);
    EXPECT_GT(seen[1], 0);
    EXPECT_GT(seen[2], 0);
}

TEST(RunnerSpawn, GapFollowsSpeedAndDifficulty) {
    for (double elapsed : {0.0, 30.0, 110.0, 400.0}) {
        for (uint64_t state = 1; state < 400; ++state) {
            Runner runner = runnerAtScore(700, state, elapsed);
            Access::spawn(runner);
            const Obstacle& o = runner.obstacles().back();
            EXPECT_GE(runner.nextGap(), o.width + 0.74 * 190);
            const double speed = Runner::speedAt(elapsed);
            const double d = Runner::difficultyAt(elapsed);
            EXPECT_GE(runner.nextGap(), o.width + speed * (1.04 - 0.3 * d));
            EXPECT_LE(runner.nextGap(), o.width + speed * (1.46 - 0.3 * d) + 1e-9);
        }
    }
}

TEST(RunnerSpawn, SpawnsWhenNewestPassesTheGap) {
    Runner runner = clearRunway();
    Access::clearObstacles(runner);
    runner.advance(1.0 / 120); // an empty runway spawns at once
    ASSERT_EQ(runner.obstacles().size(), 1u);
    EXPECT_EQ(runner.obstacles()[0].id, 1);
    const double gap = runner.nextGap();
    while (runner.obstacles().size() == 1 && runner.phase() == RunPhase::running) {
        const double before = runner.obstacles().back().x;
        runner.setDucking(false);
        runner.advance(1.0 / 120);
        if (runner.obstacles().size() == 2) {
            // The previous sub-step left the newest obstacle at or right of the line.
            EXPECT_GE(before, runner.worldWidth() - gap);
            EXPECT_LT(runner.obstacles()[0].x, runner.worldWidth() - gap);
        }
    }
    EXPECT_EQ(runner.obstacles().size(), 2u);
    EXPECT_EQ(runner.obstacles()[1].id, 2);
}

TEST(RunnerSpawn, ObstaclesLeaveTwentyPointsPastTheLeftEdge) {
    Runner runner = clearRunway();
    Access::clearObstacles(runner);
    Access::addObstacle(runner, {0, -35.9, 16, 23, false, ObstacleKind::cactus, 0});
    Access::addObstacle(runner, {1, 300, 16, 23, false, ObstacleKind::cactus, 0});
    RunnerTestAccess::setHeight(runner, 0);
    runner.advance(1.0 / 120); // moves 190/120 ≈ 1.58 points: x + 16 < -20
    ASSERT_EQ(runner.obstacles().size(), 1u);
    EXPECT_EQ(runner.obstacles()[0].id, 1);
}
