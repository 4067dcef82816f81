// The notch view as drawn: the Space hint's label per phase, the corner radius
// on its way between collapsed and expanded, and the padding under the controls.

#include "PixelProbe.h"
#include "ViewScenes.h"

#include "Vantrel/pixels/NotchShape.h"
#include "Vantrel/pixels/RetroFont.h"
#include "Vantrel/views/KeyHint.h"
#include "Vantrel/views/NotchView.h"

#include <QAbstractButton>
#include <QElapsedTimer>
#include <QPainter>
#include <QTest>
#include <QVariantAnimation>

#include <gtest/gtest.h>

#include <vector>

using namespace vantrel;
using namespace vantrel::scenes;

namespace {

class NotchViewDrawingTest : public ::testing::TestWithParam<double> {
protected:
    NotchViewDrawingTest() : m_view(m_fixture.store()) {
        m_view.setAttribute(Qt::WA_DontShowOnScreen);
        m_view.show();
    }

    GameStore& store() { return m_fixture.store(); }
    double dpr() const { return GetParam(); }
    QSize panelSize() {
        return QSize(static_cast<int>(store().panelWidth()), static_cast<int>(store().panelHeight()));
    }
    QImage shoot() { return render(m_view, panelSize(), dpr()); }
    void expand(bool animated = false) {
        m_view.setAnimated(animated);
        store().setExpanded(true);
        m_view.resize(panelSize());
    }

    StoreFixture m_fixture;
    NotchView m_view;
};

// The lit pixels (alpha over `minAlpha`) of `image` inside `region` (device
// pixels), as rows of '#' and '.', cut to their bounds.
std::vector<std::string> litMask(const QImage& image, const QRect& region, int minAlpha,
                                 bool (*lit)(const QColor&, int)) {
    int left = INT32_MAX, top = INT32_MAX, right = -1, bottom = -1;
    const QRect r = region & image.rect();
    for (int y = r.top(); y <= r.bottom(); ++y) {
        for (int x = r.left(); x <= r.right(); ++x) {
            if (lit(image.pixelColor(x, y), minAlpha)) {
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = std::max(bottom, y);
            }
        }
    }
    std::vector<std::string> rows;
    for (int y = top; y <= bottom; ++y) {
        std::string row;
        for (int x = left; x <= right; ++x) {
            row += lit(image.pixelColor(x, y), minAlpha) ? '#' : '.';
        }
        rows.push_back(row);
    }
    return rows;
}

// Grey text on the black notch: lit where the red channel rises above the black.
bool greyOnBlack(const QColor& c, int minRed) {
    return c.red() > minRed;
}

// A Space hint reading `label`, drawn alone on black into a `size` rectangle:
// what the control row should show there.
QImage hintAlone(const QString& label, QSize size, double dpr) {
    QImage image((QSizeF(size) * dpr).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(dpr);
    image.fill(Qt::black);
    QPainter painter(&image);
    KeyHint::paint(painter, QRectF(QPointF(0, 0), QSizeF(size)), QStringLiteral("SPACE"), label,
                   QColor::fromRgbF(1, 1, 1, 0.47f));
    painter.end();
    return image;
}

TEST_P(NotchViewDrawingTest, TheSpaceHintReadsJumpResumeOrRetryAsDrawn) {
    expand();
    auto* space = m_view.findChild<QAbstractButton*>(QStringLiteral("spaceHint"));
    ASSERT_NE(space, nullptr);
    // The label: right of the cap (the texts are white at 0.47 on black, red 120; the cap's
    // faint fill stays near 17, under the threshold).
    const double capWidth = KeyHint::capSize(QStringLiteral("SPACE")).width();
    const auto labelRegion = [&](const QRectF& hint) {
        const QRectF label(hint.left() + capWidth + 1, hint.top(), hint.width() - capWidth - 1,
                           hint.height());
        return QRectF(label.topLeft() * dpr(), label.size() * dpr()).toAlignedRect();
    };
    const auto drawn = [&](RunPhase phase) {
        m_fixture.setMoment({.phase = phase, .elapsed = 1, .distance = 120});
        return litMask(shoot(), labelRegion(space->geometry()), 60, greyOnBlack);
    };
    const auto expected = [&](const char* label) {
        const QSize size = space->size();
        return litMask(hintAlone(QString::fromLatin1(label), size, dpr()),
                       labelRegion(QRectF(QPointF(0, 0), QSizeF(size))), 60, greyOnBlack);
    };
    const std::vector<std::string> ready = drawn(RunPhase::ready);
    EXPECT_FALSE(ready.empty());
    EXPECT_EQ(ready, expected("JUMP"));
    EXPECT_EQ(drawn(RunPhase::running), expected("JUMP"));
    const std::vector<std::string> paused = drawn(RunPhase::paused);
    EXPECT_EQ(paused, expected("RESUME"));
    EXPECT_NE(paused, ready);
    const std::vector<std::string> over = drawn(RunPhase::over);
    EXPECT_EQ(over, expected("RETRY"));
    EXPECT_NE(over, paused);
    // The hint is as wide as its label needs: nothing of "RESUME" is cut off.
    m_fixture.setMoment({.phase = RunPhase::paused, .elapsed = 1, .distance = 120});
    EXPECT_GE(space->width(),
              std::floor(KeyHint::size(QStringLiteral("SPACE"), QStringLiteral("RESUME")).width()));
}

TEST_P(NotchViewDrawingTest, TheCornerRadiusAnimatesFrom13To25AndBack) {
    EXPECT_EQ(m_view.shapeRadius(), 13);
    // In real time: opening takes the animation's time, not a single frame.
    QElapsedTimer clock;
    clock.start();
    expand(true);
    auto* animation = m_view.findChild<QVariantAnimation*>();
    ASSERT_NE(animation, nullptr);
    ASSERT_EQ(animation->state(), QAbstractAnimation::Running) << "expanding animates the radius";
    EXPECT_LT(m_view.shapeRadius(), 20) << "it starts near the collapsed radius";
    const int duration = animation->duration();
    EXPECT_GE(duration, 150);
    EXPECT_LE(duration, 400);
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_view.shapeRadius() == 25; }, duration + 500));
    EXPECT_GE(clock.elapsed(), duration - 20) << "not at once";
    // Closing animates back down to 13.
    clock.restart();
    store().setExpanded(false);
    ASSERT_EQ(animation->state(), QAbstractAnimation::Running);
    EXPECT_GT(m_view.shapeRadius(), 20);
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_view.shapeRadius() == 13; }, duration + 500));
    EXPECT_GE(clock.elapsed(), duration - 20) << "not at once";

    // Stepped by hand: the radius rises steadily from 13 to 25, and the view draws it.
    expand(true);
    ASSERT_EQ(animation->state(), QAbstractAnimation::Running);
    animation->pause();
    double last = 13;
    for (int t = 0; t < duration; t += duration / 10) {
        animation->setCurrentTime(t);
        const double r = m_view.shapeRadius();
        EXPECT_GE(r, last) << "at " << t << " ms";
        EXPECT_GE(r, 13);
        EXPECT_LE(r, 25);
        last = r;
    }
    // An eighth of the way in: far enough from both ends to tell the outlines apart.
    animation->setCurrentTime(duration / 8);
    const double between = m_view.shapeRadius();
    EXPECT_GT(between, 14.5);
    EXPECT_LT(between, 23.5);
    // As drawn: the bottom-left corner follows the outline of that radius, not of either end.
    const QImage image = shoot();
    const QSize size = panelSize();
    const QRectF bounds(QPointF(0, 0), QSizeF(size));
    const QPainterPath drawnShape = NotchShape{between}.path(bounds);
    const QPainterPath small = NotchShape{13}.path(bounds);
    const QPainterPath large = NotchShape{25}.path(bounds);
    int mismatches = 0;
    int checked = 0;
    int unlikeSmall = 0;
    int unlikeLarge = 0;
    for (double y = size.height() - 24.5; y < size.height(); y += 1) {
        for (double x = 7.5; x < 7 + 25; x += 1) {
            const int a = probe::alphaAt(image, x, y);
            if (a > 20 && a < 235) {
                continue; // the antialiased edge
            }
            const bool black = a >= 235;
            const QPointF p(x, y);
            ++checked;
            mismatches += black != drawnShape.contains(p) ? 1 : 0;
            unlikeSmall += black != small.contains(p) ? 1 : 0;
            unlikeLarge += black != large.contains(p) ? 1 : 0;
        }
    }
    EXPECT_GT(checked, 400);
    EXPECT_EQ(mismatches, 0);
    EXPECT_GT(unlikeSmall, 3);
    EXPECT_GT(unlikeLarge, 3);
    animation->setCurrentTime(duration);
    EXPECT_EQ(m_view.shapeRadius(), 25);
}

