#include "Vantrel/platform/x11/X11HoverStrip.h"

#include "Vantrel/platform/x11/X11Support.h"

#include <QGuiApplication>
#include <QScreen>
#include <QSocketNotifier>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace vantrel::platform::x11 {

namespace {

xcb_visualid_t argbVisual(xcb_connection_t* connection) {
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    if (screens.rem == 0) {
        return XCB_NONE;
    }
    for (auto depths = xcb_screen_allowed_depths_iterator(screens.data); depths.rem > 0;
         xcb_depth_next(&depths)) {
        if (depths.data->depth != 32) {
            continue;
        }
        for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem > 0;
             xcb_visualtype_next(&visuals)) {
            if (visuals.data->_class == XCB_VISUAL_CLASS_TRUE_COLOR) {
                return visuals.data->visual_id;
            }
        }
    }
    return XCB_NONE;
}

void setStringProperty(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property,
                       xcb_atom_t type, const char* text, uint32_t length) {
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, property, type, 8, length, text);
}

// Background and border fully transparent; override-redirect; button presses only.
xcb_window_t createTransparentWindow(xcb_connection_t* connection, xcb_window_t root, QString* error) {
    const xcb_visualid_t visual = argbVisual(connection);
    if (visual == XCB_NONE) {
        *error = QStringLiteral("the X server has no 32-bit visual");
        return XCB_NONE;
    }
    const xcb_colormap_t colormap = xcb_generate_id(connection);
    xcb_create_colormap(connection, XCB_COLORMAP_ALLOC_NONE, colormap, root, visual);
    const xcb_window_t window = xcb_generate_id(connection);
    const uint32_t values[] = {0, 0, 1, XCB_EVENT_MASK_BUTTON_PRESS, colormap};
    xcb_create_window(connection, 32, window, root, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK |
                          XCB_CW_COLORMAP,
                      values);
    xcb_free_colormap(connection, colormap);
    return window;
}

// Nothing drawn at all; override-redirect; button presses and its own crossings.
xcb_window_t createInputOnlyWindow(xcb_connection_t* connection, xcb_window_t root) {
    const xcb_window_t window = xcb_generate_id(connection);
    const uint32_t values[] = {1, XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_ENTER_WINDOW |
                                      XCB_EVENT_MASK_LEAVE_WINDOW};
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT,
                      XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    return window;
}

} // namespace

std::unique_ptr<X11HoverStrip> X11HoverStrip::create(Purpose purpose, QString* error, QObject* parent) {
    xcb_connection_t* connection = openSecondConnection(error);
    if (connection == nullptr) {
        return nullptr;
    }
    const xcb_window_t root = rootWindow(connection);
    const xcb_window_t window = purpose == Purpose::xwayland
                                    ? createTransparentWindow(connection, root, error)
                                    : createInputOnlyWindow(connection, root);
    if (window == XCB_NONE) {
        xcb_disconnect(connection);
        return nullptr;
    }
    // Named, so that people (and tests) looking at the window tree know what it is.
    static const char name[] = "Vantrel hover strip";
    static const char wmClass[] = "vantrel\0Vantrel";
    setStringProperty(connection, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, name, sizeof(name) - 1);
    setStringProperty(connection, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, wmClass, sizeof(wmClass));
    const xcb_atom_t type = atom(connection, "_NET_WM_WINDOW_TYPE");
    const xcb_atom_t dock = atom(connection, "_NET_WM_WINDOW_TYPE_DOCK");
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, type, XCB_ATOM_ATOM, 32, 1, &dock);
    xcb_flush(connection);
    if (xcb_connection_has_error(connection) != 0) {
        xcb_disconnect(connection);
        *error = QStringLiteral("the X connection failed");
        return nullptr;
    }
    return std::unique_ptr<X11HoverStrip>(new X11HoverStrip(connection, window, purpose, parent));
}

