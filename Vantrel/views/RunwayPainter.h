#pragma once

#include <QSizeF>

class QPainter;

namespace vantrel {

class Runner;

// Paints the world of one frame (landscape, obstacles, the dinosaur and its
// dust) from a runner's state; it knows nothing of widgets, cards or input.
// The world is 440 points wide and scaled to the canvas's width; the ground
// lies 10 world points above the canvas's bottom edge.
class RunwayPainter {
public:
    static constexpr double worldWidth = 440;  // world points across the canvas
    static constexpr double groundMargin = 10; // world points below the ground line
    static constexpr double pausedOpacity = 0.3;

    // The world of `runner` for a canvas of `size` view points, into a painter
    // whose origin is the canvas's top-left.
    static void paintCanvas(QPainter& painter, const Runner& runner, QSizeF size);

    // As paintCanvas, but a paused run fades to 30 % as one layer, so
    // overlapping figures do not show through each other.
    static void paintFrame(QPainter& painter, const Runner& runner, QSizeF size);
};

} // namespace vantrel
