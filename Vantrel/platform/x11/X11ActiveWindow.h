#pragma once

#include "Vantrel/platform/ActiveWindow.h"

#include <xcb/xcb.h>

namespace vantrel::platform::x11 {

// EWMH _NET_ACTIVE_WINDOW when a window manager keeps it; the X input focus otherwise.
class X11ActiveWindow final : public ActiveWindow {
public:
    X11ActiveWindow();

    quint64 current() const override;
    void activate(quint64 window) override;
    bool exists(quint64 window) const override;
    bool fullScreenOn(const QScreen* screen) const override;

private:
    bool managed() const;

    xcb_connection_t* m_connection;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    xcb_atom_t m_netActiveWindow = XCB_ATOM_NONE;
    xcb_atom_t m_netWmState = XCB_ATOM_NONE;
    xcb_atom_t m_fullScreen = XCB_ATOM_NONE;
};

} // namespace vantrel::platform::x11
