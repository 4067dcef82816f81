#pragma once

#include <QObject>
#include <QRect>

namespace vantrel::platform {

// A small window of our own over the trigger strip, for desktops whose compositor
// shows us the pointer only while it is over one of our surfaces (XWayland without
// layer-shell, as on GNOME). While shown, resting the pointer in the strip puts it
// over our surface, so the desktop pointer sees it there.
class HoverStrip : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // Global rectangle in Qt's device-independent coordinates.
    virtual void setRect(const QRect& rect) = 0;
    virtual void setShown(bool shown) = 0;
    // While watching, pointerLeft() reports the pointer going over a surface that is not ours to see.
    virtual void setWatching(bool watching) = 0;

signals:
    // The pointer went over a surface the display server does not show us (a native
    // Wayland window): the last position the desktop pointer knows is stale.
    void pointerLeft();
};

// Where the desktop pointer sees the whole desktop (X11 sessions) or nothing helps.
class NullHoverStrip final : public HoverStrip {
    Q_OBJECT

public:
    using HoverStrip::HoverStrip;

    void setRect(const QRect&) override {}
    void setShown(bool) override {}
    void setWatching(bool) override {}
};

} // namespace vantrel::platform
