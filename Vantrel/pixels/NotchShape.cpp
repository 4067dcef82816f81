#include "Vantrel/pixels/NotchShape.h"

#include <algorithm>

namespace vantrel {

double NotchShape::effectiveRadius(double height) const {
    return std::max(0.0, std::min(radius, height / 2));
}

QPainterPath NotchShape::path(const QRectF& rect) const {
    const double maxX = rect.right();
    const double maxY = rect.bottom();
    const double r = effectiveRadius(maxY);

    QPainterPath path;
    path.moveTo(0, 0);
    path.lineTo(maxX, 0);
    path.quadTo(maxX - ear, 0, maxX - ear, ear);
    path.lineTo(maxX - ear, maxY - r);
    path.quadTo(maxX - ear, maxY, maxX - ear - r, maxY);
    path.lineTo(ear + r, maxY);
    path.quadTo(ear, maxY, ear, maxY - r);
    path.lineTo(ear, ear);
    path.quadTo(ear, 0, 0, 0);
    path.closeSubpath();
    return path;
}

} // namespace vantrel
