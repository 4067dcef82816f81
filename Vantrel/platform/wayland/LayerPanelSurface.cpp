#include "Vantrel/platform/wayland/LayerPanelSurface.h"

#include <QBackingStore>
#include <QGuiApplication>
#include <qpa/qplatformbackingstore.h>
#include <qpa/qwindowsysteminterface.h>

namespace vantrel::platform::wayland {

namespace {
using Sync = QWindowSystemInterface::SynchronousDelivery;
} // namespace

LayerPanelSurface::LayerPanelSurface(LayerShellClient& client)
    : m_client(client), m_surface(client, *this, "vantrel-panel") {}

void LayerPanelSurface::present(QBackingStore* store, const QRect& frame) {
    if (store == nullptr || store->handle() == nullptr) {
        return;
    }
    m_frame = frame;
    const int scale = m_window != nullptr ? qRound(m_window->devicePixelRatio()) : 1;
    m_surface.present(store->handle()->toImage(), scale);
}

void LayerPanelSurface::hide() {
    m_surface.hide();
    m_hasKeyboard = false;
    m_onDemandTrial.invalidate();
}

void LayerPanelSurface::setInputRegion(const QRegion& region) {
    m_surface.setInputRegion(region);
}

void LayerPanelSurface::setKeyboardFocus(bool wanted) {
    m_wantKeyboard = wanted;
    m_surface.setKeyboardFocus(wanted);
    if (!wanted) {
        // Given back on purpose: the panel is no longer Qt's active window either, even
        // where the compositor says nothing because the surface is about to go.
        m_onDemandTrial.invalidate();
        deactivate();
    }
}

void LayerPanelSurface::deactivate() {
    if (m_window != nullptr && QGuiApplication::focusWindow() == m_window) {
        QWindowSystemInterface::handleWindowActivated<Sync>(nullptr, Qt::ActiveWindowFocusReason);
    }
}

void LayerPanelSurface::pointerEntered(QPointF local) {
    if (m_window != nullptr) {
        QWindowSystemInterface::handleEnterEvent<Sync>(m_window, local, globalOrigin() + local);
    }
}

void LayerPanelSurface::pointerMoved(QPointF local) {
    if (m_window != nullptr) {
        QWindowSystemInterface::handleMouseEvent<Sync>(m_window, local, globalOrigin() + local, m_buttons,
                                                       Qt::NoButton, QEvent::MouseMove,
                                                       QGuiApplication::keyboardModifiers());
    }
}

void LayerPanelSurface::pointerButton(QPointF local, Qt::MouseButton button, bool pressed) {
    m_buttons.setFlag(button, pressed);
    if (m_window != nullptr) {
        QWindowSystemInterface::handleMouseEvent<Sync>(
            m_window, local, globalOrigin() + local, m_buttons, button,
            pressed ? QEvent::MouseButtonPress : QEvent::MouseButtonRelease,
            QGuiApplication::keyboardModifiers());
    }
}

void LayerPanelSurface::pointerLeft() {
    m_buttons = {};
    if (m_window != nullptr) {
        QWindowSystemInterface::handleLeaveEvent<Sync>(m_window);
    }
}

void LayerPanelSurface::keyboardEntered() {
    m_hasKeyboard = true;
    // From now on a click on another window may take the keyboard, which closes the playfield.
    if (m_onDemandKeepsKeyboard && m_surface.allowFocusLoss()) {
        m_onDemandTrial.start();
    }
    if (m_window != nullptr && QGuiApplication::focusWindow() != m_window) {
        QWindowSystemInterface::handleWindowActivated<Sync>(m_window, Qt::ActiveWindowFocusReason);
    }
}

void LayerPanelSurface::keyboardLeft() {
    m_hasKeyboard = false;
    // Lost at once while still wanted, before anyone could have clicked elsewhere: this
    // compositor does not let an on-demand surface keep the keyboard. Ask for it
    // exclusively from now on, and do not tell the panel it lost it.
    constexpr qint64 tooSoonForAClickMs = 250;
    if (m_wantKeyboard && m_onDemandTrial.isValid() && m_onDemandTrial.elapsed() < tooSoonForAClickMs) {
        m_onDemandTrial.invalidate();
        m_onDemandKeepsKeyboard = false;
        m_surface.setKeyboardFocus(true);
        return;
    }
    m_onDemandTrial.invalidate();
    deactivate();
}

void LayerPanelSurface::key(bool pressed, int qtKey, Qt::KeyboardModifiers modifiers, quint32 keycode,
                            quint32 keysym, const QString& text) {
    if (m_window == nullptr || !m_hasKeyboard) {
        return;
    }
    QWindowSystemInterface::handleExtendedKeyEvent(m_window, pressed ? QEvent::KeyPress : QEvent::KeyRelease,
                                                   qtKey, modifiers, keycode, keysym, 0, text);
}

} // namespace vantrel::platform::wayland
