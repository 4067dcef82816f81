#include "Vantrel/platform/X11WindowTraits.h"

#include "Vantrel/platform/X11Support.h"

#include <QWindow>

#include <algorithm>

namespace vantrel {

namespace {

constexpr uint32_t stateAdd = 1;
constexpr uint32_t allDesktops = 0xFFFFFFFF;
constexpr uint32_t sourcePager = 2;

} // namespace

void X11WindowTraits::applyPanelTraits(QWindow* window) {
    xcb_connection_t* c = x11::qtConnection();
    if (c == nullptr || window == nullptr) {
        return;
    }
    auto id = static_cast<xcb_window_t>(window->winId());
    const xcb_atom_t netWmState = x11::atom(c, "_NET_WM_STATE");
    const xcb_atom_t netWmDesktop = x11::atom(c, "_NET_WM_DESKTOP");
    const xcb_atom_t wanted[] = {x11::atom(c, "_NET_WM_STATE_SKIP_TASKBAR"),
                                 x11::atom(c, "_NET_WM_STATE_SKIP_PAGER"),
                                 x11::atom(c, "_NET_WM_STATE_STICKY"), x11::atom(c, "_NET_WM_STATE_ABOVE")};
    if (!window->isVisible()) {
        // Before mapping the client owns the properties; Qt keeps foreign states when it maps.
        std::vector<uint32_t> states = x11::property32List(c, id, netWmState, XCB_ATOM_ATOM);
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
    x11::sendToRoot(c, id, netWmState, {stateAdd, wanted[0], wanted[1], sourcePager});
    x11::sendToRoot(c, id, netWmState, {stateAdd, wanted[2], wanted[3], sourcePager});
    x11::sendToRoot(c, id, netWmDesktop, {allDesktops, sourcePager});
}

} // namespace vantrel
