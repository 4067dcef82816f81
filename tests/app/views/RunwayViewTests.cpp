#include "PixelProbe.h"
#include "ViewScenes.h"

#include "Vantrel/pixels/PixelDino.h"
#include "Vantrel/pixels/RetroFont.h"
#include "Vantrel/views/NotchView.h"
#include "Vantrel/views/RunwayView.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace vantrel;
using namespace vantrel::scenes;

namespace {

using Bitmap = std::vector<std::string>;

constexpr double groundY = 100; // a 440 x 110 view: scale 1, ground 10 above the bottom
constexpr double standingPixel = 1.7;

const Bitmap feetRestRows = {".....##.##........", ".....##.##........", ".....##.##........",
                             ".....###.###......"};
const Bitmap feetARows = {".....##.##........", ".....##..##.......", ".....##...........",
                          ".....###.........."};
const Bitmap feetBRows = {".....##.##........", "....##..##........", "........##........",
                          "........###......."};
const Bitmap duckEven = {
    "...................######.", "..................##.#####", "#.................########",
    "###...####################", ".######################...", "..###################.....",
    "...################.......", ".....############.........", ".......##....##...........",
    ".......###....##..........",
};

Bitmap figureWith(const Bitmap& feet) {
    Bitmap rows(PixelDino::body.begin(), PixelDino::body.end());
    rows.insert(rows.end(), feet.begin(), feet.end());
    return rows;
}

void expectCells(const QImage& image, const Bitmap& rows, QPointF origin, double pixel, int alpha) {
    for (size_t r = 0; r < rows.size(); ++r) {
        for (size_t c = 0; c < rows[r].size(); ++c) {
            const int a =
                probe::alphaAt(image, origin.x() + (c + 0.5) * pixel, origin.y() + (r + 0.5) * pixel);
            if (rows[r][c] == '#') {
                EXPECT_GT(a, alpha / 2) << "row " << r << " column " << c << " should be lit";
            } else {
                EXPECT_LT(a, alpha / 2) << "row " << r << " column " << c << " should be dark";
            }
        }
    }
}

class RunwayViewTest : public ::testing::TestWithParam<double> {
protected:
    RunwayViewTest() : m_view(m_fixture.store(), NotchView::runwayMint()) {
        QObject::connect(&m_view, &RunwayView::actRequested, [this] { ++m_actions; });
    }

    GameStore& store() { return m_fixture.store(); }
    double dpr() const { return GetParam(); }
    QImage shoot(const Moment& m, QSize size = QSize(440, 110)) {
        m_fixture.setMoment(m);
        return render(m_view, size, dpr());
    }

