#include "Vantrel/Clock.h"
#include "Vantrel/GameStore.h"
#include "Vantrel/panel/NotchHoverMonitor.h"
#include "Vantrel/panel/NotchPanel.h"
#include "Vantrel/panel/NotchPanelController.h"
#include "Vantrel/panel/PanelGeometry.h"
#include "Vantrel/panel/PanelKeyboard.h"
#include "Vantrel/panel/PanelKeys.h"
#include "Vantrel/panel/PanelScreens.h"
#include "Vantrel/panel/PanelSpringAnimator.h"
#include "Vantrel/platform/KeyPosition.h"
#include "Vantrel/platform/Platform.h"
#include "Vantrel/views/NotchView.h"

#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>

#include <vector>

using namespace vantrel;

namespace {

ScreenFacts plainScreen() {
    return {QRectF(0, 0, 1280, 800), QRectF(0, 28, 1280, 772), std::nullopt};
}

TEST(PanelGeometryTest, ScreenWithoutNotchHangsBelowTheTopBar) {
    PanelGeometry geo(plainScreen());
    EXPECT_FALSE(geo.hasNotch());
    EXPECT_EQ(geo.notchWidth(), 160);
    EXPECT_EQ(geo.notchHeight(), 8);
    EXPECT_EQ(geo.collapsedFrame(), QRectF(640 - 87, 28, 174, 8));
    EXPECT_EQ(geo.peekFrame(), QRectF(640 - 87, 28, 174, 24));
    EXPECT_EQ(geo.triggerRect(), QRectF(640 - 44, 25, 88, 6));
    EXPECT_EQ(geo.retentionRect(), QRectF(640 - 91, 24, 182, 32));
}

TEST(PanelGeometryTest, NotchSitsInTheTopEdgeAndTheTriggerReachesAboveIt) {
    PanelGeometry geo({QRectF(0, 0, 1512, 982), QRectF(0, 38, 1512, 944), platform::NotchSize{200, 32}});
    EXPECT_EQ(geo.top(), 0);
    EXPECT_EQ(geo.collapsedFrame(), QRectF(756 - 107, 0, 214, 32));
    QRectF trigger = geo.triggerRect();
    EXPECT_EQ(trigger.left(), 656);
    EXPECT_EQ(trigger.width(), 200);
    EXPECT_EQ(trigger.bottom(), 50);                // notch height + 18
    EXPECT_TRUE(trigger.contains(QPointF(756, 0))); // pushed against the top edge
}

TEST(PanelGeometryTest, NarrowScreenLimitsThePlayfield) {
    PanelGeometry geo({QRectF(0, 0, 500, 400), QRectF(0, 0, 500, 400), std::nullopt});
    EXPECT_EQ(geo.maxPanelWidth(), 476);
}

TEST(PanelGeometryTest, SecondScreenIsCentredOnItself) {
    PanelGeometry geo({QRectF(1280, 0, 1280, 800), QRectF(1280, 0, 1280, 800), std::nullopt});
    EXPECT_EQ(geo.frame(480, 192), QRectF(1920 - 240, 0, 480, 192));
}

TEST(ScreenNotchTest, ParsesWidthByHeightAndRejectsNonsense) {
    QString error;
    EXPECT_EQ(platform::ConfiguredScreenNotch::parse("200x32", &error), (platform::NotchSize{200, 32}));
    EXPECT_FALSE(platform::ConfiguredScreenNotch::parse("", &error).has_value());
    EXPECT_TRUE(error.isEmpty());
    for (const char* bad : {"200", "x32", "200x-3", "nanx32", "99999x32", "200x32x1"}) {
        error.clear();
        EXPECT_FALSE(platform::ConfiguredScreenNotch::parse(bad, &error).has_value()) << bad;
        EXPECT_FALSE(error.isEmpty()) << bad;
    }
}

PanelKeyDecision key(int qtKey, bool press = true, Qt::KeyboardModifiers mods = {}, bool repeat = false,
                     quint32 code = 0) {
    return decidePanelKey(PanelKeyEvent{press, qtKey, code, mods, repeat});
}

TEST(PanelKeysTest, GameKeysDownAndUp) {
    EXPECT_EQ(key(Qt::Key_Space), (PanelKeyDecision{true, PanelKeyAction::act}));
    EXPECT_EQ(key(Qt::Key_Up), (PanelKeyDecision{true, PanelKeyAction::act}));
    EXPECT_EQ(key(Qt::Key_Down), (PanelKeyDecision{true, PanelKeyAction::duck}));
    EXPECT_EQ(key(Qt::Key_Escape), (PanelKeyDecision{true, PanelKeyAction::close}));
    EXPECT_EQ(key(Qt::Key_Space, false), (PanelKeyDecision{true, PanelKeyAction::releaseJump}));
    EXPECT_EQ(key(Qt::Key_Down, false), (PanelKeyDecision{true, PanelKeyAction::stopDucking}));
    EXPECT_EQ(key(Qt::Key_Q), PanelKeyDecision{});
    EXPECT_EQ(key(Qt::Key_Q, false), PanelKeyDecision{});
}

TEST(PanelKeysTest, RepeatsAreSwallowedWithoutEffectExceptEscape) {
    EXPECT_EQ(key(Qt::Key_Space, true, {}, true), (PanelKeyDecision{true, PanelKeyAction::none}));
    EXPECT_EQ(key(Qt::Key_Down, false, {}, true), (PanelKeyDecision{true, PanelKeyAction::none}));
    EXPECT_EQ(key(Qt::Key_Escape, true, {}, true), (PanelKeyDecision{true, PanelKeyAction::close}));
}

TEST(PanelKeysTest, ShortcutsWithControlAltOrSuperPassThrough) {
    EXPECT_EQ(key(Qt::Key_W, true, Qt::ControlModifier), PanelKeyDecision{});
    EXPECT_EQ(key(Qt::Key_Space, true, Qt::ControlModifier), PanelKeyDecision{});
    EXPECT_EQ(key(Qt::Key_Space, true, Qt::AltModifier | Qt::MetaModifier), PanelKeyDecision{});
    EXPECT_EQ(key(Qt::Key_Space, true, Qt::ShiftModifier), (PanelKeyDecision{true, PanelKeyAction::act}));
}

TEST(PanelKeysTest, ControlQQuitsLikeTheMenusQuit) {
    EXPECT_EQ(key(Qt::Key_Q, true, Qt::ControlModifier), (PanelKeyDecision{true, PanelKeyAction::quit}));
    // Caps Lock on, or Q typed with Shift held by accident, still quits.
    EXPECT_EQ(key(Qt::Key_Q, true, Qt::ControlModifier | Qt::ShiftModifier),
              (PanelKeyDecision{true, PanelKeyAction::quit}));
    // A held Ctrl+Q quits once; its release and the desktop's own Ctrl+Alt+Q and Super+Ctrl+Q pass.
    EXPECT_EQ(key(Qt::Key_Q, true, Qt::ControlModifier, true),
              (PanelKeyDecision{true, PanelKeyAction::none}));
    EXPECT_EQ(key(Qt::Key_Q, false, Qt::ControlModifier), PanelKeyDecision{});
    EXPECT_EQ(key(Qt::Key_Q, true, Qt::ControlModifier | Qt::AltModifier), PanelKeyDecision{});
    EXPECT_EQ(key(Qt::Key_Q, true, Qt::ControlModifier | Qt::MetaModifier), PanelKeyDecision{});
    EXPECT_EQ(key(Qt::Key_Q, true, Qt::AltModifier), PanelKeyDecision{});
}

TEST(PanelKeysTest, RAndPGoByKeyPosition) {
    // On a French layout the key in P's place still pauses, and the letter R elsewhere does not restart.
    EXPECT_EQ(key(Qt::Key_A, true, {}, false, platform::nativeScanCodeOf(platform::KeyPosition::p)),
              (PanelKeyDecision{true, PanelKeyAction::togglePause}));
    EXPECT_EQ(key(Qt::Key_R, true, {}, false, 40), PanelKeyDecision{});
    EXPECT_EQ(key(Qt::Key_R, true, {}, false, platform::nativeScanCodeOf(platform::KeyPosition::r)),
              (PanelKeyDecision{true, PanelKeyAction::freshRun}));
    EXPECT_EQ(key(Qt::Key_P), (PanelKeyDecision{true, PanelKeyAction::togglePause}));
}

class SpringAnimatorTest : public ::testing::Test {
protected:
    ManualClock clock;
    PanelSpringAnimator animator{clock};
    QWidget panel{nullptr, Qt::Tool | Qt::FramelessWindowHint};
};

TEST_F(SpringAnimatorTest, KeepsTopEdgeAndCentreWhileGrowing) {
    panel.setGeometry(553, 0, 174, 8);
    int completions = 0;
    QRectF target(400, 0, 480, 192);
    animator.move(&panel, target, true, [&] { ++completions; });
    EXPECT_TRUE(animator.running());
    EXPECT_EQ(animator.response(), PanelSpringAnimator::openingResponse);
    double lastHeight = 0;
    for (int i = 0; i < 240 && animator.running(); ++i) {
        clock.advance(1.0 / 120);
        animator.tick();
        QRect g = panel.geometry();
        EXPECT_EQ(g.top(), 0);
        EXPECT_LE(std::abs((g.left() + g.width() / 2.0) - 640), 0.5);
        EXPECT_GE(g.height(), lastHeight); // no overshoot, no wobble
        lastHeight = g.height();
    }
    EXPECT_FALSE(animator.running());
    EXPECT_EQ(panel.geometry(), QRect(400, 0, 480, 192));
    EXPECT_EQ(completions, 1);
}

TEST_F(SpringAnimatorTest, ReduceMotionAndUnanimatedMovesAreInstant) {
    animator.setReduceMotion(true);
    bool done = false;
    animator.move(&panel, QRectF(10, 0, 100, 20), true, [&] { done = true; });
    EXPECT_TRUE(done);
    EXPECT_FALSE(animator.running());
    EXPECT_EQ(panel.geometry(), QRect(10, 0, 100, 20));
}

TEST_F(SpringAnimatorTest, RedirectedMoveReportsOnlyTheLastCompletionAndShrinksFaster) {
    panel.setGeometry(400, 0, 480, 192);
    int first = 0;
    int second = 0;
    animator.move(&panel, QRectF(553, 0, 174, 8), true, [&] { ++first; });
    EXPECT_EQ(animator.response(), PanelSpringAnimator::closingResponse);
    clock.advance(0.05);
    animator.tick();
    animator.move(&panel, QRectF(553, 0, 174, 24), true, [&] { ++second; });
    while (animator.running()) {
        clock.advance(1.0 / 120);
        animator.tick();
    }
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
}

TEST_F(SpringAnimatorTest, LongPauseAdvancesByAtMostFiftyMilliseconds) {
    panel.setGeometry(553, 0, 174, 8);
    animator.move(&panel, QRectF(553, 0, 174, 24), true);
    DampedSpring expected(8);
    expected.setTarget(24);
    expected.advance(0.05, PanelSpringAnimator::openingResponse);
    clock.advance(3.0);
    animator.tick();
    EXPECT_DOUBLE_EQ(animator.height().value(), expected.value());
}

class HoverMonitorTest : public ::testing::Test {
protected:
    HoverMonitorTest() {
        monitor.setTriggerRect(QRectF(596, -3, 88, 6));
        monitor.setRetentionRect(QRectF(549, -4, 182, 32));
        QObject::connect(&monitor, &NotchHoverMonitor::visibilityChanged,
                         [this](bool visible) { reports.push_back(visible); });
    }
    ManualClock clock;
    platform::PolledDesktopPointer pointer;
    NotchHoverMonitor monitor{pointer, clock};
    std::vector<bool> reports;
};

TEST_F(HoverMonitorTest, RestingRevealsThroughTheDeadlineTimer) {
    monitor.handlePointer(QPointF(640, 1), false);
    ASSERT_TRUE(monitor.deadlineTimerActive());
    EXPECT_EQ(monitor.scheduledDeadline(), monitor.intent().deadline());
    EXPECT_TRUE(reports.empty());
    clock.advance(0.25);
    // What the timer does when it fires, with the pointer where it was.
    monitor.handlePointer(QPointF(640, 1), false);
    EXPECT_EQ(reports, std::vector<bool>{true});
    EXPECT_FALSE(monitor.deadlineTimerActive());
}

TEST_F(HoverMonitorTest, ADragNeverRevealsButAPressInsideAnOpenPeekKeepsIt) {
    monitor.handlePointer(QPointF(640, 1), true);
    clock.advance(1);
    monitor.handlePointer(QPointF(640, 1), true);
    EXPECT_TRUE(reports.empty());
    EXPECT_FALSE(monitor.deadlineTimerActive());
    monitor.handlePointer(QPointF(640, 1), false);
    clock.advance(0.3);
    monitor.handlePointer(QPointF(640, 1), false);
    monitor.handlePointer(QPointF(640, 10), true);
    EXPECT_EQ(reports, std::vector<bool>{true});
    EXPECT_EQ(monitor.intent().phase(), HoverIntent::Phase::revealed);
}

TEST_F(HoverMonitorTest, DisablingWhileVisibleReportsOnceAndStopsListening) {
    monitor.handlePointer(QPointF(640, 1), false);
    clock.advance(0.25);
    monitor.handlePointer(QPointF(640, 1), false);
    monitor.setEnabled(false);
    EXPECT_EQ(reports, (std::vector<bool>{true, false}));
    monitor.handlePointer(QPointF(640, 1), false);
    EXPECT_FALSE(monitor.deadlineTimerActive());
    EXPECT_EQ(reports.size(), 2u);
    EXPECT_FALSE(pointer.isActive());
}

TEST_F(HoverMonitorTest, TheTimerItselfFiresAtTheDeadline) {
    SteadyClock steady;
    NotchHoverMonitor live(pointer, steady);
    live.setTriggerRect(QRectF(0, 0, 10, 10));
    bool shown = false;
    QObject::connect(&live, &NotchHoverMonitor::visibilityChanged, [&](bool v) { shown = v; });
    live.handlePointer(QPointF(5, 5), false);
    // The monitor re-reads the pointer when its timer fires; the polled pointer reports the
    // cursor, so put the trigger rectangle around wherever that is.
    QPointF cursor = pointer.position();
    live.setTriggerRect(QRectF(cursor.x() - 5, cursor.y() - 5, 10, 10));
    EXPECT_TRUE(QTest::qWaitFor([&] { return shown; }, 2000));
}

class ControllerTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }
    std::unique_ptr<NotchPanelController> make() {
        auto settings = std::make_unique<QSettings>(dir.filePath("Vantrel.conf"), QSettings::IniFormat);
        return std::make_unique<NotchPanelController>(std::move(settings), clock,
                                                      platform::nullPlatformServices());
    }
    QTemporaryDir dir;
    ManualClock clock;
};

