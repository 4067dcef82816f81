#include "Vantrel/platform/x11/X11Support.h"

#include <QGuiApplication>

#include <cstdlib>
#include <cstring>

namespace vantrel::platform::x11 {

xcb_connection_t* qtConnection() {
    auto* app = qGuiApp;
    if (app == nullptr) {
        return nullptr;
    }
    auto* native = app->nativeInterface<QNativeInterface::QX11Application>();
    return native != nullptr ? native->connection() : nullptr;
}

bool roundTrip() {
    xcb_connection_t* connection = qtConnection();
    if (connection == nullptr) {
        return false;
    }
    // GetInputFocus is the cheapest request with a reply; the reply comes after every earlier request.
    std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    return true;
}

xcb_window_t rootWindow(xcb_connection_t* connection) {
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(connection));
    return it.rem > 0 ? it.data->root : xcb_window_t{XCB_WINDOW_NONE};
}

xcb_atom_t atom(xcb_connection_t* connection, const char* name) {
    auto cookie = xcb_intern_atom(connection, 0, static_cast<uint16_t>(std::strlen(name)), name);
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(connection, cookie, nullptr);
    if (reply == nullptr) {
        return XCB_ATOM_NONE;
    }
    xcb_atom_t result = reply->atom;
    std::free(reply);
    return result;
}

std::vector<uint32_t> property32List(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property,
                                     xcb_atom_t type) {
    std::vector<uint32_t> values;
    auto cookie = xcb_get_property(connection, 0, window, property, type, 0, 1024);
    xcb_get_property_reply_t* reply = xcb_get_property_reply(connection, cookie, nullptr);
    if (reply == nullptr) {
        return values;
    }
    if (reply->type == type && reply->format == 32) {
        auto* data = static_cast<const uint32_t*>(xcb_get_property_value(reply));
        int count = xcb_get_property_value_length(reply) / 4;
        values.assign(data, data + count);
    }
    std::free(reply);
    return values;
}

std::optional<uint32_t> property32(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property,
                                   xcb_atom_t type) {
    std::vector<uint32_t> values = property32List(connection, window, property, type);
    if (values.empty()) {
        return std::nullopt;
    }
    return values.front();
}

void sendToRoot(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t type,
                std::initializer_list<uint32_t> data) {
    xcb_client_message_event_t event;
    std::memset(&event, 0, sizeof event);
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = type;
    int i = 0;
    for (uint32_t value : data) {
        if (i < 5) {
            event.data.data32[i++] = value;
        }
    }
    xcb_send_event(connection, 0, rootWindow(connection),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&event));
    xcb_flush(connection);
}

xcb_connection_t* openSecondConnection(QString* error) {
    if (qtConnection() == nullptr) {
        *error = QStringLiteral("not running on X11");
        return nullptr;
    }
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection) != 0) {
        xcb_disconnect(connection);
        *error = QStringLiteral("cannot open a second X connection");
        return nullptr;
    }
    return connection;
}

} // namespace vantrel::platform::x11
