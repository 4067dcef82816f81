#include "Vantrel/Clock.h"

#include <QTest>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

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

TEST(Clock, ManualAlarmFiresOnlyOnceItsDeadlineIsReached) {
    ManualClock clock(10);
    std::vector<double> firedAt;
    auto alarm = clock.alarmAt(11.5, [&] { firedAt.push_back(clock.now()); });
    EXPECT_EQ(clock.pendingAlarms(), 1u);
    clock.advance(1.49);
    EXPECT_TRUE(firedAt.empty());
    clock.advance(0.5);
    ASSERT_EQ(firedAt.size(), 1u);
    EXPECT_EQ(firedAt[0], 11.5); // fired as time passed its deadline
    EXPECT_DOUBLE_EQ(clock.now(), 11.99);
    clock.advance(10);
    EXPECT_EQ(firedAt.size(), 1u); // once only
    EXPECT_EQ(clock.pendingAlarms(), 0u);
}

TEST(Clock, ManualAlarmsFireInDeadlineOrderAndCancelWithTheirHandle) {
    ManualClock clock(0);
    std::vector<int> fired;
    auto late = clock.alarmAt(3, [&] { fired.push_back(3); });
    auto early = clock.alarmAt(1, [&] { fired.push_back(1); });
    auto cancelled = clock.alarmAt(2, [&] { fired.push_back(2); });
    cancelled.reset();
    EXPECT_EQ(clock.pendingAlarms(), 2u);
    clock.set(5);
    EXPECT_EQ(fired, (std::vector<int>{1, 3}));
}

TEST(Clock, ManualAlarmMayDropItselfAndSetTheNext) {
    ManualClock clock(0);
    std::unique_ptr<Clock::Alarm> alarm;
    int fired = 0;
    std::function<void()> again = [&] {
        ++fired;
        alarm = clock.alarmAt(clock.now() + 1, again); // replaces the handle being fired
    };
    alarm = clock.alarmAt(1, again);
    clock.advance(3.5);
    EXPECT_EQ(fired, 3);
    EXPECT_EQ(clock.pendingAlarms(), 1u);
}

TEST(Clock, SteadyAlarmWaitsForItsDeadline) {
    SteadyClock clock;
    const double deadline = clock.now() + 0.05;
    double firedAt = 0;
    auto alarm = clock.alarmAt(deadline, [&] { firedAt = clock.now(); });
    QTest::qWait(0);
    EXPECT_EQ(firedAt, 0); // not before the deadline
    ASSERT_TRUE(QTest::qWaitFor([&] { return firedAt != 0; }, 2000));
    EXPECT_GE(firedAt, deadline);
}

TEST(Clock, SteadyAlarmCancelledByItsHandle) {
    SteadyClock clock;
    bool fired = false;
    auto alarm = clock.alarmAt(clock.now() + 0.01, [&] { fired = true; });
    alarm.reset();
    QTest::qWait(50);
    EXPECT_FALSE(fired);
}