TEST_F(ControllerTest, ExpandAndCollapseFollowTheStore) {
    auto controller = make();
    GameStore& store = controller->store();
    EXPECT_EQ(store.notchWidth(), 160);
    EXPECT_EQ(store.notchHeight(), 8);
    ASSERT_NE(controller->selectedScreen(), nullptr);
    EXPECT_FALSE(controller->panel().isVisible());

    bool asked = false;
    controller->setAuthorizePlay([&] {
        asked = true;
        return false;
    });
    EXPECT_FALSE(controller->expand());
    EXPECT_TRUE(asked);
    EXPECT_FALSE(store.expanded());

    controller->setAuthorizePlay(nullptr);
    controller->springAnimator().setReduceMotion(true);
    EXPECT_TRUE(controller->expand());
    EXPECT_TRUE(store.expanded());
    EXPECT_TRUE(controller->panel().acceptsGameInput());
    EXPECT_FALSE(controller->hoverMonitor().enabled());
    QRect screen = controller->selectedScreen()->geometry();
    QRect frame = controller->panel().geometry();
    EXPECT_EQ(frame.width(), std::min(480, screen.width() - 24));
    EXPECT_EQ(frame.top(), controller->selectedScreen()->availableGeometry().top());
    EXPECT_NEAR(frame.center().x() + 0.5, screen.center().x() + 0.5, 1);

    store.act();
    controller->collapse(true);
    EXPECT_FALSE(store.expanded());
    EXPECT_EQ(store.runner().phase(), RunPhase::paused);
    EXPECT_FALSE(controller->panel().acceptsGameInput());
    EXPECT_TRUE(controller->hoverMonitor().enabled());
    EXPECT_FALSE(controller->panel().isVisible());
    EXPECT_EQ(controller->hoverMonitor().intent().phase(), HoverIntent::Phase::suppressed);
}

