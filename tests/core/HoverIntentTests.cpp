#include "VantrelCore/HoverIntent.h"

#include <gtest/gtest.h>

using namespace vantrel;
using Phase = HoverIntent::Phase;
using Region = HoverIntent::Region;

namespace {

// Brings a fresh intent into `phase`, with its deadline (if any) at `at` + delay.
HoverIntent inPhase(Phase phase, double at = 100) {
    HoverIntent intent;
    switch (phase) {
    case Phase::hidden:
        break;
    case Phase::waiting:
        intent.update(Region::trigger, at - 0.25);
        break;
    case Phase::revealed:
        intent.update(Region::trigger, at - 1);
        intent.update(Region::trigger, at - 0.5);
        break;
    case Phase::leaving:
        intent.update(Region::trigger, at - 1);
        intent.update(Region::trigger, at - 0.5);
        intent.update(Region::outside, at - 0.2);
        break;
    case Phase::suppressed:
        intent.suppressUntilExit();
        break;
    }
    EXPECT_EQ(intent.phase(), phase);
    return intent;
}

} // namespace

TEST(HoverIntent, StartsHidden) {
    const HoverIntent intent;
    EXPECT_EQ(intent.phase(), Phase::hidden);
    EXPECT_FALSE(intent.deadline().has_value());
    EXPECT_FALSE(intent.isVisible());
}

// One test per row of the transition table, in its order.
struct Row {
    Phase from;
    Region region;
    double now; // the phase's deadline, if any, is 100
    Phase to;
    std::optional<double> deadline; // nullopt: none; -1: unchanged
};

TEST(HoverIntent, TransitionTableRowByRow) {
    const std::optional<double> unchanged = -1;
    const Row rows[] = {
        {Phase::hidden, Region::trigger, 50, Phase::waiting, 50 + 0.25},
        {Phase::hidden, Region::lip, 50, Phase::hidden, std::nullopt},
        {Phase::hidden, Region::outside, 50, Phase::hidden, std::nullopt},
        {Phase::waiting, Region::trigger, 99.99, Phase::waiting, unchanged},
        {Phase::waiting, Region::trigger, 100, Phase::revealed, std::nullopt},
        {Phase::waiting, Region::lip, 99.9, Phase::hidden, std::nullopt},
        {Phase::waiting, Region::outside, 99.9, Phase::hidden, std::nullopt},
        {Phase::revealed, Region::trigger, 101, Phase::revealed, std::nullopt},
        {Phase::revealed, Region::lip, 101, Phase::revealed, std::nullopt},
        {Phase::revealed, Region::outside, 101, Phase::leaving, 101 + 0.2},
        {Phase::leaving, Region::trigger, 99.9, Phase::revealed, std::nullopt},
        {Phase::leaving, Region::lip, 99.9, Phase::revealed, std::nullopt},
        {Phase::leaving, Region::outside, 99.9, Phase::leaving, unchanged},
        {Phase::leaving, Region::outside, 100, Phase::hidden, std::nullopt},
        {Phase::suppressed, Region::trigger, 50, Phase::suppressed, std::nullopt},
        {Phase::suppressed, Region::lip, 50, Phase::suppressed, std::nullopt},
        {Phase::suppressed, Region::outside, 50, Phase::hidden, std::nullopt},
    };
    int index = 0;
    for (const Row& row : rows) {
        HoverIntent intent = inPhase(row.from);
        const std::optional<double> before = intent.deadline();
        intent.update(row.region, row.now);
        EXPECT_EQ(intent.phase(), row.to) << "row " << index;
        if (row.deadline == unchanged) {
            EXPECT_EQ(intent.deadline(), before) << "row " << index;
            EXPECT_TRUE(intent.deadline().has_value()) << "row " << index;
        } else {
            EXPECT_EQ(intent.deadline(), row.deadline) << "row " << index;
        }
        EXPECT_EQ(intent.isVisible(), row.to == Phase::revealed || row.to == Phase::leaving)
            << "row " << index;
        ++index;
    }
    EXPECT_EQ(index, 17);
}

TEST(HoverIntent, RestingInTriggerRevealsAtTheDeadline) {
    HoverIntent intent;
    intent.update(Region::trigger, 10.0);
    EXPECT_EQ(intent.phase(), Phase::waiting);
    EXPECT_EQ(intent.deadline(), 10.0 + 0.25);
    intent.update(Region::trigger, 10.2);
    EXPECT_EQ(intent.phase(), Phase::waiting);
    EXPECT_EQ(intent.deadline(), 10.0 + 0.25); // not restarted by further samples
    intent.update(Region::trigger, 10.25);
    EXPECT_EQ(intent.phase(), Phase::revealed);
    EXPECT_TRUE(intent.isVisible());
    EXPECT_FALSE(intent.deadline().has_value());
}

TEST(HoverIntent, LeavingAndComingBack) {
    HoverIntent intent = inPhase(Phase::revealed, 20);
    intent.update(Region::outside, 20.0);
    EXPECT_EQ(intent.phase(), Phase::leaving);
    EXPECT_TRUE(intent.isVisible());
    EXPECT_EQ(intent.deadline(), 20.0 + 0.2);
    intent.update(Region::lip, 20.1);
    EXPECT_EQ(intent.phase(), Phase::revealed);
    EXPECT_FALSE(intent.deadline().has_value());
    intent.update(Region::outside, 20.15);
    EXPECT_EQ(intent.phase(), Phase::leaving);
    EXPECT_EQ(intent.deadline(), 20.15 + 0.2); // a fresh delay
    EXPECT_NEAR(*intent.deadline(), 20.35, 1e-12);
}

TEST(HoverIntent, LipCancelsTheWait) {
    HoverIntent intent;
    intent.update(Region::trigger, 5);
    intent.update(Region::lip, 5.1);
    EXPECT_EQ(intent.phase(), Phase::hidden);
    EXPECT_FALSE(intent.isVisible());
    EXPECT_FALSE(intent.deadline().has_value());
}

TEST(HoverIntent, SuppressionEndsOnlyOutside) {
    HoverIntent intent = inPhase(Phase::revealed);
    intent.suppressUntilExit();
    for (int i = 0; i < 50; ++i) {
        intent.update(i % 2 ? Region::trigger : Region::lip, 200 + i);
        EXPECT_EQ(intent.phase(), Phase::suppressed);
        EXPECT_FALSE(intent.isVisible());
    }
    intent.update(Region::outside, 300);
    EXPECT_EQ(intent.phase(), Phase::hidden);
    intent.update(Region::trigger, 301);
    EXPECT_EQ(intent.phase(), Phase::waiting);
    EXPECT_EQ(intent.deadline(), 301.25);
}

TEST(HoverIntent, ResetFromAnyPhase) {
    for (Phase phase : {Phase::hidden, Phase::waiting, Phase::revealed, Phase::leaving, Phase::suppressed}) {
        HoverIntent intent = inPhase(phase);
        intent.reset();
        EXPECT_EQ(intent.phase(), Phase::hidden);
        EXPECT_FALSE(intent.deadline().has_value());
    }
}
