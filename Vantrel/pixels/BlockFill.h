#pragma once

#include <QColor>
#include <QRectF>

#include <span>
#include <vector>

class QPainter;

namespace vantrel {

// Fills unions of axis-aligned rectangles (pixel-art figures, cacti) the way an
// antialiased path fill with the non-zero rule would, at a fraction of its
// cost: each device pixel gets the area the rectangles cover in it, overlaps
// adding up to full cover as they do in Qt's rasteriser, computed here; the
// result goes to the painter as one small image at a whole device pixel.
// Qt's path fill hands spans of figures this size to worker threads, and the
// hand-over costs more than the fill; a frame of the runway has several.
// Anything other than scaling and moving (a rotated painter, a picture
// recorder) falls back to the path fill.
class BlockFill {
public:
    // Fills the union of `rects` (in the painter's coordinates) with `color`.
    static void fill(QPainter& painter, std::span<const QRectF> rects, const QColor& color);

    // The coverage over whole device pixels: `width` x `height` values in
    // [0, 1] from the device pixel (left, top), row by row. Rectangles are in
    // device pixels already.
    struct Coverage {
        int left = 0;
        int top = 0;
        int width = 0;
        int height = 0;
        std::vector<float> values;
    };
    static void cover(std::span<const QRectF> deviceRects, Coverage& out);

private:
    static void fillAsPath(QPainter& painter, std::span<const QRectF> rects, const QColor& color);
};

} // namespace vantrel
