#pragma once

class QBackingStore;
class QRect;
class QRegion;
class QWindow;

namespace vantrel::platform {

// Where the compositor will not place an ordinary window at the top of the screen
// (Wayland with the layer shell), the panel is shown through a surface of the
// compositor's own kind: the panel widget paints as usual, without a window on
// screen, and its pixels and input travel through this surface. Null where the
// panel's own window does the job (X11).
class PanelSurface {
public:
    virtual ~PanelSurface() = default;

    // The panel's Qt window, which receives the pointer and keys that reach the surface.
    virtual void attach(QWindow* window) = 0;
    // Shows what the panel last painted, at the frame it has in Qt's global coordinates.
    virtual void present(QBackingStore* store, const QRect& frame) = 0;
    virtual void hide() = 0;
    // Pointer input only inside `region` (panel coordinates); elsewhere it passes through.
    virtual void setInputRegion(const QRegion& region) = 0;
    // Takes the keyboard while the playfield is open, and hands it back to the
    // window that had it when it closes.
    virtual void setKeyboardFocus(bool wanted) = 0;
};

} // namespace vantrel::platform
