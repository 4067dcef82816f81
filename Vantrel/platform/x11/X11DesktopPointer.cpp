#include "Vantrel/platform/x11/X11DesktopPointer.h"

#include "Vantrel/platform/x11/X11Support.h"

#include <QGuiApplication>
#include <QScreen>
#include <QSocketNotifier>

#include <xcb/xinput.h>

#include <cstdlib>

namespace vantrel::platform::x11 {

std::unique_ptr<X11DesktopPointer> X11DesktopPointer::create(QString* error, QObject* parent) {
    xcb_connection_t* connection = openSecondConnection(error);
    if (connection == nullptr) {
        return nullptr;
    }
    const xcb_query_extension_reply_t* ext = xcb_get_extension_data(connection, &xcb_input_id);
    if (ext == nullptr || ext->present == 0) {
        xcb_disconnect(connection);
        *error = QStringLiteral("the X server has no XInput extension");
        return nullptr;
    }
    auto cookie = xcb_input_xi_query_version(connection, 2, 2);
    xcb_input_xi_query_version_reply_t* version =
        xcb_input_xi_query_version_reply(connection, cookie, nullptr);
    bool ok = version != nullptr &&
              (version->major_version > 2 || (version->major_version == 2 && version->minor_version >= 2));
    std::free(version);
    if (!ok) {
        xcb_disconnect(connection);
        *error = QStringLiteral("the X server has no XInput 2.2");
        return nullptr;
    }
    return std::unique_ptr<X11DesktopPointer>(new X11DesktopPointer(connection, ext->major_opcode, parent));
}

X11DesktopPointer::X11DesktopPointer(xcb_connection_t* connection, uint8_t xinputOpcode, QObject* parent)
    : DesktopPointer(parent), m_connection(connection), m_root(rootWindow(connection)),
      m_xinputOpcode(xinputOpcode) {
    m_notifier = new QSocketNotifier(xcb_get_file_descriptor(connection), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &X11DesktopPointer::readEvents);
}

X11DesktopPointer::~X11DesktopPointer() {
    delete m_notifier;
    xcb_disconnect(m_connection);
}

void X11DesktopPointer::setActive(bool active) {
    if (active == m_active) {
        return;
    }
    m_active = active;
    select(active);
    if (active) {
        query();
        drain(false); // the position just read is newer than anything queued
    }
}

// Selecting nothing while inactive means the server sends us nothing: no wake-ups at all.
void X11DesktopPointer::select(bool on) {
    struct {
        xcb_input_event_mask_t head;
        uint32_t bits;
    } mask;
    mask.head.deviceid = XCB_INPUT_DEVICE_ALL_MASTER;
    mask.head.mask_len = 1;
    mask.bits = on ? (XCB_INPUT_XI_EVENT_MASK_RAW_MOTION | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS |
                      XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE)
                   : 0;
    xcb_input_xi_select_events(m_connection, m_root, 1, &mask.head);
    xcb_flush(m_connection);
}

// Takes every event xcb holds; true when one of them was a pointer event.
// `fromSocket` also reads the socket; without it only what xcb already queued
// while waiting for a reply, which the socket notifier would never announce.
bool X11DesktopPointer::drain(bool fromSocket) {
    bool pointerEvent = false;
    while (xcb_generic_event_t* event =
               fromSocket ? xcb_poll_for_event(m_connection) : xcb_poll_for_queued_event(m_connection)) {
        if ((event->response_type & 0x7f) == XCB_GE_GENERIC &&
            reinterpret_cast<xcb_ge_generic_event_t*>(event)->extension == m_xinputOpcode) {
            pointerEvent = true;
        }
        std::free(event);
    }
    return pointerEvent;
}

void X11DesktopPointer::readEvents() {
    bool pointerEvent = drain(true);
    if (xcb_connection_has_error(m_connection) != 0) {
        // The server went away; stop listening instead of spinning on a dead socket.
        m_notifier->setEnabled(false);
        return;
    }
    // The position query can pull newer events into xcb's queue: keep going until it is empty.
    while (pointerEvent && m_active) {
        query();
        emit changed();
        pointerEvent = drain(false);
    }
}

// Raw events come from devices only: a pointer warped by a client makes none, and
// the hover strip's crossings are what tell us to look.
void X11DesktopPointer::refresh() {
    if (!m_active) {
        return;
    }
    query();
    drain(false); // anything xcb queued meanwhile is older than the position just read
    emit changed();
}

void X11DesktopPointer::query() {
    auto cookie = xcb_query_pointer(m_connection, m_root);
    xcb_query_pointer_reply_t* reply = xcb_query_pointer_reply(m_connection, cookie, nullptr);
    if (reply == nullptr) {
        return;
    }
    // Device pixels to Qt's coordinates; X11 screens share one scale factor.
    QScreen* primary = QGuiApplication::primaryScreen();
    double scale = primary != nullptr ? primary->devicePixelRatio() : 1.0;
    m_position = QPointF(reply->root_x / scale, reply->root_y / scale);
    m_buttons = (reply->mask &
                 (XCB_KEY_BUT_MASK_BUTTON_1 | XCB_KEY_BUT_MASK_BUTTON_2 | XCB_KEY_BUT_MASK_BUTTON_3)) != 0;
    std::free(reply);
}

} // namespace vantrel::platform::x11
