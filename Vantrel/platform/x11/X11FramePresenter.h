#pragma once

#include "Vantrel/platform/FramePresenter.h"

#include <QAbstractNativeEventFilter>
#include <QImage>
#include <QPointer>
#include <QRect>
#include <QWindow>

#include <xcb/xcb.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace vantrel::platform::x11 {

// Frames go to the window with MIT-SHM on Qt's own connection, so they are in
// order with Qt's drawing of the same window. A few shared images take turns:
// a GetInputFocus sent after each put says, once its reply is in, that the
// server has read that image, so the next frame paints into one it is done
// with and, in the usual case, never waits. (Qt's backing store instead waits
// for the server before every paint.) Expose events for the window are
// watched, since the server then shows Qt's older content there.
class X11FramePresenter final : public FramePresenter, private QAbstractNativeEventFilter {
    Q_OBJECT

public:
    // Null, with `error` set, when not on X11 or when the server offers no
    // shared memory (a display on another machine).
    static std::unique_ptr<X11FramePresenter> create(QString* error, QObject* parent = nullptr);
    ~X11FramePresenter() override;

    QImage* beginFrame(QWindow* window, const QRect& rect) override;
    void endFrame() override;

    // Frames handed to the server so far.
    int64_t framesPresented() const { return m_framesPresented; }

private:
    struct Buffer {
        uint32_t segment = 0; // xcb_shm_seg_t, 0 while none is attached
        uchar* memory = nullptr;
        size_t capacity = 0;
        QImage image;
        bool pending = false;   // handed to the server, not known to be read yet
        unsigned int fence = 0; // the GetInputFocus sent after the put
    };
    // The window frames last went to, and what drawing into it needs.
    struct Target {
        QPointer<QWindow> window;
        xcb_window_t id = XCB_WINDOW_NONE;
        xcb_gcontext_t gc = 0;
        uint8_t depth = 0;
        QImage::Format format = QImage::Format_Invalid; // Invalid: a visual we cannot fill
    };

    explicit X11FramePresenter(xcb_connection_t* connection, QObject* parent);
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    bool selectTarget(QWindow* window);
    QImage::Format formatFor(xcb_window_t id, uint8_t* depth) const;
    Buffer* freeBuffer(size_t bytes);
    bool prepare(Buffer& buffer, QSize size, QImage::Format format);
    bool read(Buffer& buffer);
    void waitUntilRead(Buffer& buffer);
    void release(Buffer& buffer);
    void disable(const QString& reason);

    xcb_connection_t* m_connection;
    // Enough for the frames of one tick (the runway and the scores) and the
    // one before it, which the server is reading.
    std::array<Buffer, 6> m_buffers;
    Buffer* m_painting = nullptr;
    QRect m_rect;
    Target m_target;
    bool m_disabled = false;
    int64_t m_framesPresented = 0;
};

} // namespace vantrel::platform::x11