TEST_F(ControllerTest, CollapseWhenNotExpandedDoesNothing) {
    auto controller = make();
    GameStore& store = controller->store();
    controller->collapse(true);
    EXPECT_EQ(store.runner().phase(), RunPhase::ready);
    EXPECT_FALSE(store.expanded());
}

TEST_F(ControllerTest, TurningHoverOffHidesThePeekAndStopsTheMonitor) {
    auto controller = make();
    controller->springAnimator().setReduceMotion(true);
    controller->store().setHoverToPeek(false);
    controller->updateLayout();
    EXPECT_FALSE(controller->hoverMonitor().enabled());
}

// A motion preference the test can change, as a desktop would.
class SwitchableMotion final : public platform::MotionPreference {
public:
    bool reduceMotion() const override { return reduce; }
    void set(bool value) {
        reduce = value;
        emit changed();
    }
    bool reduce = false;
};

TEST_F(ControllerTest, SpringsFollowTheMotionPreference) {
    auto settings = std::make_unique<QSettings>(dir.filePath("Vantrel.conf"), QSettings::IniFormat);
    platform::PlatformServices services = platform::nullPlatformServices();
    auto motion = std::make_unique<SwitchableMotion>();
    motion->reduce = true;
    SwitchableMotion* preference = motion.get();
    services.motion = std::move(motion);
    NotchPanelController controller(std::move(settings), clock, std::move(services));
    EXPECT_TRUE(controller.springAnimator().reduceMotion());
    EXPECT_TRUE(controller.motionPreference().reduceMotion());
    preference->set(false);
    EXPECT_FALSE(controller.springAnimator().reduceMotion());
}

