#include "Vantrel/views/KeyHint.h"

#include "Vantrel/pixels/RetroFont.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace vantrel::KeyHint {

QSizeF capSize(const QString& key) {
    const QSizeF text = RetroFont::textSize(key, textSize);
    return QSizeF(text.width() + 2 * capPaddingX, text.height() + 2 * capPaddingY);
}

QSizeF size(const QString& key, const QString& label) {
    const QSizeF cap = capSize(key);
    const QSizeF text = RetroFont::textSize(label, textSize);
    return QSizeF(cap.width() + labelGap + text.width(), std::max(cap.height(), text.height()));
}

void paint(QPainter& painter, const QRectF& rect, const QString& key, const QString& label,
           const QColor& color) {
    const QSizeF cap = capSize(key);
    // Whole points keep the pixel font on the device grid.
    const double capTop = std::round(rect.top() + (rect.height() - cap.height()) / 2);
    const QRectF capRect(rect.left(), capTop, cap.width(), cap.height());

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, true);
    QPainterPath rounded;
    rounded.addRoundedRect(capRect, capRadius, capRadius);
    // The cap keeps its faint fill whatever opacity the button's look applies.
    painter.fillPath(rounded, QColor::fromRgbF(1, 1, 1, 0.065f));
    painter.restore();

    RetroFont::drawText(painter, capRect.topLeft() + QPointF(capPaddingX, capPaddingY), key, textSize, color);
    const double labelHeight = RetroFont::textSize(label, textSize).height();
    RetroFont::drawText(painter,
                        QPointF(capRect.right() + labelGap, capTop + (cap.height() - labelHeight) / 2), label,
                        textSize, color);
}

} // namespace vantrel::KeyHint
