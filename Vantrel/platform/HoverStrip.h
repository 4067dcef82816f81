#pragma once

#include <QObject>
#include <QRect>

namespace vantrel::platform {

// A small surface of our own over the trigger strip, for desktops whose compositor
// shows us the pointer only while it is over one of our surfaces: a layer surface
// where the compositor has the layer shell, an X11 window through XWayland elsewhere
// (GNOME). While shown, resting the pointer in the strip puts it over our surface,
// so the desktop pointer sees it there.
class HoverStrip : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // Global rectangle in Qt's device-independent coordinates.
    virtual void setRect(const QRect& rect) = 0;
    // While shown it also reports where the pointer goes, below.
    virtual void setShown(bool shown) = 0;

signals:
    // The pointer went over a surface the display server does not show us (a native
    // Wayland window): the last position the desktop pointer knows is stale.
    void pointerLeft();
    // The pointer is over one of the display server's surfaces again.
    void pointerReturned();
    // The pointer went into or out of the strip, however it got there: a warp moves
    // it without any device motion, so this may be the only sign that it moved.
    void pointerCrossed();
    // A button went down in the strip. It lies over the top rows of the peek tab, so
    // while the tab is out this is a click on the tab.
    void clicked();
};

// Where nothing is needed or nothing helps.
class NullHoverStrip final : public HoverStrip {
    Q_OBJECT

public:
    using HoverStrip::HoverStrip;

    void setRect(const QRect&) override {}
    void setShown(bool) override {}
};

} // namespace vantrel::platform
