#include "Vantrel/pixels/PeekingDinoGlyph.h"

#include "Vantrel/pixels/PixelDino.h"
#include "Vantrel/views/ViewAccessibility.h"

#include <QPainter>

namespace vantrel {

PeekingDinoGlyph::PeekingDinoGlyph(QWidget* parent) : QWidget(parent) {
    installViewAccessibility();
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void PeekingDinoGlyph::paintGlyph(QPainter& painter, const QRectF& clip) {
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    const PixelDino::Rows head = PixelDino::Rows(PixelDino::body).first(rows);
    // Column c lands at (c - 7) * 1.5, so the head starts at the left edge.
    PixelDino::addPixels(path, head, QPointF(-firstColumn * PixelDino::peekPixel, 0), PixelDino::peekPixel,
                         firstColumn);
    painter.save();
    painter.setClipRect(clip, Qt::IntersectClip);
    PixelDino::fillFigure(painter, path, QColor::fromRgbF(1, 1, 1, 0.7f));
    painter.restore();
}

void PeekingDinoGlyph::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintGlyph(painter, QRectF(rect()));
}

} // namespace vantrel
