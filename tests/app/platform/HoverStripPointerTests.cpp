#include "Vantrel/platform/HoverStrip.h"
#include "Vantrel/platform/HoverStripPointer.h"

#include <QCursor>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace vantrel::platform;

namespace {

// The polled pointer (the real fallback) behind the strip's view of it; the strip's
// crossing reports are what the X11 strip emits when XWayland moves the pointer.
struct HoverStripPointerTest : ::testing::Test {
    NullHoverStrip strip;
    PolledDesktopPointer* inner = new PolledDesktopPointer;
    HoverStripPointer pointer{std::unique_ptr<DesktopPointer>(inner), strip};

    // Moves the cursor and waits for the polled pointer to notice (it samples every 50 ms).
    bool moveInner(QPoint to) {
        QSignalSpy moved(inner, &DesktopPointer::changed);
        QCursor::setPos(to);
        return moved.wait(1000);
    }
};

TEST_F(HoverStripPointerTest, AwayAfterTheStripReportsTheLeaveUntilTheReturn) {
    pointer.setActive(true);
    ASSERT_TRUE(moveInner({700, 2}));
    QSignalSpy changed(&pointer, &DesktopPointer::changed);

    emit strip.pointerLeft();
    EXPECT_EQ(pointer.position(), HoverStripPointer::awayPosition());
    EXPECT_FALSE(pointer.buttonsPressed());
    EXPECT_EQ(changed.count(), 1);

    emit strip.pointerReturned();
    EXPECT_EQ(pointer.position(), QPointF(700, 2));
    EXPECT_EQ(changed.count(), 2);
}

TEST_F(HoverStripPointerTest, EventsReadWhileAwayAreStaleAndNotPassedOn) {
    pointer.setActive(true);
    ASSERT_TRUE(moveInner({700, 2}));
    emit strip.pointerLeft();
    QSignalSpy changed(&pointer, &DesktopPointer::changed);

    ASSERT_TRUE(moveInner({710, 3}));
    EXPECT_EQ(changed.count(), 0);
    EXPECT_EQ(pointer.position(), HoverStripPointer::awayPosition());

    emit strip.pointerReturned();
    ASSERT_TRUE(moveInner({400, 300}));
    EXPECT_EQ(changed.count(), 2);
    EXPECT_EQ(pointer.position(), QPointF(400, 300));
}

TEST_F(HoverStripPointerTest, ALeaveWhileNobodyWatchesChangesNothing) {
    QSignalSpy changed(&pointer, &DesktopPointer::changed);
    emit strip.pointerLeft();
    EXPECT_EQ(changed.count(), 0);
    EXPECT_NE(pointer.position(), HoverStripPointer::awayPosition());
    emit strip.pointerReturned();
    EXPECT_EQ(changed.count(), 0);
}

// A warp moves the pointer without an event of its own: refresh() looks at once,
// through the strip's view as well, and not at all while nobody watches.
TEST_F(HoverStripPointerTest, RefreshLooksAtOnceAndOnlyWhileActive) {
    QSignalSpy changed(&pointer, &DesktopPointer::changed);
    QCursor::setPos(QPoint(650, 1));
    pointer.refresh();
    EXPECT_EQ(changed.count(), 0);

    pointer.setActive(true);
    QCursor::setPos(QPoint(660, 2));
    pointer.refresh(); // no turn of the event loop: the 50 ms sampling cannot have run
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(pointer.position(), QPointF(660, 2));
}

} // namespace
