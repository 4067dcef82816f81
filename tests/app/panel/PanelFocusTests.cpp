// The controller's focus hand-over, the peek-to-playfield growth, the animator's
// idle move, the hover monitor's late deadline and the panel keyboard once closed.

#include "Vantrel/Clock.h"
#include "Vantrel/GameStore.h"
#include "Vantrel/panel/NotchHoverMonitor.h"
#include "Vantrel/panel/NotchPanel.h"
#include "Vantrel/panel/NotchPanelController.h"
#include "Vantrel/panel/PanelKeyboard.h"
#include "Vantrel/panel/PanelSpringAnimator.h"
#include "Vantrel/platform/ActiveWindow.h"
#include "Vantrel/platform/Platform.h"
#include "Vantrel/views/NotchView.h"

#include <QAbstractButton>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using namespace vantrel;

namespace {

// The desktop's focus as a window manager keeps it: which window has the
// keyboard, and which windows were given it.
class DesktopFocus final : public platform::ActiveWindow {
public:
    quint64 current() const override { return active; }
    void activate(quint64 window) override {
        activated.push_back(window);
        active = window;
    }
    bool exists(quint64 window) const override { return window != 0 && window != closed; }
    bool fullScreenOn(const QScreen*) const override { return false; }

    quint64 active = 0;
    quint64 closed = 0;
    std::vector<quint64> activated;
};

constexpr quint64 editor = 0x2a00007;
constexpr quint64 terminal = 0x3c0001b;

class FocusTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        platform::PlatformServices services = platform::nullPlatformServices();
        auto desktop = std::make_unique<DesktopFocus>();
        focus = desktop.get();
        services.activeWindow = std::move(desktop);
        controller = std::make_unique<NotchPanelController>(
            std::make_unique<QSettings>(dir.filePath("Vantrel.conf"), QSettings::IniFormat), clock,
            std::move(services));
        controller->springAnimator().setReduceMotion(true);
    }
    QTemporaryDir dir;
    ManualClock clock;
    DesktopFocus* focus = nullptr;
    std::unique_ptr<NotchPanelController> controller;
};

TEST_F(FocusTest, ExpandingWhileVantrelIsActiveKeepsTheEarlierPreviousWindow) {
    focus->active = editor;
    ASSERT_TRUE(controller->expand());
    EXPECT_EQ(controller->previousWindow(), editor);
    controller->collapse(false);
    // Vantrel's own panel has the keyboard now (the user clicked it, say), then opens again.
    focus->active = controller->panel().winId();
    ASSERT_TRUE(controller->expand());
    EXPECT_EQ(controller->previousWindow(), editor);
    focus->activated.clear();
    controller->collapse(true);
    EXPECT_EQ(focus->activated, std::vector<quint64>{editor});
}

TEST_F(FocusTest, ARefusedExpansionLeavesThePreviousWindowAlone) {
    focus->active = editor;
    ASSERT_TRUE(controller->expand());
    controller->collapse(false);
    focus->active = terminal;
    controller->setAuthorizePlay([] { return false; }); // the welcome window is up
    EXPECT_FALSE(controller->expand());
    EXPECT_EQ(controller->previousWindow(), editor);
    EXPECT_FALSE(controller->store().expanded());
    EXPECT_EQ(std::count(focus->activated.begin(), focus->activated.end(), terminal), 0);
}

TEST_F(FocusTest, TheCloseButtonGivesTheFocusBack) {
    focus->active = editor;
    ASSERT_TRUE(controller->expand());
    auto* view = qobject_cast<NotchView*>(controller->panel().content());
    ASSERT_NE(view, nullptr);
    view->resize(static_cast<int>(controller->store().panelWidth()),
                 static_cast<int>(controller->store().panelHeight()));
    auto* esc = view->findChild<QAbstractButton*>(QStringLiteral("escHint"));
    ASSERT_NE(esc, nullptr);
    focus->activated.clear();
    QTest::mouseClick(esc, Qt::LeftButton);
    EXPECT_FALSE(controller->store().expanded());
    EXPECT_EQ(focus->activated, std::vector<quint64>{editor});
}

TEST_F(FocusTest, AClosedPreviousWindowIsNotActivated) {
    focus->active = editor;
    ASSERT_TRUE(controller->expand());
    focus->closed = editor;
    focus->activated.clear();
    controller->collapse(true);
    EXPECT_TRUE(focus->activated.empty());
}

TEST_F(FocusTest, PeekingThenExpandingGrowsStraightFromThePeekFrame) {
    controller->springAnimator().setReduceMotion(false);
    const PanelGeometry geo = *controller->geometry();
    const QRect collapsed = geo.collapsedFrame().toAlignedRect();
    const QRect peek = geo.peekFrame().toAlignedRect();
    NotchPanel& panel = controller->panel();
    PanelSpringAnimator& animator = controller->springAnimator();
    auto settle = [&](std::vector<QRect>* frames) {
        for (int i = 0; i < 400 && animator.running(); ++i) {
            clock.advance(1.0 / 120);
            animator.tick();
            if (frames != nullptr) {
                frames->push_back(panel.geometry());
            }
        }
        ASSERT_FALSE(animator.running());
    };
    emit controller->hoverMonitor().visibilityChanged(true);
    ASSERT_TRUE(controller->store().peeking());
    settle(nullptr);
    ASSERT_TRUE(panel.isVisible());
    ASSERT_EQ(panel.geometry(), peek);

    ASSERT_TRUE(controller->expand());
    // No jump back into the notch before the growth starts.
    EXPECT_EQ(panel.geometry(), peek);
    std::vector<QRect> frames;
    settle(&frames);
    ASSERT_FALSE(frames.empty());
    for (const QRect& f : frames) {
        EXPECT_NE(f, collapsed);
        EXPECT_GE(f.height(), peek.height()) << "the panel shrank below the peek on its way out";
        EXPECT_EQ(f.top(), peek.top());
    }
    EXPECT_EQ(frames.back().size(), QSize(std::min(480, static_cast<int>(geo.maxPanelWidth())),
                                          static_cast<int>(controller->store().panelHeight())));
}

