#pragma once

#include <QString>

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <vector>

// Small helpers shared by the X11 backends. Nothing outside Vantrel/platform/ includes this.
namespace vantrel::platform::x11 {

// Qt's own connection, or null when the application does not run on xcb.
xcb_connection_t* qtConnection();

// Waits until the X server has carried out every request sent so far on Qt's
// connection (one round trip). False when the application does not run on xcb.
bool roundTrip();

// A connection of our own beside Qt's, so our event selections leave Qt's
// untouched. Null, with `error` set, when not on X11 or when it cannot be opened.
xcb_connection_t* openSecondConnection(QString* error);
xcb_window_t rootWindow(xcb_connection_t* connection);
xcb_atom_t atom(xcb_connection_t* connection, const char* name);

// One 32-bit value of a property (CARDINAL, WINDOW, ATOM ...), if the property holds one.
std::optional<uint32_t> property32(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property,
                                   xcb_atom_t type);
std::vector<uint32_t> property32List(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property,
                                     xcb_atom_t type);

// An EWMH request to the window manager: a client message about `window` sent to the root.
void sendToRoot(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t type,
                std::initializer_list<uint32_t> data);

} // namespace vantrel::platform::x11
