#include "Vantrel/pixels/RetroFont.h"

#include <QPainter>

#include <gtest/gtest.h>

using namespace vantrel;

namespace {

QImage blank(double dpr) {
    QImage image(QSize(200, 24) * dpr, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(dpr);
    image.fill(Qt::black);
    return image;
}

int differingPixels(const QImage& a, const QImage& b) {
    int n = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            n += a.pixel(x, y) != b.pixel(x, y) ? 1 : 0;
        }
    }
    return n;
}

} // namespace

TEST(RetroFont, AsciiTextsMeasureAndDrawAsTheirWholeLayout) {
    ASSERT_TRUE(RetroFont::available()) << "the pixel font is compiled in";
    for (double dpr : {1.0, 2.0}) {
        for (const QString& text : {QStringLiteral("HI 00123"), QStringLiteral("98765"),
                                    QStringLiteral("SPACE TO RESUME  /  R TO RESET")}) {
            for (int size : {6, 8, 13}) {
                const QFont font = RetroFont::font(size);
                EXPECT_DOUBLE_EQ(RetroFont::textSize(text, size).width(),
                                 QFontMetricsF(font).horizontalAdvance(text))
                    << text.toStdString() << " at " << size;
                QImage ours = blank(dpr);
                QImage whole = blank(dpr);
                QPainter a(&ours);
                RetroFont::drawText(a, QPointF(3, 2), text, size, Qt::white);
                a.end();
                QPainter b(&whole);
                b.setFont(font);
                b.setPen(Qt::white);
                b.drawText(QPointF(3, 2 + QFontMetricsF(font).ascent()), text);
                b.end();
                int lit = 0;
                for (int y = 0; y < ours.height(); ++y) {
                    for (int x = 0; x < ours.width(); ++x) {
                        lit += qRed(ours.pixel(x, y)) > 128 ? 1 : 0;
                    }
                }
                EXPECT_GT(lit, 20) << text.toStdString();
                EXPECT_EQ(differingPixels(ours, whole), 0)
                    << text.toStdString() << " at " << size << ", dpr " << dpr;
            }
        }
    }
}
