#include "Vantrel/platform/x11/X11Compositing.h"

#include "Vantrel/platform/x11/X11Support.h"

#include <QRegion>
#include <QSocketNotifier>
#include <QWindow>

#include <xcb/shape.h>
#include <xcb/xfixes.h>

#include <cmath>
#include <cstdlib>
#include <vector>

namespace vantrel::platform::x11 {

namespace {

bool hasExtension(xcb_connection_t* connection, xcb_extension_t* extension) {
    const xcb_query_extension_reply_t* data = xcb_get_extension_data(connection, extension);
    return data != nullptr && data->present != 0;
}

} // namespace

std::unique_ptr<X11Compositing> X11Compositing::create(QString* error, QObject* parent) {
    xcb_connection_t* qt = qtConnection();
    if (qt == nullptr) {
        *error = QStringLiteral("not running on X11");
        return nullptr;
    }
    if (!hasExtension(qt, &xcb_shape_id)) {
        *error = QStringLiteral("the X server has no SHAPE extension");
        return nullptr;
    }
    // The screen the display name points at, as Qt's connection uses it.
    int screen = 0;
    char* host = nullptr;
    int display = 0;
    if (xcb_parse_display(nullptr, &host, &display, &screen) != 0) {
        std::free(host);
    }
    xcb_connection_t* connection = openSecondConnection(error);
    if (connection == nullptr) {
        return nullptr;
    }
    return std::unique_ptr<X11Compositing>(new X11Compositing(connection, screen, parent));
}

X11Compositing::X11Compositing(xcb_connection_t* connection, int screen, QObject* parent)
    : Compositing(parent), m_connection(connection),
      m_selection(atom(connection, QByteArray("_NET_WM_CM_S" + QByteArray::number(screen)).constData())) {
    if (hasExtension(m_connection, &xcb_xfixes_id)) {
        std::free(xcb_xfixes_query_version_reply(
            m_connection,
            xcb_xfixes_query_version(m_connection, XCB_XFIXES_MAJOR_VERSION, XCB_XFIXES_MINOR_VERSION),
            nullptr));
        m_xfixesFirstEvent = xcb_get_extension_data(m_connection, &xcb_xfixes_id)->first_event;
        xcb_xfixes_select_selection_input(m_connection, rootWindow(m_connection), m_selection,
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
        xcb_flush(m_connection);
        m_notifier = new QSocketNotifier(xcb_get_file_descriptor(m_connection), QSocketNotifier::Read, this);
        connect(m_notifier, &QSocketNotifier::activated, this, &X11Compositing::readEvents);
    }
    // Asked after the selection of events, so a change in between is not missed.
    m_active = ownerPresent();
}

X11Compositing::~X11Compositing() {
    delete m_notifier;
    xcb_disconnect(m_connection);
}

bool X11Compositing::ownerPresent() const {
    auto* reply = xcb_get_selection_owner_reply(m_connection,
                                                xcb_get_selection_owner(m_connection, m_selection), nullptr);
    if (reply == nullptr) {
        return false;
    }
    const bool owned = reply->owner != XCB_WINDOW_NONE;
    std::free(reply);
    return owned;
}

void X11Compositing::readEvents() {
    bool changed = false;
    while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
        if ((event->response_type & 0x7f) == m_xfixesFirstEvent + XCB_XFIXES_SELECTION_NOTIFY) {
            changed = true;
        }
        std::free(event);
    }
    if (xcb_connection_has_error(m_connection) != 0) {
        m_notifier->setEnabled(false);
        return;
    }
    if (!changed) {
        return;
    }
    const bool active = ownerPresent();
    if (active != m_active) {
        m_active = active;
        emit activeChanged(m_active);
    }
}

void X11Compositing::setInputShape(QWindow* window, const QRegion& region) {
    xcb_connection_t* connection = qtConnection();
    if (connection == nullptr || window == nullptr) {
        return;
    }
    const auto id = static_cast<xcb_window_t>(window->winId());
    if (region.isEmpty()) {
        xcb_shape_mask(connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, id, 0, 0, XCB_PIXMAP_NONE);
        xcb_flush(connection);
        return;
    }
    // The region is in device-independent pixels, the shape in the window's own.
    const double ratio = window->devicePixelRatio();
    std::vector<xcb_rectangle_t> rectangles;
    rectangles.reserve(static_cast<size_t>(region.rectCount()));
    for (const QRect& r : region) {
        const auto x = static_cast<int>(std::floor(r.x() * ratio));
        const auto y = static_cast<int>(std::floor(r.y() * ratio));
        const auto right = static_cast<int>(std::ceil((r.x() + r.width()) * ratio));
        const auto bottom = static_cast<int>(std::ceil((r.y() + r.height()) * ratio));
        rectangles.push_back({static_cast<int16_t>(x), static_cast<int16_t>(y),
                              static_cast<uint16_t>(right - x), static_cast<uint16_t>(bottom - y)});
    }
    xcb_shape_rectangles(connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED, id, 0,
                         0, static_cast<uint32_t>(rectangles.size()), rectangles.data());
    xcb_flush(connection);
}

} // namespace vantrel::platform::x11
