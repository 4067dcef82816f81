#include "Vantrel/pixels/DinoGlyph.h"

#include "Vantrel/pixels/PixelDino.h"
#include "Vantrel/views/ViewAccessibility.h"

#include <QPainter>

#include <algorithm>

namespace vantrel {

DinoGlyph::DinoGlyph(QColor color, QWidget* parent) : QWidget(parent), m_color(color) {
    installViewAccessibility();
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void DinoGlyph::setColor(const QColor& color) {
    if (color != m_color) {
        m_color = color;
        update();
    }
}

double DinoGlyph::pixelSize(QSizeF size) {
    return std::max(0.0,
                    std::min(size.width() / PixelDino::figureColumns, size.height() / PixelDino::figureRows));
}

void DinoGlyph::paintGlyph(QPainter& painter, QSizeF size, const QColor& color) {
    const double pixel = pixelSize(size);
    if (pixel <= 0) {
        return;
    }
    PixelDino::fillFigure(painter, PixelDino::standingPath(PixelDino::feetRest, QPointF(0, 0), pixel), color);
}

void DinoGlyph::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintGlyph(painter, size(), m_color);
}

} // namespace vantrel
