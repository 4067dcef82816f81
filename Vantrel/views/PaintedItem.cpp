#include "Vantrel/views/PaintedItem.h"

#include <QPainter>

namespace vantrel {

PaintedItem::PaintedItem(Painter painter, QWidget* parent) : QWidget(parent), m_painter(std::move(painter)) {}

void PaintedItem::setAccessibleNameIfChanged(const QString& name) {
    if (accessibleName() != name) {
        setAccessibleName(name);
    }
}

void PaintedItem::setToolTipIfChanged(const QString& tip) {
    if (toolTip() != tip) {
        setToolTip(tip);
    }
}

void PaintedItem::setOpaqueBackground(const QColor& color) {
    m_background = color;
    setAttribute(Qt::WA_OpaquePaintEvent, color.isValid() && color.alpha() == 255);
}

void PaintedItem::setFramePresenter(platform::FramePresenter* presenter) {
    if (m_direct == nullptr) {
        m_direct = new DirectFrames(*this);
    }
    m_direct->setPresenter(presenter);
}

void PaintedItem::refresh() {
    if (m_direct == nullptr || !m_direct->present([this](QPainter& painter) { paintContent(painter); })) {
        update();
    }
}

void PaintedItem::paintEvent(QPaintEvent*) {
    if (m_direct != nullptr) {
        m_direct->painted();
    }
    QPainter painter(this);
    paintContent(painter);
}

void PaintedItem::paintContent(QPainter& painter) {
    if (testAttribute(Qt::WA_OpaquePaintEvent)) {
        painter.fillRect(rect(), m_background);
    }
    m_painter(painter, QRectF(rect()));
}

} // namespace vantrel
