#include "AppIcon.h"

#include "Vantrel/pixels/PixelDino.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace vantrel::AppIcon {

namespace {

constexpr QRgb tileColor = 0xff000000;
constexpr QRgb figureColor = 0xfff2f2f2;
// Corner radius of the tile as a share of its side (the panel's 25 points on a 128-point tile).
constexpr double cornerShare = 0.2;
// How much of the tile's side the figure may take: room for the corners.
constexpr double figureShare = 0.85;
// The head and neck: columns 7 to 17 and rows 0 to 7 of the figure.
constexpr int headFirstColumn = 7;
constexpr int headColumns = 11;
constexpr int headRows = 8;
// From this size up the whole standing figure fits at one device pixel a bitmap pixel.
constexpr int wholeFigureFrom = 32;

struct Layout {
    bool wholeFigure;
    int cell;       // device pixels a bitmap pixel
    QPointF origin; // where bitmap column 0, row 0 lands
};

Layout layoutFor(int size) {
    const bool whole = size >= wholeFigureFrom;
    const int columns = whole ? PixelDino::figureColumns : headColumns;
    const int rows = whole ? PixelDino::figureRows : headRows;
    const int cell = std::max(1, static_cast<int>(std::floor(size * figureShare / std::max(columns, rows))));
    // Whole-pixel offsets keep every square on the device pixel grid.
    const int left = (size - cell * columns) / 2 - (whole ? 0 : headFirstColumn * cell);
    const int top = (size - cell * rows) / 2;
    return {whole, cell, QPointF(left, top)};
}

QPainterPath figurePath(const Layout& layout) {
    QPainterPath path;
    if (layout.wholeFigure) {
        return PixelDino::standingPath(PixelDino::feetRest, layout.origin, layout.cell);
    }
    PixelDino::addPixels(path, PixelDino::Rows(PixelDino::body.data(), headRows), layout.origin, layout.cell,
                         headFirstColumn);
    return path;
}

} // namespace

QImage render(int size) {
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const double radius = size * cornerShare;
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgba(tileColor));
    painter.drawRoundedRect(QRectF(0, 0, size, size), radius, radius);
    // The figure's squares sit on whole pixels: no antialiasing, no seams.
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.fillPath(figurePath(layoutFor(size)), QColor::fromRgba(figureColor));
    return image;
}

QString svg() {
    constexpr int size = 256;
    const Layout layout = layoutFor(size);
    QString out;
    out += QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                          "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%1\" height=\"%1\" "
                          "viewBox=\"0 0 %1 %1\" shape-rendering=\"crispEdges\">\n")
               .arg(size);
    out += QStringLiteral("  <rect width=\"%1\" height=\"%1\" rx=\"%2\" fill=\"#000000\"/>\n")
               .arg(size)
               .arg(size * cornerShare);
    out += QStringLiteral("  <g fill=\"#f2f2f2\">\n");
    auto addRows = [&](PixelDino::Rows rows, int firstRow) {
        for (int r = 0; r < static_cast<int>(rows.size()); ++r) {
            for (int c = 0; c < static_cast<int>(rows[r].size()); ++c) {
                if (rows[r][c] == '#') {
                    out += QStringLiteral("    <rect x=\"%1\" y=\"%2\" width=\"%3\" height=\"%3\"/>\n")
                               .arg(layout.origin.x() + c * layout.cell)
                               .arg(layout.origin.y() + (firstRow + r) * layout.cell)
                               .arg(layout.cell);
                }
            }
        }
    };
    addRows(PixelDino::body, 0);
    addRows(PixelDino::feetRest, static_cast<int>(PixelDino::body.size()));
    out += QStringLiteral("  </g>\n</svg>\n");
    return out;
}

} // namespace vantrel::AppIcon
