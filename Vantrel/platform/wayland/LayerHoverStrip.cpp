#include "Vantrel/platform/wayland/LayerHoverStrip.h"

#include <QGuiApplication>
#include <QImage>
#include <QScreen>

namespace vantrel::platform::wayland {

LayerHoverStrip::LayerHoverStrip(LayerShellClient& client, QObject* parent)
    : HoverStrip(parent), m_surface(client, *this, "vantrel-hover") {}

void LayerHoverStrip::pointerButton(QPointF, Qt::MouseButton button, bool pressed) {
    if (button == Qt::LeftButton && pressed) {
        emit clicked();
    }
}

void LayerHoverStrip::setRect(const QRect& rect) {
    QRect visible = rect;
    if (QScreen* screen = QGuiApplication::screenAt(rect.center())) {
        visible = rect.intersected(screen->geometry());
    } else if (QScreen* primary = QGuiApplication::primaryScreen()) {
        visible = rect.intersected(primary->geometry());
    }
    if (visible != m_visible) {
        m_visible = visible;
        update();
    }
}

void LayerHoverStrip::setShown(bool shown) {
    if (shown != m_shown) {
        m_shown = shown;
        update();
    }
}

void LayerHoverStrip::update() {
    if (!m_shown || m_visible.isEmpty()) {
        m_surface.hide();
        return;
    }
    QImage clear(m_visible.size(), QImage::Format_ARGB32_Premultiplied);
    clear.fill(Qt::transparent);
    m_surface.setInputRegion(QRegion(QRect(QPoint(0, 0), m_visible.size())));
    m_surface.present(clear);
}

} // namespace vantrel::platform::wayland
