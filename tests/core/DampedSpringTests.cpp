#include "VantrelCore/DampedSpring.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace vantrel;

TEST(DampedSpring, NewSpringIsAtRest) {
    DampedSpring spring(42);
    EXPECT_TRUE(spring.settled());
    spring.advance(1.0 / 60, 0.3);
    EXPECT_EQ(spring.value(), 42);
    EXPECT_EQ(spring.velocity(), 0);
    EXPECT_EQ(spring.target(), 42);
}

TEST(DampedSpring, RisesWithoutOvershootAndSettles) {
    DampedSpring spring(0);
    spring.setTarget(100);
    EXPECT_FALSE(spring.settled());
    double last = 0;
    int steps = 0;
    while (!spring.settled() && steps < 600) {
        spring.advance(1.0 / 60, 0.3);
        ASSERT_GE(spring.value(), last) << "step " << steps;
        ASSERT_LE(spring.value(), 100) << "step " << steps;
        last = spring.value();
        ++steps;
    }
    EXPECT_TRUE(spring.settled());
    EXPECT_LT(std::fabs(spring.value() - 100), 0.1);
    EXPECT_LT(std::fabs(spring.velocity()), 1.0);
    EXPECT_GT(steps, 10);
    EXPECT_LT(steps, 120);
    EXPECT_EQ(spring.target(), 100); // never snapped, target untouched
}

TEST(DampedSpring, StepSizeDoesNotChangeTheResult) {
    DampedSpring once(0);
    once.setTarget(80);
    DampedSpring twice = once;
    once.advance(0.1, 0.3);
    twice.advance(0.05, 0.3);
    twice.advance(0.05, 0.3);
    EXPECT_NEAR(once.value(), twice.value(), 1e-9);
    EXPECT_NEAR(once.velocity(), twice.velocity(), 1e-9);
    EXPECT_GT(once.value(), 10); // it did move
}

TEST(DampedSpring, TinyOrNegativeResponseActsAsMinimum) {
    DampedSpring reference(0);
    reference.setTarget(50);
    for (double response : {0.0, -1.0, 0.01, std::nan("")}) {
        DampedSpring spring(0);
        spring.setTarget(50);
        DampedSpring expected = reference;
        spring.advance(0.02, response);
        expected.advance(0.02, 0.05);
        EXPECT_EQ(spring, expected) << response;
    }
}

TEST(DampedSpring, NonPositiveStepChangesNothing) {
    DampedSpring spring(0);
    spring.setTarget(10);
    const DampedSpring before = spring;
    for (double dt : {0.0, -0.1, std::nan("")}) {
        spring.advance(dt, 0.3);
        EXPECT_EQ(spring, before) << dt;
    }
}

TEST(DampedSpring, RetargetKeepsVelocityAndPosition) {
    DampedSpring spring(0);
    spring.setTarget(100);
    for (int i = 0; i < 5; ++i) {
        spring.advance(1.0 / 60, 0.3);
    }
    const double value = spring.value();
    const double velocity = spring.velocity();
    ASSERT_GT(velocity, 0);
    spring.setTarget(-40);
    EXPECT_EQ(spring.value(), value);
    EXPECT_EQ(spring.velocity(), velocity);
    spring.advance(1.0 / 120, 0.3);
    EXPECT_LT(std::fabs(spring.value() - value), velocity / 60); // continuous, no jump
}

TEST(DampedSpring, MatchesTheClosedForm) {
    DampedSpring spring(10);
    spring.setTarget(0);
    spring.advance(0.04, 0.5);
    const double omega = 6.283185307179586 / 0.5;
    const double e = std::exp(-omega * 0.04);
    EXPECT_EQ(spring.value(), 0 + e * (10 + (0 + omega * 10) * 0.04));
    EXPECT_EQ(spring.velocity(), e * (0 - omega * (omega * 10) * 0.04));
}
