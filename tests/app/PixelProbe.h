#pragma once

#include <QColor>
#include <QImage>
#include <QRectF>

#include <algorithm>
#include <cmath>

namespace vantrel::probe {

// Reads rendered images in logical points, whatever their device pixel ratio.

// The device pixel that contains the logical point (x, y).
inline QColor at(const QImage& image, double x, double y) {
    const double dpr = image.devicePixelRatio();
    const int px = static_cast<int>(std::floor(x * dpr));
    const int py = static_cast<int>(std::floor(y * dpr));
    if (!image.rect().contains(px, py)) {
        return QColor(0, 0, 0, 0);
    }
    return image.pixelColor(px, py);
}

inline int alphaAt(const QImage& image, double x, double y) {
    return at(image, x, y).alpha();
}

// The bounds, in logical points, of the device pixels inside `region` whose
// alpha exceeds `minAlpha` and whose red channel (unpremultiplied) exceeds
// `minRed`; an empty rectangle when there are none.
inline QRectF litBounds(const QImage& image, const QRectF& region, int minAlpha = 100, int minRed = -1) {
    const double dpr = image.devicePixelRatio();
    const QRect device = QRectF(region.topLeft() * dpr, region.size() * dpr).toAlignedRect() & image.rect();
    int left = INT32_MAX, top = INT32_MAX, right = -1, bottom = -1;
    for (int y = device.top(); y <= device.bottom(); ++y) {
        for (int x = device.left(); x <= device.right(); ++x) {
            const QColor c = image.pixelColor(x, y);
            if (c.alpha() > minAlpha && c.red() > minRed) {
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = std::max(bottom, y);
            }
        }
    }
    if (right < 0) {
        return {};
    }
    return QRectF(left / dpr, top / dpr, (right - left + 1) / dpr, (bottom - top + 1) / dpr);
}

// Counts device pixels in `region` that pass `test`.
template <typename Test> int count(const QImage& image, const QRectF& region, Test test) {
    const double dpr = image.devicePixelRatio();
    const QRect device = QRectF(region.topLeft() * dpr, region.size() * dpr).toAlignedRect() & image.rect();
    int n = 0;
    for (int y = device.top(); y <= device.bottom(); ++y) {
        for (int x = device.left(); x <= device.right(); ++x) {
            n += test(image.pixelColor(x, y)) ? 1 : 0;
        }
    }
    return n;
}

} // namespace vantrel::probe
