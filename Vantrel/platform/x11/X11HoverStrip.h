#pragma once

#include "Vantrel/platform/HoverStrip.h"

#include <xcb/xcb.h>

#include <memory>

class QSocketNotifier;

namespace vantrel::platform::x11 {

// The hover strip as an override-redirect X11 window over the trigger strip.
//
// Purpose::xwayland, for Wayland sessions where we run through XWayland: a fully
// transparent window. The compositor sends the
// pointer to XWayland only over XWayland's own surfaces, so without it the
// pointer over a native window is invisible to us. Override-redirect keeps it
// out of the window manager's hands: above normal windows, on every workspace,
// out of the taskbar and the switcher, never focused. It is InputOutput with a
// 32-bit visual because XWayland gives InputOnly windows no surface at all.
//
// Leaving: when the pointer goes from an XWayland surface to a native one,
// XWayland puts the X pointer on the root window; the root window's
// EnterNotify (detail Inferior) is the only sign of it, and becomes pointerLeft();
// its LeaveNotify (detail Inferior) means the pointer is over an X11 window again.
//
// Purpose::warps, for X11 sessions: an InputOnly window (nothing drawn, no compositor
// needed). Raw device motion shows every move of the pointer except one made by a
// client with XWarpPointer (remote desktops, screen sharing, some input drivers),
// which moves no device. Crossing events come for warps as for any move, so the
// strip's EnterNotify and LeaveNotify become pointerCrossed(): the pointer went in
// or out, look where it is.
//
// Either way a button press in the strip becomes clicked(): the strip stays up while
// the peek tab is out, on top of the tab's top rows, so that the pointer over it stays seen.
class X11HoverStrip final : public HoverStrip {
    Q_OBJECT

public:
    enum class Purpose { xwayland, warps };

    // Null, with the reason in `error`, when there is no X server (or, for
    // Purpose::xwayland, no 32-bit visual).
    static std::unique_ptr<X11HoverStrip> create(Purpose purpose, QString* error, QObject* parent = nullptr);
    ~X11HoverStrip() override;

    void setRect(const QRect& rect) override;
    void setShown(bool shown) override;

private:
    X11HoverStrip(xcb_connection_t* connection, xcb_window_t window, Purpose purpose, QObject* parent);
    void update();
    void place();
    void readEvents();

    xcb_connection_t* m_connection;
    xcb_window_t m_root;
    xcb_window_t m_window;
    Purpose m_purpose;
    QSocketNotifier* m_notifier = nullptr;
    QRect m_rect;
    bool m_wanted = false;
    bool m_shown = false;
};

} // namespace vantrel::platform::x11
