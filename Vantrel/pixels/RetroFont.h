#pragma once

#include <QColor>
#include <QFont>
#include <QPointF>
#include <QSizeF>
#include <QString>

class QPainter;

namespace vantrel {

// The pixel font of every game text: Press Start 2P, compiled in as a Qt
// resource when the build could fetch it. Without it texts use the system's
// fixed-width font.
namespace RetroFont {

// Registers the font with the application's font database. Called once at
// start-up; later calls return the first outcome. Needs a QGuiApplication.
bool registerFont();

// Whether the pixel font is registered (registers it on first use).
bool available();

// The family texts ask for: the pixel font's, or the fall-back's.
QString family();

// The text font at `pixelSize` logical pixels (points of the original).
QFont font(int pixelSize);

// The box a one-line text takes at `pixelSize`: its advance and the font's line height.
QSizeF textSize(const QString& text, int pixelSize);

// Draws a one-line text with the top-left of its line box at `topLeft`.
void drawText(QPainter& painter, QPointF topLeft, const QString& text, int pixelSize, const QColor& color);

} // namespace RetroFont

} // namespace vantrel
