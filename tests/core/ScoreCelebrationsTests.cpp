#include "VantrelCore/ScoreCelebrations.h"

#include <gtest/gtest.h>

using namespace vantrel;

namespace {
using Awards = std::vector<ScoreAward>;
const ScoreAward best = ScoreAward::newBest();
ScoreAward hundred(int64_t value) {
    return ScoreAward::milestone(value);
}
} // namespace

TEST(ScoreCelebrations, FirstRunCelebratesAtHundred) {
    ScoreCelebrations c(0);
    for (int64_t score = 0; score <= 99; ++score) {
        EXPECT_TRUE(c.update(score).empty()) << score;
    }
    EXPECT_EQ(c.update(100), (Awards{hundred(100), best}));
    EXPECT_TRUE(c.update(150).empty());
    EXPECT_EQ(c.update(200), (Awards{hundred(200)}));
}

TEST(ScoreCelebrations, NewBestBeforeFirstHundred) {
    ScoreCelebrations c(42);
    EXPECT_TRUE(c.update(42).empty());
    EXPECT_EQ(c.update(43), (Awards{best}));
    EXPECT_EQ(c.update(100), (Awards{hundred(100)}));
}

TEST(ScoreCelebrations, HighBestComesAfterMilestones) {
    ScoreCelebrations c(250);
    EXPECT_EQ(c.update(100), (Awards{hundred(100)}));
    EXPECT_EQ(c.update(200), (Awards{hundred(200)}));
    EXPECT_TRUE(c.update(250).empty());
    EXPECT_EQ(c.update(251), (Awards{best}));
    EXPECT_TRUE(c.update(260).empty());
}

TEST(ScoreCelebrations, JumpAcrossSeveralHundreds) {
    ScoreCelebrations c(250);
    EXPECT_EQ(c.update(0), Awards{});
    EXPECT_EQ(c.update(310), (Awards{hundred(100), hundred(200), hundred(300), best}));
}

TEST(ScoreCelebrations, EqualScoreIsNoRecord) {
    ScoreCelebrations c(500);
    EXPECT_EQ(c.update(500), (Awards{hundred(100), hundred(200), hundred(300), hundred(400), hundred(500)}));
    EXPECT_EQ(c.update(501), (Awards{best}));
}

TEST(ScoreCelebrations, NegativeBestBehavesLikeZero) {
    ScoreCelebrations c(-7);
    EXPECT_EQ(c.previousBest(), -7);
    EXPECT_TRUE(c.update(99).empty());
    EXPECT_EQ(c.update(100), (Awards{hundred(100), best}));
}

TEST(ScoreCelebrations, LowerReadingsGiveNothing) {
    ScoreCelebrations c(10);
    EXPECT_EQ(c.update(320), (Awards{hundred(100), hundred(200), hundred(300), best}));
    EXPECT_TRUE(c.update(120).empty());
    EXPECT_TRUE(c.update(320).empty());
    EXPECT_EQ(c.update(400), (Awards{hundred(400)}));
}

TEST(ScoreCelebrations, AwardEquality) {
    EXPECT_EQ(hundred(100), hundred(100));
    EXPECT_NE(hundred(100), hundred(200));
    EXPECT_NE(hundred(100), best);
    EXPECT_EQ(best, ScoreAward::newBest());
}

TEST(ScoreCelebrationsDeathTest, BestOverflowAborts) {
    ScoreCelebrations c(INT64_MAX);
    EXPECT_DEATH(c.update(0), "");
}
