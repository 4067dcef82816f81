#include "Vantrel/pixels/PixelDino.h"

#include "Vantrel/pixels/BlockFill.h"

#include <QPainter>

namespace vantrel::PixelDino {

namespace {

constexpr std::string_view blankFlyerRow = "........................";

// Fixed rows of the ducking figure; rows 8 and 9 follow the frame's parity.
constexpr std::array<std::string_view, 8> duckTop{
    "...................######.", //
    "..................##.#####", //
    "#.................########", //
    "###...####################", //
    ".######################...", //
    "..###################.....", //
    "...################.......", //
    ".....############.........", //
};
constexpr std::array<std::string_view, 2> duckLegsEven{
    ".......##....##...........", //
    ".......###....##..........", //
};
constexpr std::array<std::string_view, 2> duckLegsOdd{
    "........##..##............", //
    ".........##.###...........", //
};

constexpr std::array<std::string_view, 5> wingUp{
    "............#...........", //
    "...........##...........", //
    "..........###...........", //
    ".........####...........", //
    "........#####...........", //
};
constexpr std::array<std::string_view, 6> flyerBody{
    ".....##.######..........", //
    "....###########.........", //
    "..###.###########.......", //
    "#####################...", //
    "......##############....", //
    "........##########......", //
};
constexpr std::array<std::string_view, 4> wingDown{
    ".........######.........", //
    "..........#####.........", //
    "...........####.........", //
    "............###.........", //
};
constexpr std::string_view wingUpTip = ".............##.........";

const QColor figureWhite = QColor::fromRgbF(1, 1, 1, 0.88f);

// The lowest bit decides, so -1 counts as odd.
bool isOdd(int64_t frame) {
    return (frame & 1) != 0;
}

} // namespace

void addPixels(QPainterPath& path, Rows rows, QPointF origin, double pixel, int firstColumn, int endColumn) {
    for (size_t r = 0; r < rows.size(); ++r) {
        const std::string_view row = rows[r];
        const size_t end = endColumn < 0 ? row.size() : std::min(row.size(), static_cast<size_t>(endColumn));
        for (size_t c = static_cast<size_t>(std::max(firstColumn, 0)); c < end; ++c) {
            if (row[c] == '#') {
                path.addRect(QRectF(origin.x() + static_cast<double>(c) * pixel,
                                    origin.y() + static_cast<double>(r) * pixel, pixel, pixel));
            }
        }
    }
}

void addPixels(std::vector<QRectF>& rects, Rows rows, QPointF origin, double pixel) {
    for (size_t r = 0; r < rows.size(); ++r) {
        const std::string_view row = rows[r];
        for (size_t c = 0; c < row.size(); ++c) {
            if (row[c] != '#') {
                continue;
            }
            size_t end = c + 1;
            while (end < row.size() && row[end] == '#') {
                ++end;
            }
            rects.emplace_back(origin.x() + static_cast<double>(c) * pixel,
                               origin.y() + static_cast<double>(r) * pixel,
                               static_cast<double>(end - c) * pixel, pixel);
            c = end;
        }
    }
}

void fillFigure(QPainter& painter, std::span<const QRectF> rects, const QColor& color) {
    BlockFill::fill(painter, rects, color);
}

void fillFigure(QPainter& painter, const QPainterPath& path, const QColor& color) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.fillPath(path, color);
    painter.restore();
}

QPainterPath standingPath(Rows feet, QPointF topLeft, double pixel) {
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    addPixels(path, body, topLeft, pixel);
    addPixels(path, feet, topLeft + QPointF(0, static_cast<double>(body.size()) * pixel), pixel);
    return path;
}

void addStanding(std::vector<QRectF>& rects, Rows feet, QPointF topLeft, double pixel) {
    addPixels(rects, body, topLeft, pixel);
    addPixels(rects, feet, topLeft + QPointF(0, static_cast<double>(body.size()) * pixel), pixel);
}

void drawDucking(QPainter& painter, QPointF at, int64_t frame) {
    std::array<std::string_view, 10> rows{};
    std::copy(duckTop.begin(), duckTop.end(), rows.begin());
    const auto& legs = isOdd(frame) ? duckLegsOdd : duckLegsEven;
    std::copy(legs.begin(), legs.end(), rows.begin() + duckTop.size());

    thread_local std::vector<QRectF> rects;
    rects.clear();
    addPixels(rects, rows, at, duckPixel);
    fillFigure(painter, rects, figureWhite);
}

void drawFlyer(QPainter& painter, QPointF at, int64_t frame) {
    const bool wingIsDown = isOdd(frame);
    std::array<std::string_view, 15> rows{};
    rows.fill(blankFlyerRow);
    if (!wingIsDown) {
        std::copy(wingUp.begin(), wingUp.end(), rows.begin());
    }
    std::copy(flyerBody.begin(), flyerBody.end(), rows.begin() + 5);
    if (wingIsDown) {
        std::copy(wingDown.begin(), wingDown.end(), rows.begin() + 11);
    } else {
        rows[11] = wingUpTip;
    }

    thread_local std::vector<QRectF> rects;
    rects.clear();
    addPixels(rects, rows, at, flyerPixel);
    fillFigure(painter, rects, figureWhite);
}

} // namespace vantrel::PixelDino
