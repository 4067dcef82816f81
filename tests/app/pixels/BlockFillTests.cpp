#include "Vantrel/pixels/BlockFill.h"
#include "Vantrel/pixels/PixelDino.h"

#include <QPainter>
#include <QPainterPath>

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <vector>

using namespace vantrel;

namespace {

QImage canvas(QSize size, double dpr) {
    QImage image((QSizeF(size) * dpr).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(dpr);
    image.fill(Qt::black);
    return image;
}

// Qt's own antialiased fill of the same rectangles as one path.
QImage byPath(const std::vector<QRectF>& rects, const QColor& color, double scale, QPointF shift,
              double dpr) {
    QImage image = canvas(QSize(160, 120), dpr);
    QPainter painter(&image);
    painter.translate(shift);
    painter.scale(scale, scale);
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    for (const QRectF& r : rects) {
        path.addRect(r);
    }
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.fillPath(path, color);
    return image;
}

QImage byBlocks(const std::vector<QRectF>& rects, const QColor& color, double scale, QPointF shift,
                double dpr, double opacity = 1) {
    QImage image = canvas(QSize(160, 120), dpr);
    QPainter painter(&image);
    painter.setOpacity(opacity);
    painter.translate(shift);
    painter.scale(scale, scale);
    BlockFill::fill(painter, rects, color);
    return image;
}

int largestDifference(const QImage& a, const QImage& b) {
    int worst = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            worst = std::max({worst, std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                              std::abs(qBlue(p) - qBlue(q))});
        }
    }
    return worst;
}

} // namespace

TEST(BlockFill, CoversEachPixelByTheAreaOfItsRectangles) {
    // Two overlapping rectangles and one apart, in device pixels.
    const std::vector<QRectF> rects{{0.5, 0.25, 2, 1}, {1.5, 0.25, 1.5, 1}, {4, 2, 0.5, 0.5}};
    BlockFill::Coverage c;
    BlockFill::cover(rects, c);
    ASSERT_EQ(c.left, 0);
    ASSERT_EQ(c.top, 0);
    ASSERT_EQ(c.width, 5);
    ASSERT_EQ(c.height, 3);
    const auto at = [&c](int x, int y) { return c.values[static_cast<size_t>(y * c.width + x)]; };
    EXPECT_FLOAT_EQ(at(0, 0), 0.5f * 0.75f);
    // Overlaps within a pixel add up, to full cover at most, as in a non-zero path fill.
    EXPECT_FLOAT_EQ(at(1, 0), 1.0f);
    EXPECT_FLOAT_EQ(at(2, 0), 1.0f);
    EXPECT_FLOAT_EQ(at(2, 1), 0.375f);
    EXPECT_FLOAT_EQ(at(3, 1), 0.0f);
    EXPECT_FLOAT_EQ(at(4, 2), 0.25f);
    EXPECT_FLOAT_EQ(at(3, 2), 0.0f);
}

TEST(BlockFill, MatchesAnAntialiasedPathFill) {
    // Random figures at the scales and fractional offsets the runway uses.
    std::mt19937 engine(7);
    std::uniform_real_distribution<double> pos(0, 60), size(0.3, 20);
    for (double dpr : {1.0, 1.25, 2.0}) {
        for (int trial = 0; trial < 20; ++trial) {
            std::vector<QRectF> rects;
            for (int i = 0; i < 8; ++i) {
                rects.emplace_back(pos(engine), pos(engine), size(engine), size(engine));
            }
            const double scale = 1 + 0.37 * (trial % 4);
            const QPointF shift(pos(engine) / 7, pos(engine) / 9);
            const QColor color = QColor::fromRgbF(0.92f, 0.92f, 0.92f, trial % 2 ? 0.88f : 1.0f);
            EXPECT_LE(largestDifference(byPath(rects, color, scale, shift, dpr),
                                        byBlocks(rects, color, scale, shift, dpr)),
                      2)
                << "device pixel ratio " << dpr << ", trial " << trial;
        }
    }
}

TEST(BlockFill, MergedRowsOfAFigureDrawTheSameSquares) {
    std::vector<QRectF> merged;
    PixelDino::addStanding(merged, PixelDino::feetA, QPointF(3.3, 2.7), 1.7);
    const QPainterPath squares = PixelDino::standingPath(PixelDino::feetA, QPointF(3.3, 2.7), 1.7);
    EXPECT_LT(merged.size(), static_cast<size_t>(squares.elementCount() / 5)); // five elements a square
    QImage a = canvas(QSize(60, 60), 2);
    {
        QPainter painter(&a);
        PixelDino::fillFigure(painter, squares, Qt::white);
    }
    QImage b = canvas(QSize(60, 60), 2);
    {
        QPainter painter(&b);
        PixelDino::fillFigure(painter, merged, Qt::white);
    }
    EXPECT_LE(largestDifference(a, b), 2);
}

TEST(BlockFill, HonoursThePaintersOpacity) {
    const std::vector<QRectF> rects{{10, 10, 20, 20}};
    const QImage half = byBlocks(rects, Qt::white, 1, QPointF(), 1, 0.5);
    EXPECT_NEAR(qRed(half.pixel(20, 20)), 128, 1);
    EXPECT_EQ(qRed(half.pixel(5, 5)), 0);
}

TEST(BlockFill, RotatedPainterFallsBackToThePathFill) {
    const std::vector<QRectF> rects{{-10, -10, 20, 20}};
    QImage image = canvas(QSize(80, 80), 1);
    QPainter painter(&image);
    painter.translate(40, 40);
    painter.rotate(45);
    BlockFill::fill(painter, rects, Qt::white);
    painter.end();
    EXPECT_EQ(qRed(image.pixel(40, 40 - 13)), 255); // a corner of the diamond, beyond the square's reach
    EXPECT_EQ(qRed(image.pixel(40 + 12, 40 - 12)), 0);
}
