#include "Vantrel/views/PaintedButton.h"

#include "Vantrel/views/QuietButtonStyle.h"

#include <QPainter>

namespace vantrel {

PaintedButton::PaintedButton(Look look, Label label, QWidget* parent)
    : QAbstractButton(parent), m_look(look), m_label(std::move(label)) {
    setFocusPolicy(Qt::NoFocus);
}

void PaintedButton::setAccessibleNameIfChanged(const QString& name) {
    if (accessibleName() != name) {
        setAccessibleName(name);
    }
}

void PaintedButton::setToolTipIfChanged(const QString& tip) {
    if (toolTip() != tip) {
        setToolTip(tip);
    }
}

void PaintedButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (m_look == Look::quiet) {
        painter.setOpacity(QuietButtonStyle::labelOpacity(isDown()));
    }
    m_label(painter, QRectF(rect()));
}

} // namespace vantrel
