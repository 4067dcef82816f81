#include "Vantrel/views/DirectFrames.h"

#include "Vantrel/platform/FramePresenter.h"

#include <QImage>
#include <QPainter>
#include <QRegion>
#include <QWidget>
#include <QWindow>

namespace vantrel {

DirectFrames::DirectFrames(QWidget& widget) : QObject(&widget), m_widget(widget) {}

void DirectFrames::setPresenter(platform::FramePresenter* presenter) {
    if (m_presenter != nullptr) {
        disconnect(m_presenter, nullptr, this, nullptr);
    }
    m_presenter = presenter;
    if (m_presenter != nullptr) {
        connect(m_presenter, &platform::FramePresenter::contentLost, this, [this](QWindow* lost) {
            if (m_presented && lost == m_widget.window()->windowHandle()) {
                m_widget.update();
            }
        });
    }
}

bool DirectFrames::present(const std::function<void(QPainter&)>& paint) {
    if (m_presenter == nullptr || !m_widget.testAttribute(Qt::WA_OpaquePaintEvent) || !m_widget.isVisible()) {
        return false;
    }
    // The frame covers the widget's whole rectangle: nothing of it may be clipped
    // by a parent or hidden by a widget above, and no child may paint over it.
    if (m_widget.visibleRegion() != QRegion(m_widget.rect())) {
        return false;
    }
    for (const QObject* child : m_widget.children()) {
        if (child->isWidgetType() && static_cast<const QWidget*>(child)->isVisible()) {
            return false;
        }
    }
    QWindow* handle = m_widget.window()->windowHandle();
    if (handle == nullptr) {
        return false;
    }
    // Qt paints a widget at its position times the scale; off whole pixels its
    // painting would land between them, which a separate image cannot match.
    const double ratio = handle->devicePixelRatio();
    const QRectF device(QPointF(m_widget.mapTo(m_widget.window(), QPoint(0, 0))) * ratio,
                        QSizeF(m_widget.size()) * ratio);
    const QRect whole = device.toAlignedRect();
    if (QRectF(whole) != device) {
        return false;
    }
    QImage* image = m_presenter->beginFrame(handle, whole);
    if (image == nullptr) {
        return false;
    }
    image->setDevicePixelRatio(ratio);
    {
        QPainter painter(image);
        // What QPainter takes from a widget it begins on.
        painter.setPen(m_widget.palette().color(m_widget.foregroundRole()));
        painter.setFont(m_widget.font());
        painter.setBackground(m_widget.palette().brush(m_widget.backgroundRole()));
        paint(painter);
    }
    m_presenter->endFrame();
    m_presented = true;
    return true;
}

} // namespace vantrel
