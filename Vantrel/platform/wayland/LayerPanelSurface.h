#pragma once

#include "Vantrel/platform/PanelSurface.h"
#include "Vantrel/platform/wayland/LayerShellClient.h"
#include "Vantrel/platform/wayland/LayerSurface.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QRect>
#include <QWindow>

namespace vantrel::platform::wayland {

// The panel as a layer surface: the panel widget paints into its backing store
// without a window on screen, each finished paint is copied here, and the
// pointer and keys that reach the surface are handed to the panel's Qt window
// as if its own window had received them, so the rest of the program cannot
// tell the difference. Keyboard focus follows the compositor's: when it gives
// us the keyboard the panel window becomes Qt's active window, and when a
// click elsewhere takes it away the panel hears that it lost it.
class LayerPanelSurface final : public PanelSurface, public SurfaceInput {
public:
    explicit LayerPanelSurface(LayerShellClient& client);

    void attach(QWindow* window) override { m_window = window; }
    void present(QBackingStore* store, const QRect& frame) override;
    void hide() override;
    void setInputRegion(const QRegion& region) override;
    void setKeyboardFocus(bool wanted) override;

    QPointF globalOrigin() const override { return m_frame.topLeft(); }
    void pointerEntered(QPointF local) override;
    void pointerMoved(QPointF local) override;
    void pointerButton(QPointF local, Qt::MouseButton button, bool pressed) override;
    void pointerLeft() override;
    void keyboardEntered() override;
    void keyboardLeft() override;
    void key(bool pressed, int qtKey, Qt::KeyboardModifiers modifiers, quint32 keycode, quint32 keysym,
             const QString& text) override;

private:
    LayerShellClient& m_client;
    LayerSurface m_surface;
    QPointer<QWindow> m_window;
    QRect m_frame;
    void deactivate();

    Qt::MouseButtons m_buttons;
    bool m_wantKeyboard = false;
    bool m_hasKeyboard = false;
    // Some compositors (KWin 5.27) take the keyboard back as soon as a surface asks
    // only "on demand"; there the surface keeps it exclusively while the playfield is open.
    QElapsedTimer m_onDemandTrial;
    bool m_onDemandKeepsKeyboard = true;
};

} // namespace vantrel::platform::wayland