    StoreFixture m_fixture;
    int m_actions = 0;
    RunwayView m_view;
};

TEST_P(RunwayViewTest, GroundLineLiesTenWorldPointsAboveTheBottom) {
    const QImage image = shoot({.phase = RunPhase::ready, .distance = 0});
    for (const double x : {150.0, 300.0, 439.5}) {
        EXPECT_NEAR(probe::at(image, x, groundY + 0.5).alphaF(), 0.24, 0.01) << x;
        EXPECT_EQ(probe::alphaAt(image, x, groundY - 0.5), 0) << x;
    }
    // A speck: i = 1 at x 27.3, y groundY + 8, 1.5 wide and 1 high, opacity 0.2.
    EXPECT_NEAR(probe::at(image, 28, groundY + 8.5).alphaF(), 0.2, 0.05);

    // Twice as wide: everything at twice the size, the ground 20 view points above the bottom.
    const QImage wide = shoot({.phase = RunPhase::ready, .distance = 0}, QSize(880, 220));
    EXPECT_NEAR(probe::at(wide, 600, 200.5).alphaF(), 0.24, 0.01);
    EXPECT_NEAR(probe::at(wide, 600, 201.5).alphaF(), 0.24, 0.01);
    EXPECT_EQ(probe::alphaAt(wide, 600, 199.5), 0);
    EXPECT_EQ(probe::alphaAt(wide, 600, 202.5), 0);
}

TEST_P(RunwayViewTest, RunningDinosaurAlternatesStridesOnTheGround) {
    const QPointF top(48, groundY - 34);
    // Int(elapsed * 10): 0 is even (feetA), 1 is odd (feetB).
    expectCells(shoot({.elapsed = 0.05}), figureWith(feetARows), top, standingPixel, 235);
    expectCells(shoot({.elapsed = 0.15}), figureWith(feetBRows), top, standingPixel, 235);
    const QColor body =
        probe::at(shoot({.elapsed = 0.05}), 48 + 10.5 * standingPixel, top.y() + 0.5 * standingPixel);
    EXPECT_EQ(body.alpha(), 255);
    EXPECT_NEAR(body.red(), 235, 1); // sRGB white level 0.92
}

TEST_P(RunwayViewTest, StandingAndAirborneDinosaurRestsItsFeet) {
    expectCells(shoot({.phase = RunPhase::ready, .distance = 0}), figureWith(feetRestRows),
                QPointF(48, groundY - 34), standingPixel, 235);
    const QImage air = shoot({.elapsed = 0.15, .height = 30});
    expectCells(air, figureWith(feetRestRows), QPointF(48, groundY - 34 - 30), standingPixel, 235);
    // No dust in the air; on the ground it trails behind at 36 - fmod(distance, 12).
    EXPECT_EQ(probe::alphaAt(air, 38, groundY - 1.5), 0);
    const QImage ground = shoot({.elapsed = 0.15, .distance = 120});
    EXPECT_NEAR(probe::at(ground, 38, groundY - 1.5).alphaF(), 0.3, 0.01);
    const QImage shifted = shoot({.elapsed = 0.15, .distance = 125});
    EXPECT_EQ(probe::alphaAt(shifted, 38, groundY - 1.5), 0);
    EXPECT_NEAR(probe::at(shifted, 32, groundY - 1.5).alphaF(), 0.3, 0.01);
}

TEST_P(RunwayViewTest, DuckingDinosaurHasTwoLegFrames) {
    const QPointF at(48, groundY - 16);
    const QImage even = shoot({.elapsed = 0.05, .downHeld = true}); // Int(0.6) = 0
    expectCells(even, duckEven, at, 1.6, 224);
    Bitmap odd = duckEven;
    odd[8] = "........##..##............";
    odd[9] = ".........##.###...........";
    const QImage oddImage = shoot({.elapsed = 0.1, .downHeld = true}); // Int(1.2) = 1
    expectCells(oddImage, odd, at, 1.6, 224);
    // The bottom of row 9 is on the ground line; dust is drawn in this pose too.
    EXPECT_GT(probe::alphaAt(even, 48 + 7.5 * 1.6, groundY - 0.5), 112);
    EXPECT_NEAR(probe::at(even, 38, groundY - 1.5).alphaF(), 0.3, 0.01);
}

TEST_P(RunwayViewTest, DuckingWhilePausedOrOverIsDrawnStanding) {
    for (const RunPhase phase : {RunPhase::paused, RunPhase::over}) {
        const QImage image = shoot({.phase = phase, .elapsed = 0.15, .downHeld = true});
        // Rows 16 to 19 in feetRest, checked where the crash mark cannot reach.
        Bitmap legs(20, std::string(18, '?'));
        const QPointF top(48, groundY - 34);
        for (int r = 0; r < 4; ++r) {
            for (int c = 0; c < 18; ++c) {
                const int a = probe::alphaAt(image, top.x() + (c + 0.5) * standingPixel,
                                             top.y() + (16 + r + 0.5) * standingPixel);
                const int full = phase == RunPhase::paused ? 77 : 235;
                EXPECT_EQ(a > full / 2, feetRestRows[r][c] == '#') << "row " << 16 + r << " column " << c;
            }
        }
    }
}

TEST_P(RunwayViewTest, CrashMarkCrossesOutTheEye) {
    const double top = groundY - 34;
    const QPointF cross(66.7, top + 5.1); // where the two strokes meet
    const QColor alive = probe::at(shoot({.phase = RunPhase::ready, .distance = 0}), cross.x(), cross.y());
    EXPECT_GT(alive.red(), 200);
    const QImage over = shoot({.phase = RunPhase::over});
    const QColor dead = probe::at(over, cross.x(), cross.y());
    EXPECT_EQ(dead.alpha(), 255);
    EXPECT_LT(dead.red(), 100);
    // The ends of the strokes, inside lit body pixels, are darkened too.
    EXPECT_LT(probe::at(over, 65.6, top + 4.0).red(), 160);
    EXPECT_LT(probe::at(over, 67.8, top + 6.2).red(), 160);
    // An airborne crash draws the mark at the raised head.
    const QImage high = shoot({.phase = RunPhase::over, .height = 20});
    EXPECT_LT(probe::at(high, cross.x(), cross.y() - 20).red(), 100);
}

TEST_P(RunwayViewTest, CactusIsFiveRectanglesAtOpacity082) {
    const QImage image = shoot({.obstacles = {cactus(200, 30)}});
    auto lit = [&](double x, double y) { return probe::at(image, x, y).alphaF(); };
    EXPECT_NEAR(lit(208, 85), 0.82, 0.01);               // trunk (206, 70, 4, 30)
    EXPECT_NEAR(lit(201.5, 80), 0.82, 0.01);             // left upright (200, 76, 3, 13.5)
    EXPECT_NEAR(lit(204, groundY - 10.4), 0.82, 0.01);   // left joint (202, 88.6, 5, 3)
    EXPECT_NEAR(lit(214.5, 76), 0.82, 0.01);             // right upright (213, 73, 3, 12.9)
    EXPECT_NEAR(lit(211.5, groundY - 14.6), 0.82, 0.01); // right joint (209, 84.4, 6, 3)
    EXPECT_EQ(lit(204, 72), 0);                          // between the left arm and the trunk
    EXPECT_EQ(lit(208, 69.5), 0);                        // above the trunk
    EXPECT_EQ(lit(217, 80), 0);                          // right of the right arm
}

TEST_P(RunwayViewTest, ClusteredCactusAddsShorterCactiEvery14Points) {
    // Width 20: Int(18 / 14) = 1, but n is at least 2, so one extra.
    const QImage one = shoot({.obstacles = {cactus(100, 30, 20, true)}});
    // Width 44: Int(42 / 14) = 3, so two extra.
    const QImage two = shoot({.obstacles = {cactus(100, 30, 44, true)}});
    for (const QImage* image : {&one, &two}) {
        EXPECT_NEAR(probe::at(*image, 114 + 8, groundY - 20).alphaF(), 0.82, 0.01); // extra trunk, 24 high
        EXPECT_EQ(probe::alphaAt(*image, 114 + 8, groundY - 25), 0);
    }
    EXPECT_EQ(probe::alphaAt(one, 128 + 8, groundY - 20), 0);
    EXPECT_NEAR(probe::at(two, 128 + 8, groundY - 20).alphaF(), 0.82, 0.01);
    EXPECT_EQ(probe::alphaAt(two, 142 + 8, groundY - 20), 0);
}

TEST_P(RunwayViewTest, FlyerFlapsAtSevenFramesASecond) {
    const Obstacle bird = flyer(250, 26); // top at groundY - 26 - 22.5
    const QPointF at(250, groundY - 26 - 22.5);
    // Wing tip row 0, column 12: up at Int(0.1 * 7) = 0, gone at Int(0.2 * 7) = 1.
    const QImage up = shoot({.elapsed = 0.1, .obstacles = {bird}});
    const QImage down = shoot({.elapsed = 0.2, .obstacles = {bird}});
    EXPECT_NEAR(probe::at(up, at.x() + 12.5 * 1.5, at.y() + 0.75).alphaF(), 0.88, 0.01);
    EXPECT_EQ(probe::alphaAt(down, at.x() + 12.5 * 1.5, at.y() + 0.75), 0);
    // Lower wing row 12, column 12: only while down.
    EXPECT_EQ(probe::alphaAt(up, at.x() + 12.5 * 1.5, at.y() + 12.5 * 1.5), 0);
    EXPECT_NEAR(probe::at(down, at.x() + 12.5 * 1.5, at.y() + 12.5 * 1.5).alphaF(), 0.88, 0.01);
    // The body (row 8, column 2) in both.
    EXPECT_GT(probe::alphaAt(up, at.x() + 2.5 * 1.5, at.y() + 8.5 * 1.5), 200);
    EXPECT_GT(probe::alphaAt(down, at.x() + 2.5 * 1.5, at.y() + 8.5 * 1.5), 200);
}

TEST(RunwayTextsTest, PhaseTextsAndActionNames) {
    EXPECT_EQ(RunwayView::headline(RunPhase::ready, false), "READY, PLAYER?");
    EXPECT_EQ(RunwayView::subtitle(RunPhase::ready, 0), "SPACE TO START");
    EXPECT_EQ(RunwayView::actionName(RunPhase::ready, 0), "Start game");
    EXPECT_EQ(RunwayView::headline(RunPhase::running, false), "");
    EXPECT_EQ(RunwayView::subtitle(RunPhase::running, 5), "");
    EXPECT_EQ(RunwayView::actionName(RunPhase::running, 5), "Jump");
    EXPECT_EQ(RunwayView::headline(RunPhase::paused, true), "TAKE YOUR TIME");
    EXPECT_EQ(RunwayView::subtitle(RunPhase::paused, 5), "SPACE TO RESUME  /  R TO RESET");
    EXPECT_EQ(RunwayView::actionName(RunPhase::paused, 5), "Resume game");
    EXPECT_EQ(RunwayView::headline(RunPhase::over, true), "NEW HIGH SCORE!");
    EXPECT_EQ(RunwayView::headline(RunPhase::over, false), "ONE MORE RUN?");
    EXPECT_EQ(RunwayView::subtitle(RunPhase::over, 39), "39 PTS  /  SPACE TO RETRY");
    EXPECT_EQ(RunwayView::actionName(RunPhase::over, 39), "Play again. Score 39");
}

TEST_P(RunwayViewTest, ScoreTextTruncates) {
    shoot({.phase = RunPhase::over, .distance = 23.9 * 12});
    QAccessibleInterface* iface = QAccessible::queryAccessibleInterface(&m_view);
    ASSERT_NE(iface, nullptr);
    ASSERT_NE(iface->actionInterface(), nullptr);
    EXPECT_EQ(iface->actionInterface()->actionNames(), QStringList{"Play again. Score 23"});
    shoot({.phase = RunPhase::over, .distance = 23.9});
    EXPECT_EQ(iface->actionInterface()->actionNames(), QStringList{"Play again. Score 1"});
}

TEST_P(RunwayViewTest, AccessibleActionIsNamedForThePhaseAndPlays) {
    QAccessibleInterface* iface = QAccessible::queryAccessibleInterface(&m_view);
    ASSERT_NE(iface, nullptr);
    QAccessibleActionInterface* actions = iface->actionInterface();
    ASSERT_NE(actions, nullptr);
    shoot({.phase = RunPhase::ready, .distance = 0});
    EXPECT_EQ(actions->actionNames(), QStringList{"Start game"});
    actions->doAction(QStringLiteral("Start game"));
    EXPECT_EQ(m_actions, 1);
    shoot({});
    EXPECT_EQ(actions->actionNames(), QStringList{"Jump"});
    shoot({.phase = RunPhase::paused});
    EXPECT_EQ(actions->actionNames(), QStringList{"Resume game"});
    actions->doAction(QStringLiteral("Jump")); // not this phase's action
    EXPECT_EQ(m_actions, 1);
}

TEST_P(RunwayViewTest, CardStartsAt119WorldPointsAndItsTextsFollowThePhase) {
    const bool pixelFont = RetroFont::available();
    for (const int width : {440, 880}) {
        const double s = width / 440.0;
        const QImage image =
            shoot({.phase = RunPhase::ready, .distance = 0}, QSize(width, 110 * static_cast<int>(s)));
        const QRectF card = m_view.cardRect();
        EXPECT_EQ(card.left(), std::round(119 * s));
        EXPECT_EQ(card.right(), width);
        // Text only right of the dinosaur and above the ground; bright pixels start at the card's edge.
        const QRectF text =
            probe::litBounds(image, QRectF(90 * s, 0, width - 90 * s, (groundY - 2) * s), 100);
        ASSERT_FALSE(text.isEmpty());
        if (pixelFont) {
            EXPECT_EQ(text.left(), card.left()); // "R" has no left bearing in the pixel font
        }
        EXPECT_GE(text.top(), card.top() + 12);
        EXPECT_LE(text.bottom(), card.bottom() - 12 + 0.01);
    }
    // Headline in white at 0.92 normally, in mint for a new high score.
    QImage plain = shoot({.phase = RunPhase::over});
    const QRectF card = m_view.cardRect();
    const QRectF headlineBand(card.left(), card.top() + 12, card.width(), 11);
    auto mint = [](const QColor& c) { return c.alpha() > 200 && c.green() - c.red() > 30; };
    auto white = [](const QColor& c) { return c.alpha() > 200 && std::abs(c.green() - c.red()) < 3; };
    EXPECT_EQ(probe::count(plain, headlineBand, mint), 0);
    EXPECT_GT(probe::count(plain, headlineBand, white), 20);
    GameStoreTestAccess::setIsNewBest(store(), true);
    QImage best = shoot({.phase = RunPhase::over});
    EXPECT_GT(probe::count(best, headlineBand, mint), 20);
    // No card while running.
    shoot({});
    EXPECT_TRUE(m_view.cardRect().isEmpty());
}

TEST_P(RunwayViewTest, ClicksPlayOnTheCardOrWhileRunning) {
    shoot({.phase = RunPhase::ready, .distance = 0});
    QTest::mouseClick(&m_view, Qt::LeftButton, {}, QPoint(30, 20)); // beside the card
    EXPECT_EQ(m_actions, 0);
    auto* card = m_view.findChild<QAbstractButton*>(QStringLiteral("card"));
    ASSERT_NE(card, nullptr);
    QTest::mouseClick(card, Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_EQ(m_actions, 1);
    shoot({});
    QTest::mouseClick(&m_view, Qt::LeftButton, {}, QPoint(30, 20));
    EXPECT_EQ(m_actions, 2);
    QTest::mouseClick(&m_view, Qt::RightButton, {}, QPoint(30, 20));
    EXPECT_EQ(m_actions, 2);
}

TEST_P(RunwayViewTest, PausedCanvasFadesTo30PercentBehindABrightCard) {
    const QImage image = shoot({.phase = RunPhase::paused});
    const QColor body = probe::at(image, 48 + 10.5 * standingPixel, groundY - 34 + 0.5 * standingPixel);
    EXPECT_NEAR(body.alphaF(), 0.3, 0.01);
    const QRectF card = m_view.cardRect();
    EXPECT_GT(probe::count(image, QRectF(card.left(), card.top() + 12, card.width(), 11),
                           [](const QColor& c) { return c.alpha() > 200; }),
              20);
}

TEST_P(RunwayViewTest, ReadyTextDuringTheResumeGraceHidesTheNotice) {
    GameStoreTestAccess::setAward(store(), ScoreAward::milestone(300), 1.0);
    const QImage grace = shoot({.resumeGrace = 0.4});
    EXPECT_EQ(m_view.notice(), "");
    EXPECT_TRUE(probe::litBounds(grace, QRectF(0, 0, 440, 12), 100).isEmpty());
    const QRectF ready = probe::litBounds(grace, QRectF(90, 0, 350, 90), 100);
    ASSERT_FALSE(ready.isEmpty());
    EXPECT_NEAR(ready.center().x(), 220, 6);
    if (RetroFont::available()) {
        EXPECT_NEAR(ready.width(), 8 * 10, 6); // "READY..." at size 10
    }
    const QImage after = shoot({.resumeGrace = 0});
    EXPECT_EQ(m_view.notice(), "300 POINTS!");
    EXPECT_FALSE(probe::litBounds(after, QRectF(0, 0, 440, 12), 100).isEmpty());
}

TEST_P(RunwayViewTest, AwardNoticeWinsOverTheDuckHint) {
    GameStoreTestAccess::setDuckHintRemaining(store(), 2.0);
    QImage hint = shoot({});
    EXPECT_EQ(m_view.notice(), "↓ DUCK UNDER FLYERS");
    const QRectF hintBox = probe::litBounds(hint, QRectF(0, 0, 440, 16), 100);
    ASSERT_FALSE(hintBox.isEmpty());
    EXPECT_NEAR(hintBox.right(), 440, 1.5); // at the trailing edge
    EXPECT_NEAR(hintBox.top(), 4, 1);
    EXPECT_EQ(probe::count(hint, QRectF(0, 0, 440, 16), [](const QColor& c) { return c.alpha() > 210; }), 0)
        << "the duck hint is at opacity 0.8";
    EXPECT_GT(probe::count(hint, QRectF(0, 0, 440, 16),
                           [](const QColor& c) { return c.alpha() > 195 && c.green() - c.red() > 40; }),
              10);

    GameStoreTestAccess::setAward(store(), ScoreAward::newBest(), 1.7);
    QImage award = shoot({});
    EXPECT_EQ(m_view.notice(), "NEW BEST!");
    EXPECT_GT(probe::count(award, QRectF(0, 0, 440, 16),
                           [](const QColor& c) { return c.alpha() > 250 && c.green() - c.red() > 40; }),
              10)
        << "the award is in opaque mint";
    if (RetroFont::available()) {
        const QRectF awardBox = probe::litBounds(award, QRectF(0, 0, 440, 16), 100);
        EXPECT_NEAR(awardBox.width(), 9 * 7, 4); // "NEW BEST!" at size 7, not the 114-point hint
    }

    GameStoreTestAccess::setAward(store(), ScoreAward::newBest(), 0);
    shoot({});
    EXPECT_EQ(m_view.notice(), "↓ DUCK UNDER FLYERS") << "the hint returns when the award's time is up";
}

INSTANTIATE_TEST_SUITE_P(Scales, RunwayViewTest, ::testing::Values(1.0, 2.0));

TEST_P(RunwayViewTest, AShownRunCarriesItsBannersAndPhase) {
    QSignalSpy phase(&store(), &GameStore::phaseChanged);
    store().showRun(Runner::posed({.phase = RunPhase::running, .elapsed = 0.05, .distance = 3600}),
                    {.award = ScoreAward::milestone(300), .awardRemaining = 1.0});
    EXPECT_EQ(phase.count(), 1);
    EXPECT_EQ(store().runner().score(), 300);
    EXPECT_EQ(m_view.notice(), "300 POINTS!");
    EXPECT_TRUE(m_view.cardRect().isEmpty());
    EXPECT_FALSE(store().clockRunning());
    store().showRun(Runner::posed({.phase = RunPhase::over, .distance = 1300}), {.isNewBest = true});
    EXPECT_EQ(phase.count(), 2);
    EXPECT_TRUE(store().isNewBest());
    EXPECT_EQ(m_view.notice(), "");
    EXPECT_FALSE(m_view.cardRect().isEmpty());
    EXPECT_EQ(m_actions, 0);
}

// The larger playfield: 560 x 140 points, 560 / 440 view points to the world point.
constexpr QSize roomySize(560, 140);
constexpr double roomyScale = 560.0 / 440.0;

// Alpha (0 to 1) of the device pixels in column `px` from row `top` to `bottom`.
std::vector<double> columnAlphas(const QImage& image, int px, int top, int bottom) {
    std::vector<double> alphas;
    for (int py = top; py <= bottom; ++py) {
        alphas.push_back(image.pixelColor(px, py).alphaF());
    }
    return alphas;
}

// Where runs of lit pixels start along device row `py`, in world points for `pointsPerWorld` device pixels.
std::vector<double> runStarts(const QImage& image, int py, double pointsPerWorld) {
    std::vector<double> starts;
    bool inRun = false;
    for (int px = 0; px < image.width(); ++px) {
        const bool lit = image.pixelColor(px, py).alpha() > 0;
        if (lit && !inRun) {
            starts.push_back(px / pointsPerWorld);
        }
        inRun = lit;
    }
    return starts;
}

TEST_P(RunwayViewTest, RoomyGroundLineIsOneSoftLineOfTheGroundsBrightness) {
    const QImage image = shoot({.distance = 0}, roomySize);
    const double k = roomyScale * dpr(); // device pixels per world point
    // The line covers world y 100 to 101: device rows from 100k to 101k, partly at each end.
    const int top = static_cast<int>(std::floor(99 * k));
    const int bottom = static_cast<int>(std::ceil(102 * k));
    for (const double x : {150.0, 300.0, 439.0}) {
        const int px = static_cast<int>(x * k);
        const std::vector<double> alphas = columnAlphas(image, px, top, bottom);
        double sum = 0;
        int lit = 0, firstLit = -1, lastLit = -1;
        for (int i = 0; i < static_cast<int>(alphas.size()); ++i) {
            EXPECT_LE(alphas[i], 0.24 + 0.01)
                << "x " << x << " row " << top + i << ": never brighter than 0.24";
            sum += alphas[i];
            if (alphas[i] > 0.005) {
                ++lit;
                lastLit = i;
                firstLit = firstLit < 0 ? i : firstLit;
            }
        }
        // One line: its rows touch, and together they carry one world point of 0.24 white.
        EXPECT_EQ(lastLit - firstLit + 1, lit) << x;
        EXPECT_LE(lit, static_cast<int>(std::ceil(k)) + 1) << x;
        EXPECT_NEAR(sum / k, 0.24, 0.02) << "x " << x << ": the line's weight in world points";
        EXPECT_NEAR(top + firstLit, std::floor(100 * k), 1) << x;
    }
}

TEST_P(RunwayViewTest, RoomyCloudEdgesAreSoftAndCornersNotDoubled) {
    const QImage image = shoot({.distance = 0}, roomySize);
    const double k = roomyScale * dpr();
    // Cloud 0 at x 130, top 15 (world points), 29 x 6.
    const QRectF cloud(125 * roomyScale, 10 * roomyScale, 40 * roomyScale, 16 * roomyScale);
    const int full = qRound(0.1 * 255);
    const int soft =
        probe::count(image, cloud, [&](const QColor& c) { return c.alpha() > 0 && c.alpha() < full - 1; });
    const int lit = probe::count(image, cloud, [](const QColor& c) { return c.alpha() > 0; });
    EXPECT_GT(lit, 40 * k);
    EXPECT_GT(soft, 10 * k) << "edges between pixels blend in";
    EXPECT_EQ(probe::count(image, cloud, [&](const QColor& c) { return c.alpha() > full + 1; }), 0)
        << "no part of the outline is painted twice";
}

TEST_P(RunwayViewTest, CloudsSitDriftAndWrapAtOpacity01) {
    // At distance 0: cloud 0 at x 130, top 15; cloud 1 at 317, top 29; cloud 2 (504) is off the world.
    const QImage start = shoot({.distance = 0});
    const QRectF first = probe::litBounds(start, QRectF(100, 0, 120, 50), 0);
    EXPECT_NEAR(first.left(), 130, 0.5);
    EXPECT_NEAR(first.right(), 159, 0.5);
    EXPECT_NEAR(first.top(), 14.5, 0.5);
    EXPECT_NEAR(first.bottom(), 21.5, 0.5);
    const QRectF second = probe::litBounds(start, QRectF(300, 0, 140, 50), 0);
    EXPECT_NEAR(second.left(), 317, 0.5);
    EXPECT_NEAR(second.top(), 28.5, 0.5);
    EXPECT_TRUE(probe::litBounds(start, QRectF(0, 0, 120, 50), 0).isEmpty());

    // One world point of white at 0.1 across the top run (x0 + 11 to x0 + 18, on y 15).
    double sum = 0;
    const int px = static_cast<int>(144 * dpr());
    for (const double a :
         columnAlphas(start, px, static_cast<int>(10 * dpr()), static_cast<int>(20 * dpr()))) {
        EXPECT_LE(a, 0.1 + 0.01);
        sum += a;
    }
    EXPECT_NEAR(sum / dpr(), 0.1, 0.01);

    // They drift at 0.13 of the ground's speed: 1000 points on, they have moved 130.
    const QImage later = shoot({.distance = 1000});
    EXPECT_NEAR(probe::litBounds(later, QRectF(0, 0, 100, 50), 0).left(), 0, 0.5);
    EXPECT_NEAR(probe::litBounds(later, QRectF(150, 0, 120, 50), 0).left(), 187, 0.5);
    const QRectF third = probe::litBounds(later, QRectF(330, 0, 110, 50), 0);
    EXPECT_NEAR(third.left(), 374, 0.5);
    EXPECT_NEAR(third.top(), 14.5, 0.5); // even clouds fly high

    // And wrap every 561 points of their own travel.
    const QImage a = shoot({.distance = 500});
    const QImage b = shoot({.distance = 500 + 561 / 0.13});
    const QRect sky(0, 0, a.width(), static_cast<int>(50 * dpr()));
    int differing = 0;
    for (int y = sky.top(); y <= sky.bottom(); ++y) {
        for (int x = sky.left(); x <= sky.right(); ++x) {
            differing += std::abs(a.pixelColor(x, y).alpha() - b.pixelColor(x, y).alpha()) > 1 ? 1 : 0;
        }
    }
    EXPECT_EQ(differing, 0);
    EXPECT_GT(probe::count(a, QRectF(0, 0, 440, 50), [](const QColor& c) { return c.alpha() > 0; }), 0);
}

TEST_P(RunwayViewTest, GroundSpecksRepeatEvery273Points) {
    // Specks i = 0 ... 16 fall inside the world: even ones 5 below the ground, odd ones 8.
    const QImage image = shoot({.distance = 0});
    const std::vector<double> near = runStarts(image, static_cast<int>((groundY + 5.5) * dpr()), dpr());
    const std::vector<double> far = runStarts(image, static_cast<int>((groundY + 8.5) * dpr()), dpr());
    ASSERT_EQ(near.size(), 9u);
    ASSERT_EQ(far.size(), 8u);
    for (size_t j = 0; j < near.size(); ++j) {
        EXPECT_NEAR(near[j], 2 * j * 27.3, 1) << "even speck " << 2 * j;
    }
    for (size_t j = 0; j < far.size(); ++j) {
        EXPECT_NEAR(far[j], (2 * j + 1) * 27.3, 1) << "odd speck " << 2 * j + 1;
    }
    // Every third is 4 points long (i = 3: 81.9 to 85.9), the others 1.5; all at 0.2.
    EXPECT_NEAR(probe::at(image, 84, groundY + 8.5).alphaF(), 0.2, 0.01);
    EXPECT_NEAR(probe::at(image, 85.5, groundY + 8.5).alphaF(), 0.2, 0.08);
    EXPECT_EQ(probe::alphaAt(image, 30, groundY + 8.5), 0); // i = 1 ends at 28.8

    // They move with the ground: 10 points on, speck 0 has left and speck 1 is at 17.3.
    const QImage moved = shoot({.distance = 10});
    const std::vector<double> farMoved = runStarts(moved, static_cast<int>((groundY + 8.5) * dpr()), dpr());
    ASSERT_FALSE(farMoved.empty());
    EXPECT_NEAR(farMoved.front(), 17.3, 1);
}

TEST_P(RunwayViewTest, RoomyHeadlineIsLarger) {
    const auto headlineHeight = [&](bool roomy) {
        store().setRoomy(roomy);
        const QImage image = shoot({.phase = RunPhase::ready, .distance = 0}, roomySize);
        const QRectF card = m_view.cardRect();
        // The headline is the card's only text at 0.92 white; the subtitle and the hint are dimmer.
        return probe::litBounds(image, card, 200).height();
    };
    const double plain = headlineHeight(false);
    const double roomy = headlineHeight(true);
    ASSERT_GT(plain, 0);
    EXPECT_NEAR(roomy / plain, 13.0 / 11.0, 0.12);
    EXPECT_GT(roomy, plain + 1);
}

} // namespace
