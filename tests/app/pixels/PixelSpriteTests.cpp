#include "PixelProbe.h"

#include "Vantrel/pixels/DinoGlyph.h"
#include "Vantrel/pixels/NotchShape.h"
#include "Vantrel/pixels/PeekingDinoGlyph.h"
#include "Vantrel/pixels/PixelDino.h"
#include "Vantrel/pixels/PixelIcons.h"
#include "Vantrel/pixels/RetroFont.h"
#include "Vantrel/views/PaintedButton.h"
#include "Vantrel/views/QuietButtonStyle.h"

#include <QAccessible>
#include <QFile>
#include <QPainter>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace vantrel;

namespace {

using Bitmap = std::vector<std::string>;

// The figures as drawn on paper, written out again here so the drawing is
// checked against an independent copy.
const Bitmap duckEven = {
    "...................######.", "..................##.#####", "#.................########",
    "###...####################", ".######################...", "..###################.....",
    "...################.......", ".....############.........", ".......##....##...........",
    ".......###....##..........",
};
const Bitmap duckOddLegs = {"........##..##............", ".........##.###..........."};
const Bitmap flyerEven = {
    "............#...........", "...........##...........", "..........###...........",
    ".........####...........", "........#####...........", ".....##.######..........",
    "....###########.........", "..###.###########.......", "#####################...",
    "......##############....", "........##########......", ".............##.........",
    "........................", "........................", "........................",
};
const Bitmap flyerOdd = {
    "........................", "........................", "........................",
    "........................", "........................", ".....##.######..........",
    "....###########.........", "..###.###########.......", "#####################...",
    "......##############....", "........##########......", ".........######.........",
    "..........#####.........", "...........####.........", "............###.........",
};

QImage canvas(QSizeF logical, double dpr) {
    QImage image((logical * dpr).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(dpr);
    image.fill(Qt::transparent);
    return image;
}

// Every cell of `rows` placed at `origin` with side `pixel` is lit (alpha
// above half of `alpha`) exactly where the bitmap has '#'.
void expectCells(const QImage& image, const Bitmap& rows, QPointF origin, double pixel, int alpha) {
    for (size_t r = 0; r < rows.size(); ++r) {
        for (size_t c = 0; c < rows[r].size(); ++c) {
            const double x = origin.x() + (static_cast<double>(c) + 0.5) * pixel;
            const double y = origin.y() + (static_cast<double>(r) + 0.5) * pixel;
            const int a = probe::alphaAt(image, x, y);
            if (rows[r][c] == '#') {
                EXPECT_GT(a, alpha / 2) << "row " << r << " column " << c << " should be lit";
            } else {
                EXPECT_LT(a, alpha / 2) << "row " << r << " column " << c << " should be dark";
            }
        }
    }
}

class PixelSpriteTest : public ::testing::TestWithParam<double> {
protected:
    double dpr() const { return GetParam(); }
};

TEST_P(PixelSpriteTest, DuckingFramesFollowTheParityOfTheFrame) {
    for (const int64_t frame : {int64_t{0}, int64_t{1}, int64_t{-1}, int64_t{42}}) {
        QImage image = canvas(QSizeF(50, 20), dpr());
        {
            QPainter painter(&image);
            PixelDino::drawDucking(painter, QPointF(2, 2), frame);
        }
        Bitmap rows = duckEven;
        if ((frame & 1) != 0) {
            rows[8] = duckOddLegs[0];
            rows[9] = duckOddLegs[1];
        }
        SCOPED_TRACE(frame);
        expectCells(image, rows, QPointF(2, 2), 1.6, 224);
    }
}

TEST_P(PixelSpriteTest, DuckingFigureIsWhiteAtOpacity088) {
    QImage image = canvas(QSizeF(50, 20), dpr());
    {
        QPainter painter(&image);
        PixelDino::drawDucking(painter, QPointF(0, 0), 0);
    }
    // Row 3 runs unbroken from column 6 to 25: one fill, so no seams at the
    // fractional square edges inside it.
    for (double x = 6 * 1.6 + 1; x < 25 * 1.6; x += 0.5) {
        const QColor c = probe::at(image, x, 3 * 1.6 + 0.8);
        EXPECT_NEAR(c.alpha(), 224, 2) << "x " << x;
        EXPECT_EQ(c.red(), 255);
    }
}

TEST_P(PixelSpriteTest, FlyerWingIsUpOnEvenFramesAndDownOnOddFrames) {
    for (const int64_t frame : {int64_t{0}, int64_t{1}, int64_t{-3}, int64_t{8}}) {
        QImage image = canvas(QSizeF(40, 26), dpr());
        {
            QPainter painter(&image);
            PixelDino::drawFlyer(painter, QPointF(1, 1), frame);
        }
        SCOPED_TRACE(frame);
        expectCells(image, (frame & 1) != 0 ? flyerOdd : flyerEven, QPointF(1, 1), 1.5, 224);
    }
}

TEST_P(PixelSpriteTest, OddFlyerLeavesTheTopRowsEmptyAndEvenFlyerHasOnePixelPairInRow11) {
    QImage odd = canvas(QSizeF(40, 26), dpr());
    QImage even = canvas(QSizeF(40, 26), dpr());
    {
        QPainter painter(&odd);
        PixelDino::drawFlyer(painter, QPointF(0, 0), 1);
    }
    {
        QPainter painter(&even);
        PixelDino::drawFlyer(painter, QPointF(0, 0), 0);
    }
    auto lit = [](const QColor& c) { return c.alpha() > 0; };
    EXPECT_EQ(probe::count(odd, QRectF(0, 0, 36, 7), lit), 0);     // rows 0 to 4 end at 7.5
    EXPECT_EQ(probe::count(even, QRectF(0, 18, 36, 4.5), lit), 0); // rows 12 to 14
    // Row 11 (y 16.5 to 18) holds only columns 13 and 14 (x 19.5 to 22.5).
    const QRectF row11 = probe::litBounds(even, QRectF(0, 17, 36, 1), 0);
    EXPECT_EQ(row11.left(), std::floor(19.5 * dpr()) / dpr());
    EXPECT_EQ(row11.right(), std::ceil(22.5 * dpr()) / dpr());
}

TEST_P(PixelSpriteTest, DinoGlyphHugsTheTopLeftCornerAndKeepsItsShape) {
    DinoGlyph glyph(QColor(10, 200, 30));
    glyph.setAttribute(Qt::WA_DontShowOnScreen);

    // 36 x 20: the height bounds the pixel to 1; the right 18 points stay empty.
    EXPECT_DOUBLE_EQ(DinoGlyph::pixelSize(QSizeF(36, 20)), 1);
    QImage wide = canvas(QSizeF(36, 20), dpr());
    {
        QPainter painter(&wide);
        DinoGlyph::paintGlyph(painter, QSizeF(36, 20), glyph.color());
    }
    EXPECT_EQ(probe::litBounds(wide, QRectF(0, 0, 36, 20), 10), QRectF(0, 0, 17, 20));
    EXPECT_EQ(probe::at(wide, 9.5, 0.5), QColor(10, 200, 30));

    // 18 x 40: the width bounds it; the bottom 20 points stay empty.
    EXPECT_DOUBLE_EQ(DinoGlyph::pixelSize(QSizeF(18, 40)), 1);
    QImage tall = canvas(QSizeF(18, 40), dpr());
    {
        QPainter painter(&tall);
        DinoGlyph::paintGlyph(painter, QSizeF(18, 40), glyph.color());
    }
    EXPECT_EQ(probe::litBounds(tall, QRectF(0, 0, 18, 40), 10), QRectF(0, 0, 17, 20));

    // 36 x 40: 2 points a pixel, the whole figure (body then resting feet).
    QImage big = canvas(QSizeF(36, 40), dpr());
    {
        QPainter painter(&big);
        DinoGlyph::paintGlyph(painter, QSizeF(36, 40), glyph.color());
    }
    Bitmap figure(PixelDino::body.begin(), PixelDino::body.end());
    figure.insert(figure.end(),
                  {".....##.##........", ".....##.##........", ".....##.##........", ".....###.###......"});
    expectCells(big, figure, QPointF(0, 0), 2, 255);
}

TEST_P(PixelSpriteTest, ZeroSizeDinoGlyphDrawsNothing) {
    EXPECT_DOUBLE_EQ(DinoGlyph::pixelSize(QSizeF(0, 0)), 0);
    QImage image = canvas(QSizeF(10, 10), dpr());
    {
        QPainter painter(&image);
        DinoGlyph::paintGlyph(painter, QSizeF(0, 0), Qt::white);
    }
    EXPECT_TRUE(probe::litBounds(image, QRectF(0, 0, 10, 10), 0).isEmpty());
}

TEST_P(PixelSpriteTest, PeekingGlyphShowsOnlyTheHeadAndIsClippedToItsFrame) {
    // Unclipped: 11 columns by 8 rows at 1.5 points = 16.5 x 12, never lower.
    QImage free = canvas(QSizeF(30, 30), dpr());
    {
        QPainter painter(&free);
        PeekingDinoGlyph::paintGlyph(painter, QRectF(0, 0, 30, 30));
    }
    const QRectF bounds = probe::litBounds(free, QRectF(0, 0, 30, 30), 0);
    EXPECT_EQ(bounds.top(), 0);
    EXPECT_EQ(bounds.left(), 0);   // column 7 of row 7 is the leftmost pixel of the head
    EXPECT_EQ(bounds.right(), 15); // column 17 is empty in these rows: the snout ends at column 16
    EXPECT_NEAR(bounds.bottom(), 12, 0.01);
    Bitmap head;
    for (int r = 0; r < 8; ++r) {
        head.emplace_back(PixelDino::body[r].substr(7));
    }
    expectCells(free, head, QPointF(0, 0), 1.5, 179);
    EXPECT_NEAR(probe::at(free, 0.75, 11.25).alphaF(), 0.7, 0.01); // row 7, column 7

    // In its 14 x 12 frame the tip of the snout is cut off.
    QImage clipped = canvas(QSizeF(30, 30), dpr());
    {
        QPainter painter(&clipped);
        PeekingDinoGlyph::paintGlyph(painter, QRectF(0, 0, 14, 12));
    }
    EXPECT_GT(probe::alphaAt(free, 14.6, 2), 100);
    EXPECT_EQ(probe::alphaAt(clipped, 14.6, 2), 0);
    EXPECT_EQ(probe::litBounds(clipped, QRectF(0, 0, 30, 30), 0).right(), 14);

    // The widget clips to its own bounds the same way.
    PeekingDinoGlyph widget;
    widget.resize(14, 12);
    QImage rendered = canvas(QSizeF(14, 12), dpr());
    {
        QPainter painter(&rendered);
        widget.render(&painter, QPoint(), QRegion(), QWidget::DrawChildren);
    }
    EXPECT_GT(probe::alphaAt(rendered, 13.5, 2), 100);
}

TEST_P(PixelSpriteTest, IconsArePixelArtOfTheirStatedSize) {
    EXPECT_EQ(PixelIcons::size(PixelIcon::play), QSizeF(6, 9));
    EXPECT_EQ(PixelIcons::size(PixelIcon::pause), QSizeF(7, 9));
    EXPECT_EQ(PixelIcons::size(PixelIcon::speakerOn), QSizeF(12, 9));
    EXPECT_EQ(PixelIcons::size(PixelIcon::speakerOff), QSizeF(12, 9));
    EXPECT_EQ(PixelIcons::size(PixelIcon::ellipsis), QSizeF(10, 2));

    QImage image = canvas(QSizeF(12, 10), dpr());
    {
        QPainter painter(&image);
        PixelIcons::draw(painter, PixelIcon::pause, QPointF(1, 1), Qt::white);
    }
    // Two solid bars with a one-point gap, crisp at whole points.
    EXPECT_EQ(probe::alphaAt(image, 1.2, 1.2), 255);
    EXPECT_EQ(probe::alphaAt(image, 4.5, 5), 0);
    EXPECT_EQ(probe::alphaAt(image, 7.8, 9.8), 255);
    EXPECT_EQ(probe::alphaAt(image, 8.2, 5), 0);
}

INSTANTIATE_TEST_SUITE_P(Scales, PixelSpriteTest, ::testing::Values(1.0, 2.0));

TEST(NotchShapeTest, RadiusIsCutToHalfTheHeight) {
    EXPECT_DOUBLE_EQ(NotchShape{25}.effectiveRadius(192), 25);
    EXPECT_DOUBLE_EQ(NotchShape{25}.effectiveRadius(20), 10);
    EXPECT_EQ(NotchShape{25}.path(QRectF(0, 0, 100, 20)), NotchShape{10}.path(QRectF(0, 0, 100, 20)));
    EXPECT_NE(NotchShape{25}.path(QRectF(0, 0, 100, 60)), NotchShape{10}.path(QRectF(0, 0, 100, 60)));
}

TEST(NotchShapeTest, OutlineHasEarsAtTheTopAndRoundedBottomCorners) {
    const QPainterPath path = NotchShape{20}.path(QRectF(0, 0, 200, 60));
    EXPECT_EQ(path.fillRule(), Qt::OddEvenFill);
    EXPECT_EQ(path.boundingRect(), QRectF(0, 0, 200, 60));
    // The top edge spans the whole width; just below it the ears curve in.
    EXPECT_TRUE(path.contains(QPointF(1, 0.01)));
    EXPECT_TRUE(path.contains(QPointF(199, 0.01)));
    EXPECT_FALSE(path.contains(QPointF(1, 3)));
    EXPECT_FALSE(path.contains(QPointF(199, 3)));
    EXPECT_FALSE(path.contains(QPointF(5, 30))); // the body is 7 points in on each side
    EXPECT_TRUE(path.contains(QPointF(7.5, 30)));
    EXPECT_TRUE(path.contains(QPointF(192.5, 30)));
    EXPECT_FALSE(path.contains(QPointF(193.5, 30)));
    // Bottom corners rounded by 20: the corner point is outside, the middle of the edge inside.
    EXPECT_FALSE(path.contains(QPointF(8, 59)));
    EXPECT_FALSE(path.contains(QPointF(192, 59)));
    EXPECT_TRUE(path.contains(QPointF(100, 59.9)));
    EXPECT_TRUE(path.contains(QPointF(7.5, 40)));  // straight side above the curve
    EXPECT_FALSE(path.contains(QPointF(7.5, 50))); // the curve is at x = 8.7 there
    EXPECT_TRUE(path.contains(QPointF(9.5, 50)));
}

TEST(NotchShapeTest, OversizedRadiusMakesTheBottomASemicircle) {
    const QPainterPath path = NotchShape{100}.path(QRectF(0, 0, 60, 20));
    // r = 10: the sides curve from y = 10 down to the bottom edge.
    EXPECT_TRUE(path.contains(QPointF(7.5, 9.5)));
    EXPECT_FALSE(path.contains(QPointF(8, 17))); // the curve is at x = 9.04 there
    EXPECT_TRUE(path.contains(QPointF(10, 17)));
    EXPECT_TRUE(path.contains(QPointF(30, 19.9)));
    EXPECT_FALSE(path.contains(QPointF(10, 19.5)));
}

TEST(QuietButtonStyleTest, PressedLabelIsAtHalfOpacity) {
    EXPECT_DOUBLE_EQ(QuietButtonStyle::labelOpacity(true), 0.5);
    EXPECT_DOUBLE_EQ(QuietButtonStyle::labelOpacity(false), 1);

    auto fill = [](QPainter& painter, const QRectF& rect) { painter.fillRect(rect, Qt::white); };
    PaintedButton quiet(PaintedButton::Look::quiet, fill);
    PaintedButton plain(PaintedButton::Look::plain, fill);
    EXPECT_EQ(quiet.focusPolicy(), Qt::NoFocus);
    auto alpha = [](PaintedButton& button) {
        button.resize(4, 4);
        QImage image(4, 4, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        button.render(&painter, QPoint(), QRegion(), QWidget::DrawChildren);
        painter.end();
        return image.pixelColor(2, 2).alpha();
    };
    EXPECT_EQ(alpha(quiet), 255);
    quiet.setDown(true);
    EXPECT_NEAR(alpha(quiet), 128, 1);
    plain.setDown(true);
    EXPECT_EQ(alpha(plain), 255);
}

TEST(RetroFontTest, RegistersThePixelFontOrFallsBack) {
    const bool bundled = QFile::exists(QStringLiteral(":/fonts/PressStart2P-Regular.ttf"));
    EXPECT_EQ(RetroFont::registerFont(), bundled);
    EXPECT_EQ(RetroFont::registerFont(), bundled) << "a second call gives the same outcome";
    EXPECT_FALSE(RetroFont::family().isEmpty());
    EXPECT_EQ(RetroFont::font(8).pixelSize(), 8);
    if (!bundled) {
        GTEST_SKIP() << "built without the Press Start 2P font (npm could not fetch it); fallback "
                     << RetroFont::family().toStdString();
    }
    EXPECT_EQ(RetroFont::family(), QStringLiteral("Press Start 2P"));
    // A monospaced pixel font: one em per character.
    EXPECT_NEAR(RetroFont::textSize(QStringLiteral("HI 00000"), 8).width(), 64, 0.5);
    EXPECT_NEAR(RetroFont::textSize(QStringLiteral("SPACE"), 6).width(), 30, 0.5);
}

TEST(ViewAccessibilityTest, GlyphsAreHiddenFromAssistiveTechnology) {
    DinoGlyph dino(Qt::white);
    PeekingDinoGlyph peek;
    for (QWidget* w : {static_cast<QWidget*>(&dino), static_cast<QWidget*>(&peek)}) {
        QAccessibleInterface* iface = QAccessible::queryAccessibleInterface(w);
        ASSERT_NE(iface, nullptr);
        EXPECT_TRUE(iface->state().invisible);
    }
}

} // namespace
