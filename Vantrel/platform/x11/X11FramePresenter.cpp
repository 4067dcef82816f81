#include "Vantrel/platform/x11/X11FramePresenter.h"

#include "Vantrel/platform/x11/X11Support.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <xcb/shm.h>
#include <xcb/xcbext.h>

#include <sys/ipc.h>
#include <sys/shm.h>

#include <cstdlib>

namespace vantrel::platform::x11 {

namespace {

Q_LOGGING_CATEGORY(lcFrames, "vantrel.frames", QtInfoMsg)

const xcb_visualtype_t* findVisual(const xcb_setup_t* setup, xcb_visualid_t id, uint8_t* depth) {
    for (auto screens = xcb_setup_roots_iterator(setup); screens.rem > 0; xcb_screen_next(&screens)) {
        for (auto depths = xcb_screen_allowed_depths_iterator(screens.data); depths.rem > 0;
             xcb_depth_next(&depths)) {
            for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem > 0;
                 xcb_visualtype_next(&visuals)) {
                if (visuals.data->visual_id == id) {
                    *depth = depths.data->depth;
                    return visuals.data;
                }
            }
        }
    }
    return nullptr;
}

uint8_t bitsPerPixel(const xcb_setup_t* setup, uint8_t depth) {
    for (auto formats = xcb_setup_pixmap_formats_iterator(setup); formats.rem > 0;
         xcb_format_next(&formats)) {
        if (formats.data->depth == depth) {
            return formats.data->bits_per_pixel;
        }
    }
    return 0;
}

} // namespace

std::unique_ptr<X11FramePresenter> X11FramePresenter::create(QString* error, QObject* parent) {
    xcb_connection_t* connection = qtConnection();
    if (connection == nullptr) {
        *error = QStringLiteral("not running on X11");
        return nullptr;
    }
    const xcb_query_extension_reply_t* shm = xcb_get_extension_data(connection, &xcb_shm_id);
    if (shm == nullptr || shm->present == 0) {
        *error = QStringLiteral("the X server has no MIT-SHM extension");
        return nullptr;
    }
    return std::unique_ptr<X11FramePresenter>(new X11FramePresenter(connection, parent));
}

X11FramePresenter::X11FramePresenter(xcb_connection_t* connection, QObject* parent)
    : FramePresenter(parent), m_connection(connection) {
    QCoreApplication::instance()->installNativeEventFilter(this);
}

X11FramePresenter::~X11FramePresenter() {
    if (QCoreApplication::instance() != nullptr) {
        QCoreApplication::instance()->removeNativeEventFilter(this);
    }
    // Qt's connection may already be gone while the application shuts down.
    if (qtConnection() != m_connection) {
        return;
    }
    for (Buffer& buffer : m_buffers) {
        release(buffer);
    }
    if (m_target.gc != 0) {
        xcb_free_gc(m_connection, m_target.gc);
    }
    xcb_flush(m_connection);
}

QImage* X11FramePresenter::beginFrame(QWindow* window, const QRect& rect) {
    m_painting = nullptr;
    if (m_disabled || window == nullptr || !window->isExposed() || rect.isEmpty() || !selectTarget(window)) {
        return nullptr;
    }
    const size_t bytes = static_cast<size_t>(rect.width()) * static_cast<size_t>(rect.height()) * 4;
    Buffer* buffer = freeBuffer(bytes);
    if (!prepare(*buffer, rect.size(), m_target.format)) {
        return nullptr;
    }
    m_painting = buffer;
    m_rect = rect;
    return &buffer->image;
}

void X11FramePresenter::endFrame() {
    if (m_painting == nullptr) {
        return;
    }
    Buffer& buffer = *m_painting;
    m_painting = nullptr;
    const auto width = static_cast<uint16_t>(m_rect.width());
    const auto height = static_cast<uint16_t>(m_rect.height());
    xcb_shm_put_image(m_connection, m_target.id, m_target.gc, width, height, 0, 0, width, height,
                      static_cast<int16_t>(m_rect.x()), static_cast<int16_t>(m_rect.y()), m_target.depth,
                      XCB_IMAGE_FORMAT_Z_PIXMAP, 0, buffer.segment, 0);
    // Its reply comes once the server has carried out the put, that is, read the image.
    buffer.fence = xcb_get_input_focus(m_connection).sequence;
    buffer.pending = true;
    xcb_flush(m_connection);
    ++m_framesPresented;
}

bool X11FramePresenter::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t" || m_target.id == XCB_WINDOW_NONE || m_framesPresented == 0) {
        return false;
    }
    auto* event = static_cast<xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) == XCB_EXPOSE &&
        reinterpret_cast<xcb_expose_event_t*>(event)->window == m_target.id && m_target.window != nullptr) {
        emit contentLost(m_target.window);
    }
    return false; // Qt handles the expose as ever
}

bool X11FramePresenter::selectTarget(QWindow* window) {
    const auto id = static_cast<xcb_window_t>(window->winId());
    if (m_target.window == window && m_target.id == id) {
        return m_target.format != QImage::Format_Invalid;
    }
    if (m_target.gc != 0) {
        xcb_free_gc(m_connection, m_target.gc);
    }
    m_target = Target{};
    m_target.window = window;
    m_target.id = id;
    m_target.format = formatFor(id, &m_target.depth);
    if (m_target.format == QImage::Format_Invalid) {
        qCInfo(lcFrames) << "frames go through Qt's backing store: the panel's visual is not 32-bit RGB";
        return false;
    }
    m_target.gc = xcb_generate_id(m_connection);
    const uint32_t noExposures = 0;
    xcb_create_gc(m_connection, m_target.gc, id, XCB_GC_GRAPHICS_EXPOSURES, &noExposures);
    return true;
}

