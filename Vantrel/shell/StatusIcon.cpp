#include "Vantrel/shell/StatusIcon.h"

#include "Vantrel/pixels/BlockFill.h"
#include "Vantrel/pixels/PixelDino.h"

#include <QPainter>

#include <algorithm>
#include <vector>

namespace vantrel::StatusIcon {

QImage render(int size) {
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    // Whole device pixels per bitmap pixel where they fit (crisp), else a
    // fraction; the outline needs one cell of room on each side.
    const double fit =
        std::min(size / double(PixelDino::figureColumns + 2), size / double(PixelDino::figureRows + 2));
    const double cell = fit >= 1 ? std::floor(fit) : fit;
    const double width = cell * PixelDino::figureColumns;
    const double height = cell * PixelDino::figureRows;
    const QPointF topLeft((size - width) / 2, (size - height) / 2);
    std::vector<QRectF> figure;
    PixelDino::addStanding(figure, PixelDino::feetRest, topLeft, cell);

    // The outline: the figure shifted by one cell in each of eight directions.
    // As rectangles (a run of cells each), not one path of every cell: a path
    // of some nine hundred squares took the rasteriser megabytes of scratch
    // memory at start-up, which the heap then kept.
    std::vector<QRectF> outline;
    outline.reserve(figure.size() * 8);
    for (int dx = -1; dx <= 1; ++dx) {
        for (int dy = -1; dy <= 1; ++dy) {
            if (dx != 0 || dy != 0) {
                for (const QRectF& r : figure) {
                    outline.push_back(r.translated(dx * cell, dy * cell));
                }
            }
        }
    }
    QPainter painter(&image);
    BlockFill::fill(painter, outline, QColor::fromRgba(outlineColor));
    BlockFill::fill(painter, figure, QColor::fromRgba(figureColor));
    return image;
}

QIcon make() {
    QIcon icon;
    for (int size : {16, 22, 24, 32, 44, 48, 64}) {
        icon.addPixmap(QPixmap::fromImage(render(size)));
    }
    return icon;
}

} // namespace vantrel::StatusIcon
