#include "PixelProbe.h"
#include "ViewScenes.h"

#include "Vantrel/panel/PanelLayout.h"
#include "Vantrel/pixels/NotchShape.h"
#include "Vantrel/pixels/RetroFont.h"
#include "Vantrel/views/NotchView.h"
#include "Vantrel/views/RunwayView.h"

#include <QAbstractButton>
#include <QPainterPath>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace vantrel;
using namespace vantrel::scenes;

namespace {

class NotchViewTest : public ::testing::TestWithParam<double> {
protected:
    NotchViewTest() : m_view(m_fixture.store()) {
        m_view.setAnimated(false);
        // Shown (off screen) like the panel's content, so resizes reach it at once.
        m_view.setAttribute(Qt::WA_DontShowOnScreen);
        m_view.show();
    }

    GameStore& store() { return m_fixture.store(); }
    double dpr() const { return GetParam(); }
    QImage shoot() {
        return render(m_view,
                      QSize(static_cast<int>(store().panelWidth()), static_cast<int>(store().panelHeight())),
                      dpr());
    }
    template <typename T = QWidget> T* child(const char* name) {
        T* w = m_view.findChild<T*>(QString::fromLatin1(name));
        EXPECT_NE(w, nullptr) << name;
        return w;
    }
    // Expands as the panel controller does: the store first, then the panel's size.
    void expand() {
        store().setExpanded(true);
        m_fixture.setMoment({.phase = RunPhase::ready, .elapsed = 0, .distance = 0});
        fitPanel();
    }
    void fitPanel() {
        m_view.resize(static_cast<int>(store().panelWidth()), static_cast<int>(store().panelHeight()));
    }

