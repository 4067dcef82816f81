#include "Vantrel/Clock.h"

#include <gtest/gtest.h>

using namespace vantrel;

TEST(Clock, SteadyClockNeverGoesBack) {
    SteadyClock clock;
    double last = clock.now();
    for (int i = 0; i < 1000; ++i) {
        const double now = clock.now();
        ASSERT_GE(now, last);
        last = now;
    }
}

TEST(Clock, ManualClockMovesOnlyWhenTold) {
    ManualClock clock(5);
    EXPECT_EQ(clock.now(), 5);
    clock.advance(0.25);
    EXPECT_EQ(clock.now(), 5.25);
    clock.set(2);
    EXPECT_EQ(clock.now(), 2);
}