// A pointer warped into or out of the trigger strip moves no device; the strip's
// crossings and the panel's own enter and leave are what make the monitor look.
TEST_F(ControllerTest, StripCrossingsAndThePanelsLeaveMakeTheMonitorLook) {
    auto settings = std::make_unique<QSettings>(dir.filePath("Vantrel.conf"), QSettings::IniFormat);
    platform::PlatformServices services = platform::nullPlatformServices();
    auto strip = std::make_unique<platform::NullHoverStrip>();
    platform::HoverStrip* hoverStrip = strip.get();
    services.hoverStrip = std::move(strip);
    NotchPanelController controller(std::move(settings), clock, std::move(services));
    const NotchHoverMonitor& monitor = controller.hoverMonitor();
    ASSERT_TRUE(monitor.enabled());
    const QPointF inStrip = monitor.triggerRect().center();
    ASSERT_FALSE(monitor.triggerRect().isEmpty());

    // No turn of the event loop in between: only the crossing can have made it look.
    QCursor::setPos(inStrip.toPoint());
    emit hoverStrip->pointerCrossed();
    EXPECT_EQ(monitor.intent().phase(), HoverIntent::Phase::waiting);

    QCursor::setPos(QPoint(20, 400));
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(&controller.panel(), &leave);
    EXPECT_EQ(monitor.intent().phase(), HoverIntent::Phase::hidden);
}

