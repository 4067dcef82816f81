#include "Vantrel/pixels/BlockFill.h"

#include <QImage>
#include <QPaintEngine>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace vantrel {

namespace {

// A figure larger than this is not what this is for.
constexpr int maxPixels = 512 * 512;

// Adds `weight` times the coverage of [left, right) to the pixels of `row`.
void addSpan(float* row, double left, double right, double weight) {
    const int first = static_cast<int>(std::floor(left));
    const int last = static_cast<int>(std::ceil(right)) - 1;
    if (first == last) {
        row[first] += static_cast<float>(weight * (right - left));
        return;
    }
    row[first] += static_cast<float>(weight * (first + 1 - left));
    for (int c = first + 1; c < last; ++c) {
        row[c] += static_cast<float>(weight);
    }
    row[last] += static_cast<float>(weight * (right - last));
}

} // namespace

void BlockFill::cover(std::span<const QRectF> deviceRects, Coverage& out) {
    double minX = HUGE_VAL, minY = HUGE_VAL, maxX = -HUGE_VAL, maxY = -HUGE_VAL;
    for (const QRectF& r : deviceRects) {
        if (r.width() > 0 && r.height() > 0) {
            minX = std::min(minX, r.left());
            minY = std::min(minY, r.top());
            maxX = std::max(maxX, r.right());
            maxY = std::max(maxY, r.bottom());
        }
    }
    out.values.clear();
    if (maxX <= minX || maxY <= minY) {
        out.width = out.height = 0;
        return;
    }
    out.left = static_cast<int>(std::floor(minX));
    out.top = static_cast<int>(std::floor(minY));
    out.width = static_cast<int>(std::ceil(maxX)) - out.left;
    out.height = static_cast<int>(std::ceil(maxY)) - out.top;
    out.values.assign(static_cast<size_t>(out.width) * static_cast<size_t>(out.height), 0.0f);

    for (const QRectF& r : deviceRects) {
        if (r.width() <= 0 || r.height() <= 0) {
            continue;
        }
        const double top = r.top() - out.top;
        const double bottom = r.bottom() - out.top;
        const int firstRow = static_cast<int>(std::floor(top));
        const int lastRow = std::min(static_cast<int>(std::ceil(bottom)) - 1, out.height - 1);
        for (int row = firstRow; row <= lastRow; ++row) {
            const double weight = std::min(bottom, row + 1.0) - std::max(top, static_cast<double>(row));
            float* values = out.values.data() + static_cast<size_t>(row) * static_cast<size_t>(out.width);
            addSpan(values, r.left() - out.left, r.right() - out.left, weight);
        }
    }
    for (float& value : out.values) {
        value = std::min(value, 1.0f);
    }
}

void BlockFill::fill(QPainter& painter, std::span<const QRectF> rects, const QColor& color) {
    const QTransform device = painter.deviceTransform();
    if (rects.empty() || device.type() > QTransform::TxScale || device.m11() <= 0 || device.m22() <= 0 ||
        !painter.paintEngine() || painter.paintEngine()->type() != QPaintEngine::Raster) {
        fillAsPath(painter, rects, color);
        return;
    }
    thread_local std::vector<QRectF> deviceRects;
    deviceRects.clear();
    // On the rasteriser's grid of 1/64 pixel, so edges land where a path fill puts them.
    const auto grid = [](double v) { return std::round(v * 64) / 64; };
    for (const QRectF& r : rects) {
        const QRectF d = device.mapRect(r);
        deviceRects.push_back(
            QRectF(QPointF(grid(d.left()), grid(d.top())), QPointF(grid(d.right()), grid(d.bottom()))));
    }
    thread_local Coverage coverage;
    cover(deviceRects, coverage);
    if (coverage.width == 0) {
        return;
    }
    if (coverage.width * coverage.height > maxPixels) {
        fillAsPath(painter, rects, color);
        return;
    }

    thread_local std::vector<QRgb> pixels;
    pixels.resize(coverage.values.size());
    // Most pixels of a figure are wholly in or wholly out; only its edges need
    // their own alpha.
    const QRgb rgb = color.rgb();
    const double alpha = color.alphaF();
    const QRgb full = qPremultiply(qRgba(qRed(rgb), qGreen(rgb), qBlue(rgb), qRound(alpha * 255)));
    for (size_t i = 0; i < pixels.size(); ++i) {
        const float covered = coverage.values[i];
        if (covered <= 0) {
            pixels[i] = 0;
        } else if (covered >= 1) {
            pixels[i] = full;
        } else {
            pixels[i] =
                qPremultiply(qRgba(qRed(rgb), qGreen(rgb), qBlue(rgb), qRound(covered * alpha * 255)));
        }
    }
    const QImage image(reinterpret_cast<const uchar*>(pixels.data()), coverage.width, coverage.height,
                       coverage.width * static_cast<int>(sizeof(QRgb)), QImage::Format_ARGB32_Premultiplied);

    // Drawn with no transform at all, the image is blended as it is, on whole pixels.
    painter.save();
    painter.resetTransform();
    painter.setWorldTransform(painter.deviceTransform().inverted());
    painter.drawImage(QPointF(coverage.left, coverage.top), image);
    painter.restore();
}

void BlockFill::fillAsPath(QPainter& painter, std::span<const QRectF> rects, const QColor& color) {
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    for (const QRectF& r : rects) {
        path.addRect(r);
    }
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.fillPath(path, color);
    painter.restore();
}

} // namespace vantrel
