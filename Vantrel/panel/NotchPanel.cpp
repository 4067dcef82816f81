#include "Vantrel/panel/NotchPanel.h"

#include "Vantrel/Logging.h"
#include "Vantrel/pixels/NotchShape.h"
#include "Vantrel/platform/Compositing.h"
#include "Vantrel/platform/PanelSurface.h"
#include "Vantrel/platform/WindowTraits.h"

#include <QRegion>
#include <QResizeEvent>
#include <QWindow>

#include <algorithm>

namespace vantrel {

NotchPanel::NotchPanel(platform::WindowTraits& traits, platform::PanelSurface* surface,
                       platform::Compositing* compositing, QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                          Qt::WindowDoesNotAcceptFocus | Qt::NoDropShadowWindowHint),
      m_traits(traits), m_surface(surface), m_compositing(surface == nullptr ? compositing : nullptr) {
    setWindowTitle(QStringLiteral("Velt"));
    setObjectName(QStringLiteral("vantrel-panel"));
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_DeleteOnClose, false);
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    if (m_surface != nullptr) {
        // Qt still paints the panel and delivers its events; only the window stays off screen.
        setAttribute(Qt::WA_DontShowOnScreen);
    }
    winId(); // create the native window now, so its traits can be set before it is first shown
    if (m_compositing != nullptr) {
        connect(m_compositing, &platform::Compositing::activeChanged, this, [this](bool active) {
            qCDebug(lcPanel) << "compositing" << (active ? "started" : "stopped");
            updateMask();
        });
    }
}

bool NotchPanel::translucentOutline() const {
    return m_compositing != nullptr && m_compositing->active();
}

void NotchPanel::setAcceptsGameInput(bool accepts) {
    if (m_acceptsGameInput == accepts) {
        return;
    }
    m_acceptsGameInput = accepts;
    // On the native window only: QWidget::setWindowFlag would re-create and hide the panel.
    if (QWindow* window = windowHandle()) {
        window->setFlag(Qt::WindowDoesNotAcceptFocus, !accepts);
    }
    if (m_surface != nullptr) {
        m_surface->setKeyboardFocus(accepts);
    }
}

void NotchPanel::setCornerRadius(double radius) {
    if (m_radius != radius) {
        m_radius = radius;
        updateMask();
    }
}

void NotchPanel::setContent(QWidget* content) {
    delete m_content;
    m_content = content;
    if (m_content != nullptr) {
        m_content->setParent(this);
        m_content->setGeometry(rect());
        m_content->show();
    }
}

void NotchPanel::orderFront() {
    qCDebug(lcPanel) << "order front; visible" << isVisible() << "geometry" << geometry();
    if (isVisible()) {
        raise();
        return;
    }
    if (m_surface != nullptr) {
        m_surface->attach(windowHandle());
        show();
        update(); // the surface shows the first paint
        return;
    }
    m_traits.applyPanelTraits(windowHandle());
    show();
    raise();
    m_traits.applyPanelTraits(windowHandle());
}

void NotchPanel::orderOut() {
    hide();
    if (m_surface != nullptr) {
        m_surface->hide();
    }
}

bool NotchPanel::event(QEvent* event) {
    const bool handled = QWidget::event(event);
    // Qt has painted the panel into its backing store: hand the pixels to the surface.
    if (event->type() == QEvent::UpdateRequest && m_surface != nullptr && isVisible()) {
        m_surface->present(backingStore(), geometry());
    }
    return handled;
}

void NotchPanel::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (m_content != nullptr) {
        m_content->setGeometry(rect());
    }
    updateMask();
}

// Outside the notch outline the panel takes no clicks, which reach whatever lies
// underneath. A compositor blends the translucent window, so the antialiased edge
// that the content paints is what shows, and the outline only shapes the input.
// Without one, transparent pixels would show black: the window itself is cut to
// the outline (one bit deep, so without antialiasing).
void NotchPanel::updateMask() {
    const QRegion region(NotchShape{m_radius}.path(QRectF(rect())).toFillPolygon().toPolygon());
    if (m_surface != nullptr) {
        setMask(region);
        m_surface->setInputRegion(region);
        return;
    }
    if (translucentOutline()) {
        if (!mask().isEmpty()) {
            clearMask();
            update(); // the corners cut off until now are painted
        }
        m_compositing->setInputShape(windowHandle(), region);
        m_inputShaped = true;
        return;
    }
    setMask(region);
    if (m_inputShaped) {
        // Shaped while a compositor ran: from now on the input follows the window's cut.
        m_compositing->setInputShape(windowHandle(), QRegion());
        m_inputShaped = false;
    }
}

} // namespace vantrel