TEST(SpringAnimatorIdleTest, AMoveToTheCurrentFrameSettlesOnTheFirstTick) {
    ManualClock clock;
    PanelSpringAnimator animator(clock);
    QWidget panel(nullptr, Qt::Tool | Qt::FramelessWindowHint);
    panel.setGeometry(553, 28, 174, 24);
    int completions = 0;
    animator.move(&panel, QRectF(553, 28, 174, 24), true, [&] { ++completions; });
    EXPECT_EQ(completions, 0) << "not inside move()";
    EXPECT_TRUE(animator.running());
    clock.advance(1.0 / 120);
    animator.tick();
    EXPECT_EQ(completions, 1);
    EXPECT_FALSE(animator.running());
    EXPECT_EQ(panel.geometry(), QRect(553, 28, 174, 24));
}

// A clock that moves on by `step` every time it is read, as a busy machine's
// does between two reads: the deadline the monitor schedules is already past.
class SlowReadClock final : public Clock {
public:
    explicit SlowReadClock(double step) : m_step(step) {}
    double now() const override { return m_now += m_step; }
    std::unique_ptr<Alarm> alarmAt(double deadline, std::function<void()> fire) const override {
        return m_alarms.alarmAt(deadline, std::move(fire));
    }

private:
    double m_step;
    mutable double m_now = 100;
    ManualClock m_alarms;
};

TEST(HoverDeadlineTest, ADeadlineAlreadyPastFiresAtOnce) {
    platform::PolledDesktopPointer pointer;
    // One second per read: the 0.25 s reveal delay has long run out when the timer is set.
    SlowReadClock clock(1.0);
    NotchHoverMonitor monitor(pointer, clock);
    // The monitor re-reads the pointer when its timer fires: the trigger area goes around it.
    const QPointF cursor = pointer.position();
    monitor.setTriggerRect(QRectF(cursor.x() - 5, cursor.y() - 5, 10, 10));
    std::vector<bool> reports;
    QObject::connect(&monitor, &NotchHoverMonitor::visibilityChanged, [&](bool v) { reports.push_back(v); });
    monitor.handlePointer(cursor, false);
    ASSERT_TRUE(monitor.deadlineTimerActive());
    EXPECT_TRUE(reports.empty()) << "the deadline is met by the timer, not inside the sample";
    QElapsedTimer waited;
    waited.start();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !reports.empty(); }, 2000));
    EXPECT_LT(waited.elapsed(), 100) << "a past deadline waits about a millisecond, not its lateness";
    EXPECT_EQ(reports, std::vector<bool>{true});
}

class ClosedKeysTest : public FocusTest {
protected:
    // Handled: taken by the panel keyboard. A key it leaves goes on to the
    // panel, which ignores it (the event ends up not accepted).
    bool send(QEvent::Type type, int key, bool autoRepeat = false) {
        QKeyEvent event(type, key, Qt::NoModifier, QString(), autoRepeat);
        const bool delivered = QCoreApplication::sendEvent(&controller->panel(), &event);
        return delivered && event.isAccepted();
    }
};

TEST_F(ClosedKeysTest, SpaceReleasedWhileCollapsedIsNotHandled) {
    QSignalSpy actions(&controller->keyboard(), &PanelKeyboard::actionRequested);
    // A run in the air when the playfield closed: the release must not reach it.
    ASSERT_TRUE(controller->expand());
    controller->store().act();
    controller->collapse(false);
    const Runner before = controller->store().runner();
    EXPECT_FALSE(send(QEvent::KeyRelease, Qt::Key_Space));
    EXPECT_FALSE(send(QEvent::KeyRelease, Qt::Key_Up));
    EXPECT_FALSE(send(QEvent::KeyRelease, Qt::Key_Down));
    EXPECT_EQ(actions.count(), 0);
    EXPECT_EQ(controller->store().runner().jumpReleased(), before.jumpReleased());
}

TEST_F(ClosedKeysTest, EscapeRepeatsAfterTheCollapseAreNotHandled) {
    focus->active = editor;
    ASSERT_TRUE(controller->expand());
    controller->panel().activateWindow();
    if (!QTest::qWaitForWindowActive(&controller->panel(), 1000)) {
        GTEST_SKIP() << "this platform does not activate the panel";
    }
    QSignalSpy actions(&controller->keyboard(), &PanelKeyboard::actionRequested);
    focus->activated.clear();
    EXPECT_TRUE(send(QEvent::KeyPress, Qt::Key_Escape));
    EXPECT_FALSE(controller->store().expanded());
    ASSERT_EQ(actions.count(), 1);
    // The key is still held: its repeats find the playfield closed.
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(send(QEvent::KeyPress, Qt::Key_Escape, true)) << "repeat " << i;
    }
    EXPECT_FALSE(send(QEvent::KeyRelease, Qt::Key_Escape));
    EXPECT_EQ(actions.count(), 1);
    EXPECT_EQ(focus->activated, std::vector<quint64>{editor}) << "focus handed back once";
}

} // namespace