TEST_F(ControllerTest, TheViewsOptionsButtonBecomesTheControllersSignal) {
    auto controller = make();
    auto* view = qobject_cast<NotchView*>(controller->panel().content());
    ASSERT_NE(view, nullptr);
    QSignalSpy spy(controller.get(), &NotchPanelController::optionsRequested);
    emit view->optionsRequested(QPoint(700, 40));
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy.at(0).at(0).toPoint(), QPoint(700, 40));
}

TEST_F(ControllerTest, AScreenChangeClosesThePlayfieldOnTheNextTurnButNotAfterShutdown) {
    auto controller = make();
    controller->springAnimator().setReduceMotion(true);
    ASSERT_TRUE(controller->expand());
    QScreen* screen = controller->selectedScreen();
    ASSERT_NE(screen, nullptr);
    // Three changes in one burst: the playfield closes once, on the next turn of the event loop.
    emit screen->geometryChanged(screen->geometry());
    emit screen->availableGeometryChanged(screen->availableGeometry());
    emit qGuiApp->primaryScreenChanged(screen);
    EXPECT_TRUE(controller->store().expanded());
    EXPECT_TRUE(QTest::qWaitFor([&] { return !controller->store().expanded(); }, 1000));
    EXPECT_EQ(controller->selectedScreen(), screen);

    controller->shutdown();
    ASSERT_TRUE(controller->expand());
    emit screen->geometryChanged(screen->geometry());
    QTest::qWait(20);
    EXPECT_TRUE(controller->store().expanded());
}

