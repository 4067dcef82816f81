#pragma once

#include <QImage>
#include <QPoint>
#include <QRect>

#include <xcb/xcb.h>

#include <cstdlib>

// A test's own connection to the X server, to read back what a window shows
// and to disturb it the way another client would.
class XServerProbe {
public:
    XServerProbe() : m_connection(xcb_connect(nullptr, nullptr)) {}
    ~XServerProbe() { xcb_disconnect(m_connection); }
    XServerProbe(const XServerProbe&) = delete;
    XServerProbe& operator=(const XServerProbe&) = delete;

    bool ok() const { return xcb_connection_has_error(m_connection) == 0; }

    // Waits until the server has carried out what this connection sent.
    void sync() {
        std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    }

    uint8_t depth(xcb_window_t window) {
        xcb_get_geometry_reply_t* reply =
            xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, window), nullptr);
        const uint8_t depth = reply != nullptr ? reply->depth : 0;
        std::free(reply);
        return depth;
    }

    // What the server holds in `rect` (device pixels) of `window`, alpha made opaque.
    QImage pixels(xcb_window_t window, const QRect& rect) {
        xcb_get_image_reply_t* reply = xcb_get_image_reply(
            m_connection,
            xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, static_cast<int16_t>(rect.x()),
                          static_cast<int16_t>(rect.y()), static_cast<uint16_t>(rect.width()),
                          static_cast<uint16_t>(rect.height()), ~0u),
            nullptr);
        if (reply == nullptr) {
            return {};
        }
        QImage image(rect.size(), QImage::Format_RGB32);
        const auto* data = reinterpret_cast<const uint32_t*>(xcb_get_image_data(reply));
        for (int y = 0; y < rect.height(); ++y) {
            for (int x = 0; x < rect.width(); ++x) {
                image.setPixel(x, y, 0xff000000u | data[y * rect.width() + x]);
            }
        }
        std::free(reply);
        return image;
    }

    // Another client's window over `at` (device pixels on the screen), gone
    // again: the server has no copy of what was under it and sends the owner an Expose.
    void coverAndUncover(QPoint at) {
        const xcb_window_t cover = xcb_generate_id(m_connection);
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
        const uint32_t values[] = {screen->white_pixel, 1};
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, cover, screen->root,
                          static_cast<int16_t>(at.x()), static_cast<int16_t>(at.y()), 200, 60, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_map_window(m_connection, cover);
        sync();
        xcb_destroy_window(m_connection, cover);
        xcb_flush(m_connection);
    }

private:
    xcb_connection_t* m_connection;
};
