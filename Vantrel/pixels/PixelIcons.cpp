#include "Vantrel/pixels/PixelIcons.h"

#include "Vantrel/pixels/PixelDino.h"

#include <array>

namespace vantrel::PixelIcons {

namespace {

constexpr std::array<std::string_view, 9> play{
    "#.....", //
    "##....", //
    "###...", //
    "####..", //
    "#####.", //
    "####..", //
    "###...", //
    "##....", //
    "#.....", //
};

constexpr std::array<std::string_view, 9> pause{
    "###.###", //
    "###.###", //
    "###.###", //
    "###.###", //
    "###.###", //
    "###.###", //
    "###.###", //
    "###.###", //
    "###.###", //
};

constexpr std::array<std::string_view, 9> speakerOn{
    "....#.......", //
    "...##...#...", //
    "..###.#..#..", //
    "#####..#..#.", //
    "#####..#..#.", //
    "#####..#..#.", //
    "..###.#..#..", //
    "...##...#...", //
    "....#.......", //
};

constexpr std::array<std::string_view, 9> speakerOff{
    "....#.......", //
    "...##.......", //
    "..###.#...#.", //
    "#####..#.#..", //
    "#####...#...", //
    "#####..#.#..", //
    "..###.#...#.", //
    "...##.......", //
    "....#.......", //
};

constexpr std::array<std::string_view, 2> ellipsis{
    "##..##..##", //
    "##..##..##", //
};

PixelDino::Rows rows(PixelIcon icon) {
    switch (icon) {
    case PixelIcon::play:
        return play;
    case PixelIcon::pause:
        return pause;
    case PixelIcon::speakerOn:
        return speakerOn;
    case PixelIcon::speakerOff:
        return speakerOff;
    case PixelIcon::ellipsis:
        return ellipsis;
    }
    return ellipsis;
}

} // namespace

QSizeF size(PixelIcon icon) {
    const PixelDino::Rows r = rows(icon);
    return QSizeF(static_cast<double>(r.front().size()) * pixel, static_cast<double>(r.size()) * pixel);
}

void draw(QPainter& painter, PixelIcon icon, QPointF topLeft, const QColor& color) {
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    PixelDino::addPixels(path, rows(icon), topLeft, pixel);
    PixelDino::fillFigure(painter, path, color);
}

} // namespace vantrel::PixelIcons
