#pragma once

#include <QColor>
#include <QPainterPath>
#include <QPointF>
#include <QRectF>

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

class QPainter;

namespace vantrel {

// One-colour pixel art kept as rows of text ('#' lit, anything else unlit),
// walked character by character at every draw. Each figure becomes one path
// of squares filled once, so neighbouring squares show no seams.
namespace PixelDino {

using Rows = std::span<const std::string_view>;

// The dinosaur from the head down to the hips, 16 rows of 18 columns; the gap
// in row 2, column 10 is the eye.
inline constexpr std::array<std::string_view, 16> body{
    ".........#######..", //
    "........#########.", //
    "........##.######.", //
    "........#########.", //
    "........#########.", //
    "........#####.....", //
    "........########..", //
    ".......######.....", //
    "#.....#######.....", //
    "##...##########...", //
    "###.#########.#...", //
    "#############.....", //
    ".###########......", //
    "..##########......", //
    "...########.......", //
    "....######........", //
};

// Legs, rows 16 to 19 of the whole figure: standing or airborne, and the two strides.
inline constexpr std::array<std::string_view, 4> feetRest{
    ".....##.##........", //
    ".....##.##........", //
    ".....##.##........", //
    ".....###.###......", //
};
inline constexpr std::array<std::string_view, 4> feetA{
    ".....##.##........", //
    ".....##..##.......", //
    ".....##...........", //
    ".....###..........", //
};
inline constexpr std::array<std::string_view, 4> feetB{
    ".....##.##........", //
    "....##..##........", //
    "........##........", //
    "........###.......", //
};

inline constexpr int figureRows = 20; // body then a feet set
inline constexpr int figureColumns = 18;

inline constexpr double duckPixel = 1.6;
inline constexpr double flyerPixel = 1.5;
inline constexpr double peekPixel = 1.5;

// Adds a square of side `pixel` for every lit character of `rows`, with
// column c of row r at origin + (c, r) * pixel. Only columns in
// [firstColumn, endColumn) are walked; a negative endColumn means all.
void addPixels(QPainterPath& path, Rows rows, QPointF origin, double pixel, int firstColumn = 0,
               int endColumn = -1);

// The same squares as rectangles, each run of lit characters in a row as one.
void addPixels(std::vector<QRectF>& rects, Rows rows, QPointF origin, double pixel);

// Fills `path` once with `color`: non-zero winding, antialiased.
void fillFigure(QPainter& painter, const QPainterPath& path, const QColor& color);

// Fills the union of `rects` with `color`, antialiased: what filling them as
// one path does, for the figures drawn on every frame (BlockFill).
void fillFigure(QPainter& painter, std::span<const QRectF> rects, const QColor& color);

// The standing or running figure: `body` followed by `feet`, 20 rows.
QPainterPath standingPath(Rows feet, QPointF topLeft, double pixel);
void addStanding(std::vector<QRectF>& rects, Rows feet, QPointF topLeft, double pixel);

// The ducking dinosaur, 26 x 10 pixels of 1.6 points, legs by the parity of
// `frame`; white at opacity 0.88.
void drawDucking(QPainter& painter, QPointF at, int64_t frame);

// The pterodactyl, 24 x 15 pixels of 1.5 points, wing up on even frames and
// down on odd ones; white at opacity 0.88.
void drawFlyer(QPainter& painter, QPointF at, int64_t frame);

} // namespace PixelDino

} // namespace vantrel
