#include "VantrelCore/RunPhase.h"

#include <gtest/gtest.h>

using namespace vantrel;

TEST(RunPhase, RawValuesRoundTrip) {
    for (RunPhase phase : {RunPhase::ready, RunPhase::running, RunPhase::paused, RunPhase::over}) {
        EXPECT_EQ(runPhaseFromString(toString(phase)), phase);
    }
    EXPECT_EQ(toString(RunPhase::running), "running");
    EXPECT_EQ(toString(RunPhase::over), "over");
}

TEST(RunPhase, UnknownRawValueGivesNothing) {
    EXPECT_FALSE(runPhaseFromString("Running").has_value());
    EXPECT_FALSE(runPhaseFromString("").has_value());
    EXPECT_FALSE(runPhaseFromString("crashed").has_value());
}
