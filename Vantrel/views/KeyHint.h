#pragma once

#include <QColor>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QString>

class QPainter;

namespace vantrel {

// One key cap and its label, as the control row shows them ("SPACE JUMP"):
// the key text at pixel-font size 6 padded 5 points across and 3 down on a
// rounded rectangle (radius 4, white at opacity 0.065), then the label.
namespace KeyHint {

inline constexpr int textSize = 6;
inline constexpr double capPaddingX = 5;
inline constexpr double capPaddingY = 3;
inline constexpr double capRadius = 4;
inline constexpr double labelGap = 5;

QSizeF capSize(const QString& key);
QSizeF size(const QString& key, const QString& label);

// Draws the hint vertically centred in `rect`, starting at its left edge.
// `color` is for both texts; the cap keeps its own faint fill.
void paint(QPainter& painter, const QRectF& rect, const QString& key, const QString& label,
           const QColor& color);

} // namespace KeyHint

} // namespace vantrel