X11HoverStrip::X11HoverStrip(xcb_connection_t* connection, xcb_window_t window, Purpose purpose,
                             QObject* parent)
    : HoverStrip(parent), m_connection(connection), m_root(rootWindow(connection)), m_window(window),
      m_purpose(purpose) {
    m_notifier = new QSocketNotifier(xcb_get_file_descriptor(connection), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &X11HoverStrip::readEvents);
}

X11HoverStrip::~X11HoverStrip() {
    delete m_notifier;
    xcb_destroy_window(m_connection, m_window);
    xcb_disconnect(m_connection);
}

void X11HoverStrip::setRect(const QRect& rect) {
    if (rect == m_rect) {
        return;
    }
    m_rect = rect;
    update();
}

void X11HoverStrip::setShown(bool shown) {
    m_wanted = shown;
    update();
}

// While hidden, nothing is selected on the root: the server sends us nothing, nothing wakes up.
void X11HoverStrip::update() {
    const bool shown = m_wanted && !m_rect.isEmpty();
    if (shown) {
        place(); // also when only the rectangle changed
    }
    if (shown != m_shown) {
        if (m_purpose == Purpose::xwayland) {
            const uint32_t mask = shown ? XCB_EVENT_MASK_ENTER_WINDOW | XCB_EVENT_MASK_LEAVE_WINDOW : 0;
            xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &mask);
        }
        if (shown) {
            xcb_map_window(m_connection, m_window);
        } else {
            xcb_unmap_window(m_connection, m_window);
        }
    }
    m_shown = shown;
    xcb_flush(m_connection);
}

// Device pixels from Qt's coordinates; X11 screens share one scale factor. On top of
// every other override-redirect window that was there before, so a menu cannot hide it.
void X11HoverStrip::place() {
    QScreen* primary = QGuiApplication::primaryScreen();
    const double scale = primary != nullptr ? primary->devicePixelRatio() : 1.0;
    const uint32_t values[] = {
        static_cast<uint32_t>(static_cast<int32_t>(std::lround(m_rect.x() * scale))),
        static_cast<uint32_t>(static_cast<int32_t>(std::lround(m_rect.y() * scale))),
        static_cast<uint32_t>(std::max(1L, std::lround(m_rect.width() * scale))),
        static_cast<uint32_t>(std::max(1L, std::lround(m_rect.height() * scale))),
        XCB_STACK_MODE_ABOVE,
    };
    xcb_configure_window(m_connection, m_window,
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT | XCB_CONFIG_WINDOW_STACK_MODE,
                         values);
}

void X11HoverStrip::readEvents() {
    // Only the last crossing counts: it says where the pointer is now.
    enum class Crossing { none, left, returned } crossing = Crossing::none;
    bool clicked = false;
    bool crossedStrip = false;
    while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
        const uint8_t type = event->response_type & 0x7f;
        if (type == XCB_ENTER_NOTIFY || type == XCB_LEAVE_NOTIFY) {
            auto* cross = reinterpret_cast<xcb_enter_notify_event_t*>(event);
            if (cross->event == m_window) {
                crossedStrip = true;
            }
            // The root itself entered from a child: no X11 window is under the pointer;
            // the root left for a child: one is again.
            if (cross->event == m_root && cross->detail == XCB_NOTIFY_DETAIL_INFERIOR) {
                crossing = type == XCB_ENTER_NOTIFY ? Crossing::left : Crossing::returned;
            }
        } else if (type == XCB_BUTTON_PRESS) {
            clicked = true;
        }
        std::free(event);
    }
    if (xcb_connection_has_error(m_connection) != 0) {
        m_notifier->setEnabled(false);
        return;
    }
    if (!m_shown) {
        return;
    }
    if (crossing == Crossing::left) {
        emit pointerLeft();
    } else if (crossing == Crossing::returned) {
        emit pointerReturned();
    }
    if (crossedStrip) {
        emit pointerCrossed();
    }
    if (clicked) {
        emit HoverStrip::clicked();
    }
}

} // namespace vantrel::platform::x11