    StoreFixture m_fixture;
    NotchView m_view;
};

bool isBlackOrClear(const QColor& c) {
    return c.alpha() == 0 || (c.red() == 0 && c.green() == 0 && c.blue() == 0);
}

TEST_P(NotchViewTest, CollapsedShowsOnlyBlackInsideTheNotch) {
    const QImage image = shoot();
    EXPECT_EQ(image.size(), (QSizeF(194, 32) * dpr()).toSize());
    EXPECT_EQ(probe::count(image, QRectF(0, 0, 194, 32), [](const QColor& c) { return !isBlackOrClear(c); }),
              0);
    EXPECT_GT(probe::count(image, QRectF(0, 0, 194, 32), [](const QColor& c) { return c.alpha() == 255; }),
              150 * 20 * dpr() * dpr());
    EXPECT_FALSE(child("peekButton")->isVisibleTo(&m_view));
    EXPECT_FALSE(child("runway")->isVisibleTo(&m_view));
}

TEST_P(NotchViewTest, ShapeHasEarsAndCornersOfRadius13CollapsedAnd25Expanded) {
    QImage collapsed = shoot();
    EXPECT_EQ(m_view.shapeRadius(), 13);
    EXPECT_EQ(probe::alphaAt(collapsed, 1, 5), 0);       // under the left ear
    EXPECT_EQ(probe::alphaAt(collapsed, 192.5, 5), 0);   // under the right ear
    EXPECT_EQ(probe::alphaAt(collapsed, 5.5, 0.5), 255); // the ear's top meets the menu bar
    EXPECT_EQ(probe::alphaAt(collapsed, 188.5, 0.5), 255);
    EXPECT_GT(probe::alphaAt(collapsed, 0.2, 0.2), 0); // the top edge spans the whole width
    EXPECT_EQ(probe::alphaAt(collapsed, 5, 15), 0);    // beside the 14-point narrower body
    EXPECT_EQ(probe::alphaAt(collapsed, 8, 15), 255);
    EXPECT_EQ(probe::alphaAt(collapsed, 8, 31.5), 0); // rounded bottom corner
    EXPECT_EQ(probe::alphaAt(collapsed, 97, 31.5), 255);

    expand();
    EXPECT_EQ(m_view.shapeRadius(), 25);
    QImage expanded = shoot();
    EXPECT_EQ(expanded.size(), (QSizeF(480, 196) * dpr()).toSize()); // 32 + 164
    EXPECT_LT(probe::alphaAt(expanded, 12, 192), 40);                // a 13 radius would have covered this
    EXPECT_EQ(probe::alphaAt(expanded, 12, 160), 255);
    EXPECT_EQ(probe::alphaAt(expanded, 240, 195.5), 255);
    EXPECT_EQ(probe::alphaAt(expanded, 476, 100), 0);
}

TEST_P(NotchViewTest, PeekingShowsTheClippedHeadUnderTheNotch) {
    store().setPeeking(true);
    const QImage image = shoot();
    EXPECT_EQ(image.size(), (QSizeF(194, 48) * dpr()).toSize());
    auto bright = [](const QColor& c) { return c.red() > 60; };
    // The head's frame: 14 x 12, centred across the width, bottom-aligned in the 16-point strip.
    const QRectF frame(90, 36, 14, 12);
    EXPECT_GT(probe::count(image, frame, bright), 40 * dpr() * dpr());
    EXPECT_EQ(probe::count(image, QRectF(0, 0, 194, 48), bright), probe::count(image, frame, bright));
    const QRectF head = probe::litBounds(image, QRectF(0, 0, 194, 48), 100, 60);
    EXPECT_EQ(head.left(), 90);
    EXPECT_EQ(head.top(), 36);
    EXPECT_EQ(head.right(), 104); // the snout's tip (16.5 points) is cut at 14
    EXPECT_EQ(head.bottom(), 48);
    EXPECT_NEAR(probe::at(image, 91, 47).red(), 179, 2); // white at 0.7 over black

    auto* peek = child<QAbstractButton>("peekButton");
    EXPECT_EQ(peek->geometry(), QRect(0, 32, 194, 16));
    EXPECT_EQ(peek->accessibleName(), "Play Vantrel");
    EXPECT_EQ(peek->toolTip(), "Click to play · Alt+Super+Space");
    EXPECT_EQ(peek->focusPolicy(), Qt::NoFocus);
    m_fixture.setMoment({.phase = RunPhase::paused});
    EXPECT_EQ(peek->accessibleName(), "Resume Vantrel");
    EXPECT_EQ(peek->toolTip(), "Click to resume · Alt+Super+Space");
    store().setShortcutAvailable(false);
    EXPECT_EQ(peek->toolTip(), "Click to resume");

    QSignalSpy open(&m_view, &NotchView::openRequested);
    QTest::mouseClick(peek, Qt::LeftButton, {}, QPoint(10, 8));
    EXPECT_EQ(open.count(), 1);
}

TEST_P(NotchViewTest, ScoresSitBesideTheNotchWithFiveDigits) {
    expand();
    store().setBest(42);
    m_fixture.setMoment({.distance = 7 * 12 + 5});
    auto* best = child("bestScore");
    auto* current = child("currentScore");
    // Row: x 40 to 440; the gap is 180 + 28 = 208 wide, each side (400 - 208) / 2 = 96.
    EXPECT_EQ(best->geometry(), QRect(40, 9, 96, 32));
    EXPECT_EQ(current->geometry(), QRect(344, 9, 96, 32));
    EXPECT_EQ(best->accessibleName(), "Best score 42");
    EXPECT_EQ(current->accessibleName(), "Current score 7");

    const QImage image = shoot();
    const QRectF hi = probe::litBounds(image, QRectF(40, 9, 96, 32), 100, 60);
    const QRectF now = probe::litBounds(image, QRectF(344, 9, 96, 32), 100, 60);
    ASSERT_FALSE(hi.isEmpty());
    ASSERT_FALSE(now.isEmpty());
    EXPECT_NEAR(hi.right(), 136, 1.01); // trailing, against the gap
    EXPECT_EQ(now.left(), 344);         // leading, against the gap
    EXPECT_TRUE(probe::litBounds(image, QRectF(137, 9, 206, 32), 10, 10).isEmpty())
        << "nothing behind the camera";
    EXPECT_NEAR((hi.top() + hi.bottom()) / 2, 9 + 16, 1.5); // centred in the row
    if (RetroFont::available()) {
        EXPECT_NEAR(hi.width(), 8 * 8, 1.5);  // "HI 00042"
        EXPECT_NEAR(now.width(), 5 * 8, 1.5); // "00007"
    }
    // Quiet colours: best at 0.55, current at 0.92, over black.
    EXPECT_EQ(probe::count(image, hi, [](const QColor& c) { return c.red() > 145; }), 0);
    EXPECT_GT(probe::count(image, now, [](const QColor& c) { return c.red() > 225 && c.red() == c.green(); }),
              10);

    // A new best and an award turn them mint; six digits print in full.
    store().setBest(123456);
    GameStoreTestAccess::setIsNewBest(store(), true);
    GameStoreTestAccess::setAward(store(), ScoreAward::milestone(100), 0.5);
    const QImage lit = shoot();
    auto mint = [](const QColor& c) { return c.green() - c.red() > 30 && c.green() > 200; };
    EXPECT_GT(probe::count(lit, QRectF(40, 9, 96, 32), mint), 10);
    EXPECT_GT(probe::count(lit, QRectF(344, 9, 96, 32), mint), 10);
    EXPECT_EQ(best->accessibleName(), "Best score 123456");
    if (RetroFont::available()) {
        EXPECT_NEAR(probe::litBounds(lit, QRectF(40, 9, 96, 32), 100, 60).width(), 9 * 8, 1.5); // "HI 123456"
    }
}

TEST_P(NotchViewTest, WithoutANotchTheScoreRowIsStill28High) {
    store().setNotchHeight(0);
    store().setNotchWidth(0);
    expand();
    EXPECT_EQ(store().panelHeight(), 192);
    EXPECT_EQ(child("bestScore")->geometry(), QRect(40, 9, 186, 28));
    EXPECT_EQ(child("currentScore")->geometry(), QRect(254, 9, 186, 28));
    EXPECT_EQ(child("runway")->geometry(), QRect(20, 37, 440, 110));
    const QImage image = shoot();
    // The runway's ground line: 10 points above the runway's bottom.
    EXPECT_NEAR(probe::at(image, 300, 37 + 100.5).red(), 61, 2);
}

TEST_P(NotchViewTest, RunwayFillsThePanelWidthAt110Or140PointsHigh) {
    expand();
    EXPECT_EQ(child("runway")->geometry(), QRect(20, 41, 440, 110));
    store().setRoomy(true);
    EXPECT_EQ(store().panelWidth(), 600);
    const QImage image = shoot();
    EXPECT_EQ(child("runway")->geometry(), QRect(20, 41, 560, 140));
    // Scale 560 / 440: the ground line at 41 + 140 - 10 * 560 / 440.
    const double ground = 41 + 140 - 10 * 560.0 / 440;
    EXPECT_GT(probe::at(image, 300, ground + 0.3).red(), 40);
    EXPECT_EQ(probe::at(image, 300, ground - 1.5).red(), 0);
}

TEST_P(NotchViewTest, RunwayPaintsTheBodyUnderItOnlyWhereTheBodyIsWhole) {
    expand();
    QWidget* runway = child("runway");
    // At rest the runway is well inside the body: it paints its own black, so a
    // frame does not repaint the panel under it.
    EXPECT_TRUE(runway->testAttribute(Qt::WA_OpaquePaintEvent));
    const QImage image = shoot();
    EXPECT_EQ(probe::at(image, 30, 50), QColor(Qt::black));

    // While the panel grows, its rounded corners cut through the runway: there
    // the panel's shape decides, and outside it nothing is painted.
    const int height = runway->geometry().bottom() + 1 + 6;
    m_view.resize(static_cast<int>(store().panelWidth()), height);
    EXPECT_FALSE(runway->testAttribute(Qt::WA_OpaquePaintEvent));
    const QImage growing = render(m_view, QSize(static_cast<int>(store().panelWidth()), height), dpr());
    EXPECT_EQ(probe::alphaAt(growing, 20.5, height - 0.5), 0);
    EXPECT_EQ(probe::at(growing, 30, 50), QColor(Qt::black));

    fitPanel();
    EXPECT_TRUE(runway->testAttribute(Qt::WA_OpaquePaintEvent));
}

TEST_P(NotchViewTest, ItemsThatChangeDuringARunPaintTheirOwnBlackOnTheBody) {
    expand();
    for (bool roomy : {false, true}) {
        store().setRoomy(roomy);
        fitPanel();
        const QPainterPath body = NotchShape{PanelLayout::expandedRadius}.path(QRectF(m_view.rect()));
        for (const char* name : {"bestScore", "currentScore", "speedMeter"}) {
            QWidget* item = child(name);
            EXPECT_TRUE(item->testAttribute(Qt::WA_OpaquePaintEvent)) << name;
            EXPECT_TRUE(body.contains(QRectF(item->geometry()))) << name << (roomy ? " roomy" : "");
        }
        const QImage image = shoot();
        const QRect score = child("currentScore")->geometry();
        EXPECT_EQ(probe::at(image, score.left() + 0.5, score.top() + 0.5), QColor(Qt::black));
    }
}

TEST_P(NotchViewTest, SpeedMeterLightsOneBarPerLevel) {
    expand();
    auto* meter = child("speedMeter");
    auto barColour = [&](const QImage& image, int i) {
        const QRect g = meter->geometry();
        // Bar i: x (i - 1) * 5, 3 wide; bottom-aligned, 2i + 3 high.
        return probe::at(image, g.left() + (i - 1) * 5 + 1.5, g.top() + g.height() / 2.0 + 6.5 - 1);
    };
    QImage level1 = shoot();
    EXPECT_EQ(meter->toolTip(), "Speed level 1 of 5");
    EXPECT_EQ(meter->accessibleName(), "Speed level 1 of 5");
    const QColor lit = barColour(level1, 1);
    const QColor dark = barColour(level1, 2);
    EXPECT_GT(lit.green() - lit.red(), 20); // accent at 0.7 over black
    EXPECT_NEAR(lit.green(), 0.91 * 0.7 * 255, 3);
    EXPECT_NEAR(dark.red(), 0.12 * 255, 2); // white at 0.12 over black
    EXPECT_EQ(dark.red(), dark.green());

    const int64_t level = Runner::speedLevelAt(60);
    ASSERT_GE(level, 2);
    ASSERT_LT(level, 5);
    m_fixture.setMoment({.elapsed = 60});
    QImage faster = shoot();
    EXPECT_EQ(meter->toolTip(), QStringLiteral("Speed level %1 of 5").arg(level));
    for (int i = 1; i <= 5; ++i) {
        const QColor c = barColour(faster, i);
        EXPECT_EQ(c.green() - c.red() > 20, i <= level) << "bar " << i;
    }
    // Heights: bar 5 is 13 high, bar 1 is 5.
    const QRect g = meter->geometry();
    const QRectF bar5 = probe::litBounds(faster, QRectF(g.left() + 20, g.top(), 3, g.height()), 10, 10);
    const QRectF bar1 = probe::litBounds(faster, QRectF(g.left(), g.top(), 3, g.height()), 10, 10);
    EXPECT_EQ(bar5.height(), 13);
    EXPECT_EQ(bar1.height(), 5);
    EXPECT_EQ(bar5.bottom(), bar1.bottom());
}

TEST_P(NotchViewTest, ControlRowNamesAndActions) {
    expand();
    auto* space = child<QAbstractButton>("spaceHint");
    auto* down = child("downHint");
    auto* pause = child<QAbstractButton>("pauseButton");
    auto* sound = child<QAbstractButton>("soundButton");
    auto* options = child<QAbstractButton>("optionsButton");
    auto* esc = child<QAbstractButton>("escHint");

    EXPECT_EQ(space->accessibleName(), "Jump or start game");
    EXPECT_EQ(space->height(), 28);
    EXPECT_EQ(down->toolTip(), "Hold Down arrow to duck. Press Down in the air to drop faster.");
    EXPECT_EQ(down->inherits("QAbstractButton"), false);
    EXPECT_EQ(pause->toolTip(), "Pause or resume (P)");
    EXPECT_EQ(pause->accessibleName(), "Pause");
    EXPECT_EQ(sound->toolTip(), "Enable sound");
    EXPECT_EQ(sound->accessibleName(), "Enable sound");
    EXPECT_EQ(options->toolTip(), "Options");
    EXPECT_EQ(options->accessibleName(), "Options");
    EXPECT_EQ(esc->accessibleName(), "Close game and return to work");
    for (QAbstractButton* b : {space, pause, sound, options, esc}) {
        EXPECT_EQ(b->focusPolicy(), Qt::NoFocus) << "Space must reach the game, not a button";
        EXPECT_TRUE(m_view.rect().contains(b->geometry())) << b->objectName().toStdString();
    }
    EXPECT_LT(space->geometry().right(), down->geometry().left());
    EXPECT_LT(down->geometry().right(), child("speedMeter")->geometry().left());
    EXPECT_LT(pause->geometry().right(), sound->geometry().left());
    EXPECT_LT(sound->geometry().right(), options->geometry().left());
    EXPECT_LT(options->geometry().right(), esc->geometry().left());
    EXPECT_EQ(esc->geometry().right() + 1, 460);

    // Each button says what the player wants and leaves the store alone.
    QSignalSpy act(&m_view, &NotchView::actRequested);
    QSignalSpy pauseRequests(&m_view, &NotchView::pauseRequested);
    QSignalSpy soundToggles(&m_view, &NotchView::soundToggleRequested);
    QSignalSpy close(&m_view, &NotchView::closeRequested);
    QSignalSpy menu(&m_view, &NotchView::optionsRequested);
    QTest::mouseClick(space, Qt::LeftButton);
    EXPECT_EQ(act.count(), 1);
    EXPECT_EQ(store().runner().phase(), RunPhase::ready);
    QTest::mouseClick(pause, Qt::LeftButton);
    EXPECT_EQ(pauseRequests.count(), 1);
    EXPECT_EQ(store().runner().phase(), RunPhase::ready);
    QTest::mouseClick(sound, Qt::LeftButton);
    EXPECT_EQ(soundToggles.count(), 1);
    EXPECT_FALSE(store().soundEnabled());
    EXPECT_EQ(act.count(), 1);
    EXPECT_EQ(pauseRequests.count(), 1);

    // The names follow the store when it changes.
    store().act();
    EXPECT_EQ(pause->accessibleName(), "Pause");
    store().pause();
    EXPECT_EQ(pause->accessibleName(), "Resume");
    EXPECT_EQ(space->accessibleName(), "Resume game");
    store().setSoundEnabled(true);
    EXPECT_EQ(sound->toolTip(), "Mute sound");
    EXPECT_EQ(sound->accessibleName(), "Mute sound");
    QTest::mouseClick(options, Qt::LeftButton);
    ASSERT_EQ(menu.count(), 1);
    EXPECT_EQ(menu.at(0).at(0).toPoint(), options->mapToGlobal(QPoint(0, options->height())));
    QTest::mouseClick(esc, Qt::LeftButton);
    EXPECT_EQ(close.count(), 1);
    store().pause();
}

TEST_P(NotchViewTest, ControlRowDrawsInQuietWhiteAndDimsWhilePressed) {
    expand();
    auto* sound = child<QAbstractButton>("soundButton");
    const QRect g = sound->geometry();
    // speakerOff: row 4, column 0 is lit; the icon is centred in the button.
    const QPointF pixel(g.left() + (g.width() - 12) / 2 + 0.5, g.top() + (g.height() - 9) / 2 + 4.5);
    const QImage idle = shoot();
    EXPECT_NEAR(probe::at(idle, pixel.x(), pixel.y()).red(), 0.47 * 255, 2);
    sound->setDown(true);
    const QImage pressed = shoot();
    EXPECT_NEAR(probe::at(pressed, pixel.x(), pixel.y()).red(), 0.47 * 0.5 * 255, 2);
    sound->setDown(false);
    // Space hint texts start after the cap's 5-point padding; the cap is white at 0.065.
    auto* space = child("spaceHint");
    const QRect s = space->geometry();
    const QColor cap = probe::at(idle, s.left() + 2, s.top() + 14);
    EXPECT_NEAR(cap.red(), 0.065 * 255, 2);
}

TEST_P(NotchViewTest, ExpandingHidesThePeekAndCollapsingHidesTheGame) {
    store().setPeeking(true);
    expand();
    EXPECT_FALSE(child("peekButton")->isVisibleTo(&m_view));
    EXPECT_TRUE(child("runway")->isVisibleTo(&m_view));
    store().setExpanded(false);
    EXPECT_TRUE(child("peekButton")->isVisibleTo(&m_view));
    EXPECT_FALSE(child("runway")->isVisibleTo(&m_view));
    EXPECT_FALSE(child("escHint")->isVisibleTo(&m_view));
    EXPECT_EQ(m_view.shapeRadius(), 13);
}

TEST_P(NotchViewTest, TheRunwaysActionLeavesAsTheViewsRequest) {
    expand();
    QSignalSpy act(&m_view, &NotchView::actRequested);
    auto* card = child<QAbstractButton>("card");
    ASSERT_NE(card, nullptr);
    QTest::mouseClick(card, Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_EQ(act.count(), 1);
    EXPECT_EQ(store().runner().phase(), RunPhase::ready);
}

TEST_P(NotchViewTest, FollowsThePanelLayoutsMeasurements) {
    expand();
    const double row = PanelLayout::scoreRowHeight(store().notchHeight());
    const QRect runway = child("runway")->geometry();
    EXPECT_EQ(runway.top(), PanelLayout::bodyPaddingTop + row);
    EXPECT_EQ(runway.left(), PanelLayout::bodyPaddingX);
    EXPECT_EQ(runway.width(), PanelLayout::runwayWidth);
    EXPECT_EQ(runway.height(), PanelLayout::runwayHeight);
    const QRect space = child("spaceHint")->geometry();
    EXPECT_EQ(space.top(), runway.bottom() + 1 + PanelLayout::controlRowGap);
    EXPECT_EQ(space.height(), PanelLayout::controlRowHeight);
    // What is left under the control row is the bottom padding.
    EXPECT_EQ(m_view.height() - (space.bottom() + 1), PanelLayout::bodyPaddingBottom);
    EXPECT_EQ(m_view.height(), row + PanelLayout::bodyHeight);
}

INSTANTIATE_TEST_SUITE_P(Scales, NotchViewTest, ::testing::Values(1.0, 2.0));

} // namespace
