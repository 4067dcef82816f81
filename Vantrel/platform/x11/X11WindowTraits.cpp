#include "Vantrel/platform/x11/X11WindowTraits.h"

#include "Vantrel/platform/x11/X11Support.h"

#include <QWindow>

#include <algorithm>

namespace vantrel::platform::x11 {

namespace {

constexpr uint32_t stateAdd = 1;
constexpr uint32_t allDesktops = 0xFFFFFFFF;
constexpr uint32_t sourcePager = 2;

} // namespace

void X11WindowTraits::applyPanelTraits(QWindow* window) {
    xcb_connection_t* c = qtConnection();
    if (c == nullptr || window == nullptr) {
        return;
    }
    auto id = static_cast<xcb_window_t>(window->winId());
    const xcb_atom_t netWmState = atom(c, "_NET_WM_STATE");
    const xcb_atom_t netWmDesktop = atom(c, "_NET_WM_DESKTOP");
    const xcb_atom_t wanted[] = {atom(c, "_NET_WM_STATE_SKIP_TASKBAR"), atom(c, "_NET_WM_STATE_SKIP_PAGER"),
                                 atom(c, "_NET_WM_STATE_STICKY"), atom(c, "_NET_WM_STATE_ABOVE")};
    if (!window->isVisible()) {
        // Before mapping the client owns the properties; Qt keeps foreign states when it maps.
        std::vector<uint32_t> states = property32List(c, id, netWmState, XCB_ATOM_ATOM);
        for (xcb_atom_t state : wanted) {
            if (std::find(states.begin(), states.end(), state) == states.end()) {
                states.push_back(state);
            }
        }
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, id, netWmState, XCB_ATOM_ATOM, 32,
                            static_cast<uint32_t>(states.size()), states.data());
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, id, netWmDesktop, XCB_ATOM_CARDINAL, 32, 1,
                            &allDesktops);
        xcb_flush(c);
        return;
    }
    // Mapped: ask the window manager.
    sendToRoot(c, id, netWmState, {stateAdd, wanted[0], wanted[1], sourcePager});
    sendToRoot(c, id, netWmState, {stateAdd, wanted[2], wanted[3], sourcePager});
    sendToRoot(c, id, netWmDesktop, {allDesktops, sourcePager});
}

} // namespace vantrel::platform::x11