TEST_P(NotchViewDrawingTest, FourteenPointsOfBlackUnderTheControlRow) {
    for (const bool roomy : {false, true}) {
        store().setRoomy(roomy);
        expand();
        auto* esc = m_view.findChild<QWidget*>(QStringLiteral("escHint"));
        auto* space = m_view.findChild<QWidget*>(QStringLiteral("spaceHint"));
        ASSERT_NE(esc, nullptr);
        ASSERT_NE(space, nullptr);
        const int height = panelSize().height();
        EXPECT_EQ(height - (space->geometry().bottom() + 1), 14) << "roomy " << roomy;
        EXPECT_EQ(height - (esc->geometry().bottom() + 1), 14) << "roomy " << roomy;
        // As drawn: the padding is black down to the bottom edge (between the rounded corners).
        const QImage image = shoot();
        const double middle = panelSize().width() / 2.0;
        for (double y = height - 13.5; y < height; y += 1) {
            EXPECT_EQ(probe::at(image, middle, y), QColor(0, 0, 0, 255)) << "row " << y;
        }
        // Nothing of the controls reaches into it.
        EXPECT_EQ(probe::count(image, QRectF(20, height - 14, panelSize().width() - 40, 14),
                               [](const QColor& c) { return c.red() > 0 || c.green() > 0 || c.blue() > 0; }),
                  0);
        store().setExpanded(false);
    }
}

INSTANTIATE_TEST_SUITE_P(Scales, NotchViewDrawingTest, ::testing::Values(1.0, 2.0));

} // namespace