TEST(PanelScreensTest, ABurstOfChangesIsReportedOnceAndNothingAfterStop) {
    platform::NoScreenNotch notches;
    PanelScreens screens(notches);
    QSignalSpy changed(&screens, &PanelScreens::changed);
    QScreen* screen = QGuiApplication::primaryScreen();
    ASSERT_NE(screen, nullptr);
    emit screen->geometryChanged(screen->geometry());
    emit screen->availableGeometryChanged(screen->availableGeometry());
    emit qGuiApp->primaryScreenChanged(screen);
    EXPECT_EQ(changed.count(), 0); // not while Qt is still updating its screen list
    EXPECT_TRUE(changed.wait(1000));
    QTest::qWait(20);
    EXPECT_EQ(changed.count(), 1);

    emit screen->geometryChanged(screen->geometry());
    screens.stop(); // a burst under way is dropped too
    QTest::qWait(20);
    EXPECT_EQ(changed.count(), 1);
}

TEST(PanelScreensTest, KeepsTheChosenScreenWhenThePointerIsOffEveryScreen) {
    platform::NoScreenNotch notches;
    PanelScreens screens(notches);
    EXPECT_EQ(screens.selected(), nullptr);
    EXPECT_FALSE(screens.geometry().has_value());
    screens.select(std::nullopt);
    ASSERT_EQ(screens.selected(), QGuiApplication::primaryScreen());
    screens.select(QPointF(-100000, -100000));
    EXPECT_EQ(screens.selected(), QGuiApplication::primaryScreen());
    ASSERT_TRUE(screens.geometry().has_value());
    EXPECT_EQ(screens.geometry()->notchWidth(), 160); // no notch: the drawn tab's width
    QRect primary = QGuiApplication::primaryScreen()->geometry();
    screens.select(QPointF(primary.center()));
    EXPECT_EQ(screens.selected(), QGuiApplication::primaryScreen());
}

TEST_F(ControllerTest, KeysReachTheStoreOnlyWhileThePlayfieldIsOpenAndFocused) {
    auto controller = make();
    controller->springAnimator().setReduceMotion(true);
    QSignalSpy actions(&controller->keyboard(), &PanelKeyboard::actionRequested);
    // Closed: the key is not the panel's.
    QKeyEvent space(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier);
    QCoreApplication::sendEvent(&controller->panel(), &space);
    EXPECT_EQ(actions.count(), 0);
    EXPECT_EQ(controller->store().runner().phase(), RunPhase::ready);

    ASSERT_TRUE(controller->expand());
    controller->panel().activateWindow();
    if (!QTest::qWaitForWindowActive(&controller->panel(), 1000)) {
        GTEST_SKIP() << "this platform does not activate the panel";
    }
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier);
    QCoreApplication::sendEvent(&controller->panel(), &press);
    ASSERT_EQ(actions.count(), 1);
    EXPECT_EQ(actions.at(0).at(0).value<PanelKeyAction>(), PanelKeyAction::act);
    EXPECT_EQ(controller->store().runner().phase(), RunPhase::running);

    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QCoreApplication::sendEvent(&controller->panel(), &escape);
    EXPECT_FALSE(controller->store().expanded());
    EXPECT_EQ(actions.count(), 2);
}

TEST_F(ControllerTest, ControlQOnTheOpenPlayfieldAsksToQuit) {
    auto controller = make();
    controller->springAnimator().setReduceMotion(true);
    QSignalSpy quits(controller.get(), &NotchPanelController::quitRequested);
    // Closed: Ctrl+Q belongs to whichever window has the keyboard.
    QKeyEvent early(QEvent::KeyPress, Qt::Key_Q, Qt::ControlModifier);
    QCoreApplication::sendEvent(&controller->panel(), &early);
    EXPECT_EQ(quits.count(), 0);

    ASSERT_TRUE(controller->expand());
    controller->panel().activateWindow();
    if (!QTest::qWaitForWindowActive(&controller->panel(), 1000)) {
        GTEST_SKIP() << "this platform does not activate the panel";
    }
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_TRUE(QCoreApplication::sendEvent(&controller->panel(), &press));
    EXPECT_EQ(quits.count(), 1);
    EXPECT_TRUE(press.isAccepted());
}

} // namespace
