#include "RunnerTestAccess.h"
#include "VantrelCore/Obstacle.h"
#include "VantrelCore/Runner.h"

#include <gtest/gtest.h>

using namespace vantrel;

namespace {

Obstacle flyer(double x, double elevation) {
    return {1, x, 36, 22, false, ObstacleKind::pterodactyl, elevation};
}

bool touches(const Runner& runner, const Obstacle& obstacle) {
    for (const Rect& box : obstacle.collisionBoxes()) {
        for (const Rect& part : runner.playerCollisionBoxes()) {
            if (box.intersects(part)) {
                return true;
            }
        }
    }
    return false;
}

Runner groundedRunningRunner() {
    Runner runner(3);
    runner.start();
    EXPECT_EQ(runner.phase(), RunPhase::running);
    EXPECT_TRUE(runner.grounded());
    return runner;
}

} // namespace

TEST(ObstacleKind, RawNames) {
    EXPECT_EQ(toString(ObstacleKind::cactus), "cactus");
    EXPECT_EQ(toString(ObstacleKind::pterodactyl), "pterodactyl");
    EXPECT_EQ(obstacleKindFromString("pterodactyl"), ObstacleKind::pterodactyl);
    EXPECT_FALSE(obstacleKindFromString("bird").has_value());
}

TEST(Obstacle, PterodactylBoxesBodyThenHead) {
    const Obstacle bird = flyer(100, 24);
    const RectList boxes = bird.collisionBoxes();
    ASSERT_EQ(boxes.size(), 2u);
    EXPECT_EQ(boxes[0], (Rect{105, 30, 26, 10}));
    EXPECT_EQ(boxes[1], (Rect{112, 27, 15, 16}));
}

TEST(Obstacle, CactusBoxCountsByStems) {
    EXPECT_EQ((Obstacle{0, 0, 16, 23, false, ObstacleKind::cactus, 0}).collisionBoxes().size(), 2u);
    EXPECT_EQ((Obstacle{0, 0, 30, 29, true, ObstacleKind::cactus, 0}).collisionBoxes().size(), 4u);
    EXPECT_EQ((Obstacle{0, 0, 44, 29, true, ObstacleKind::cactus, 0}).collisionBoxes().size(), 6u);
}

TEST(Obstacle, CactusStemBoxesInOrder) {
    const Obstacle cluster{0, 100, 44, 29, true, ObstacleKind::cactus, 0};
    const RectList boxes = cluster.collisionBoxes();
    ASSERT_EQ(boxes.size(), 6u);
    EXPECT_EQ(boxes[0], (Rect{106, 1, 4, 27}));
    EXPECT_EQ(boxes[1], (Rect{102, 0.35 * 29, 12, 0.4 * 29}));
    const double sh = 0.8 * 29;
    EXPECT_EQ(boxes[2], (Rect{120, 1, 4, sh - 2}));
    EXPECT_EQ(boxes[3], (Rect{116, 0.35 * sh, 12, 0.4 * sh}));
    EXPECT_EQ(boxes[4], (Rect{134, 1, 4, sh - 2}));
    EXPECT_EQ(boxes[5], (Rect{130, 0.35 * sh, 12, 0.4 * sh}));
}

TEST(Obstacle, PlayerBoxesStandingAndDucking) {
    Runner runner = groundedRunningRunner();
    RectList standing = runner.playerCollisionBoxes();
    ASSERT_EQ(standing.size(), 3u);
    EXPECT_EQ(standing[0], (Rect{62, 20, 14, 12}));
    EXPECT_EQ(standing[1], (Rect{54, 9, 17, 15}));
    EXPECT_EQ(standing[2], (Rect{57, 2, 12, 9}));

    runner.setDucking(true);
    ASSERT_TRUE(runner.ducking());
    RectList ducking = runner.playerCollisionBoxes();
    ASSERT_EQ(ducking.size(), 2u);
    EXPECT_EQ(ducking[0], (Rect{54, 3, 29, 10}));
    EXPECT_EQ(ducking[1], (Rect{77, 7, 10, 7}));
}

TEST(Obstacle, HighFlyerPassesOverStandingRunner) {
    Runner runner = groundedRunningRunner();
    for (double x = 0; x < 120; x += 0.5) {
        EXPECT_FALSE(touches(runner, flyer(x, 54))) << "x " << x;
    }
}

TEST(Obstacle, MiddleFlyerBlocksStandingButNotDucking) {
    Runner runner = groundedRunningRunner();
    EXPECT_TRUE(touches(runner, flyer(Runner::dinoX, 24)));
    runner.setDucking(true);
    for (double x = 0; x < 120; x += 0.5) {
        EXPECT_FALSE(touches(runner, flyer(x, 24))) << "x " << x;
    }
}

TEST(Obstacle, LowFlyerMustBeJumped) {
    Runner runner = groundedRunningRunner();
    EXPECT_TRUE(touches(runner, flyer(Runner::dinoX, 6)));
    runner.setDucking(true);
    EXPECT_TRUE(touches(runner, flyer(Runner::dinoX, 6)));
    runner.setDucking(false);
    RunnerTestAccess::setHeight(runner, 40);
    EXPECT_FALSE(touches(runner, flyer(Runner::dinoX, 6)));
}

TEST(Rect, EdgeContactIsNotIntersection) {
    const Rect a{0, 0, 10, 10};
    EXPECT_TRUE(a.intersects({9.5, 9.5, 1, 1}));
    EXPECT_FALSE(a.intersects({10, 0, 5, 5}));
    EXPECT_FALSE(a.intersects({0, 10, 5, 5}));
    EXPECT_FALSE(a.intersects({2, 2, 0, 5}));
}
