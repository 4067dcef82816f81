#pragma once

#include <QPainterPath>
#include <QRectF>

namespace vantrel {

// The outline of the black area that grows out of the camera notch: the top
// edge spans the whole rectangle, the outer 7 points on each side curve inward
// like the physical notch's "ears", and the body below is 14 points narrower
// with its bottom corners rounded by `radius` (at most half the height).
struct NotchShape {
    static constexpr double ear = 7;

    double radius = 0;

    // The outline for `rect` in its own coordinates: the left and top edges are
    // taken as 0, only the right and bottom edges are read.
    QPainterPath path(const QRectF& rect) const;

    // The radius actually used for a rectangle `height` high.
    double effectiveRadius(double height) const;
};

} // namespace vantrel
