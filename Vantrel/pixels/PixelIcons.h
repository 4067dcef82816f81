#pragma once

#include <QColor>
#include <QPointF>
#include <QSizeF>

class QPainter;

namespace vantrel {

// The control row's symbols (play, pause, speaker on and off, ellipsis) as
// pixel art in the sprites' style: rows of text, one path, filled once.
enum class PixelIcon { play, pause, speakerOn, speakerOff, ellipsis };

namespace PixelIcons {

// One icon pixel in logical points: whole points keep the icons crisp at
// every integer device pixel ratio.
inline constexpr double pixel = 1;

// Size in points.
QSizeF size(PixelIcon icon);

// Draws `icon` with its top-left at `topLeft`.
void draw(QPainter& painter, PixelIcon icon, QPointF topLeft, const QColor& color);

} // namespace PixelIcons

} // namespace vantrel
