#include "Vantrel/platform/x11/X11ActiveWindow.h"

#include "Vantrel/platform/x11/X11Support.h"

#include <QRect>
#include <QScreen>

#include <algorithm>
#include <cstdlib>

namespace vantrel::platform::x11 {

namespace {

constexpr uint32_t sourcePager = 2; // a request on the user's behalf: window managers honour it

} // namespace

X11ActiveWindow::X11ActiveWindow() : m_connection(qtConnection()) {
    if (m_connection != nullptr) {
        m_root = rootWindow(m_connection);
        m_netActiveWindow = atom(m_connection, "_NET_ACTIVE_WINDOW");
        m_netWmState = atom(m_connection, "_NET_WM_STATE");
        m_fullScreen = atom(m_connection, "_NET_WM_STATE_FULLSCREEN");
    }
}

// A window manager that keeps _NET_ACTIVE_WINDOW on the root handles activation requests.
bool X11ActiveWindow::managed() const {
    return property32(m_connection, m_root, m_netActiveWindow, XCB_ATOM_WINDOW).has_value();
}

quint64 X11ActiveWindow::current() const {
    if (m_connection == nullptr) {
        return 0;
    }
    if (auto active = property32(m_connection, m_root, m_netActiveWindow, XCB_ATOM_WINDOW)) {
        return *active;
    }
    auto* reply = xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr);
    if (reply == nullptr) {
        return 0;
    }
    xcb_window_t focus = reply->focus;
    std::free(reply);
    // None and PointerRoot are nothing to hand focus back to.
    return focus == XCB_NONE || focus == XCB_INPUT_FOCUS_POINTER_ROOT ? 0 : focus;
}

void X11ActiveWindow::activate(quint64 window) {
    if (m_connection == nullptr || window == 0) {
        return;
    }
    auto id = static_cast<xcb_window_t>(window);
    if (managed()) {
        sendToRoot(m_connection, id, m_netActiveWindow, {sourcePager, XCB_CURRENT_TIME, 0});
    } else {
        xcb_set_input_focus(m_connection, XCB_INPUT_FOCUS_PARENT, id, XCB_CURRENT_TIME);
        xcb_flush(m_connection);
    }
}

bool X11ActiveWindow::exists(quint64 window) const {
    if (m_connection == nullptr || window == 0) {
        return false;
    }
    auto cookie = xcb_get_window_attributes(m_connection, static_cast<xcb_window_t>(window));
    auto* reply = xcb_get_window_attributes_reply(m_connection, cookie, nullptr);
    bool alive = reply != nullptr;
    std::free(reply);
    return alive;
}

bool X11ActiveWindow::fullScreenOn(const QScreen* screen) const {
    quint64 active = current();
    if (active == 0 || screen == nullptr) {
        return false;
    }
    // X11 geometry is in device pixels; Qt's screen geometry is device-independent.
    const qreal ratio = screen->devicePixelRatio();
    const QRect screenPixels(screen->geometry().topLeft() * ratio, screen->geometry().size() * ratio);
    auto window = static_cast<xcb_window_t>(active);
    std::vector<uint32_t> states = property32List(m_connection, window, m_netWmState, XCB_ATOM_ATOM);
    if (std::find(states.begin(), states.end(), m_fullScreen) == states.end()) {
        return false;
    }
    auto* geometry = xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, window), nullptr);
    auto* origin = xcb_translate_coordinates_reply(
        m_connection, xcb_translate_coordinates(m_connection, window, m_root, 0, 0), nullptr);
    bool onScreen = false;
    if (geometry != nullptr && origin != nullptr) {
        QRect rect(origin->dst_x, origin->dst_y, geometry->width, geometry->height);
        onScreen = screenPixels.contains(rect.center());
    }
    std::free(geometry);
    std::free(origin);
    return onScreen;
}

} // namespace vantrel::platform::x11