// The QImage format whose bytes are the window's pixels as they are: 32 bits per
// pixel, 8-bit red, green and blue, in the server's byte order (and alpha at depth 32).
QImage::Format X11FramePresenter::formatFor(xcb_window_t id, uint8_t* depth) const {
    xcb_get_window_attributes_reply_t* attributes =
        xcb_get_window_attributes_reply(m_connection, xcb_get_window_attributes(m_connection, id), nullptr);
    if (attributes == nullptr) {
        return QImage::Format_Invalid;
    }
    const xcb_setup_t* setup = xcb_get_setup(m_connection);
    const xcb_visualtype_t* visual = findVisual(setup, attributes->visual, depth);
    std::free(attributes);
    const bool littleEndian = QSysInfo::ByteOrder == QSysInfo::LittleEndian;
    if (visual == nullptr || visual->_class != XCB_VISUAL_CLASS_TRUE_COLOR || visual->red_mask != 0xff0000 ||
        visual->green_mask != 0xff00 || visual->blue_mask != 0xff || bitsPerPixel(setup, *depth) != 32 ||
        (setup->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST) != littleEndian) {
        return QImage::Format_Invalid;
    }
    if (*depth == 32) {
        return QImage::Format_ARGB32_Premultiplied;
    }
    return *depth == 24 ? QImage::Format_RGB32 : QImage::Format_Invalid;
}

bool X11FramePresenter::prepare(Buffer& buffer, QSize size, QImage::Format format) {
    const size_t bytes = static_cast<size_t>(size.width()) * static_cast<size_t>(size.height()) * 4;
    if (buffer.capacity < bytes) {
        release(buffer);
        const int id = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
        if (id == -1) {
            disable(QStringLiteral("no shared memory segment (%1)").arg(qt_error_string(errno)));
            return false;
        }
        void* memory = shmat(id, nullptr, 0);
        if (memory == reinterpret_cast<void*>(-1)) {
            shmctl(id, IPC_RMID, nullptr);
            disable(QStringLiteral("shared memory not mapped (%1)").arg(qt_error_string(errno)));
            return false;
        }
        const xcb_shm_seg_t segment = xcb_generate_id(m_connection);
        xcb_generic_error_t* error =
            xcb_request_check(m_connection, xcb_shm_attach_checked(m_connection, segment, id, 1));
        // Once the server holds it, the segment goes away with the last of us to detach.
        shmctl(id, IPC_RMID, nullptr);
        if (error != nullptr) {
            std::free(error);
            shmdt(memory);
            disable(QStringLiteral("the X server cannot attach our shared memory (another machine?)"));
            return false;
        }
        buffer.segment = segment;
        buffer.memory = static_cast<uchar*>(memory);
        buffer.capacity = bytes;
    }
    if (buffer.image.size() != size || buffer.image.format() != format) {
        buffer.image = QImage(buffer.memory, size.width(), size.height(), size.width() * 4, format);
    }
    return true;
}

// The smallest image the server is done with that holds `bytes`; else an
// unused one (to be made that big), else one the server is done with (to be
// grown); and only when the server has read none of them, the oldest, waited for.
X11FramePresenter::Buffer* X11FramePresenter::freeBuffer(size_t bytes) {
    Buffer* fits = nullptr;
    Buffer* unused = nullptr;
    Buffer* done = nullptr;
    Buffer* oldest = nullptr;
    for (Buffer& buffer : m_buffers) {
        if (buffer.pending && !read(buffer)) {
            // Sequence numbers wrap; the oldest is the furthest behind the newest request.
            if (oldest == nullptr || static_cast<int>(buffer.fence - oldest->fence) < 0) {
                oldest = &buffer;
            }
            continue;
        }
        if (buffer.segment == 0) {
            unused = unused != nullptr ? unused : &buffer;
        } else if (buffer.capacity >= bytes) {
            fits = fits == nullptr || buffer.capacity < fits->capacity ? &buffer : fits;
        } else {
            done = &buffer;
        }
    }
    if (fits != nullptr) {
        return fits;
    }
    if (unused != nullptr) {
        return unused;
    }
    if (done != nullptr) {
        return done;
    }
    waitUntilRead(*oldest);
    return oldest;
}

// Whether the server has read the buffer's image; never waits.
bool X11FramePresenter::read(Buffer& buffer) {
    void* reply = nullptr;
    xcb_generic_error_t* error = nullptr;
    if (xcb_poll_for_reply(m_connection, buffer.fence, &reply, &error) == 0) {
        return false;
    }
    std::free(reply);
    std::free(error);
    buffer.pending = false;
    return true;
}

void X11FramePresenter::waitUntilRead(Buffer& buffer) {
    if (!buffer.pending) {
        return;
    }
    xcb_generic_error_t* error = nullptr;
    std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus_cookie_t{buffer.fence}, &error));
    std::free(error);
    buffer.pending = false;
}

void X11FramePresenter::release(Buffer& buffer) {
    if (buffer.pending) {
        xcb_discard_reply(m_connection, buffer.fence);
        buffer.pending = false;
    }
    buffer.image = QImage();
    if (buffer.segment != 0) {
        // Detaching is ordered after any put that reads the segment.
        xcb_shm_detach(m_connection, buffer.segment);
        xcb_flush(m_connection);
        buffer.segment = 0;
    }
    if (buffer.memory != nullptr) {
        shmdt(buffer.memory);
        buffer.memory = nullptr;
    }
    buffer.capacity = 0;
}

void X11FramePresenter::disable(const QString& reason) {
    m_disabled = true;
    qCWarning(lcFrames).noquote() << "frames go through Qt's backing store from now on:" << reason;
}

} // namespace vantrel::platform::x11
