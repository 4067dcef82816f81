#include "Vantrel/platform/wayland/LayerSurface.h"

#include "Vantrel/platform/wayland/LayerShellClient.h"

#include "wlr-layer-shell-unstable-v1-client-protocol.h"

#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>

#include <algorithm>
#include <cstring>

namespace vantrel::platform::wayland {

LayerSurface::LayerSurface(LayerShellClient& client, SurfaceInput& input, const char* role)
    : m_client(client), m_input(input), m_role(role) {}

LayerSurface::~LayerSurface() {
    destroy();
    for (Buffer& b : m_buffers) {
        if (b.buffer != nullptr) {
            wl_buffer_destroy(b.buffer);
            munmap(b.data, size_t(b.size.width()) * size_t(b.size.height()) * 4);
        }
    }
    m_client.flush();
}

// A layer surface cannot be remapped once unmapped without a new configure, and a
// fresh one is cheap, so each showing gets its own.
void LayerSurface::create() {
    static const zwlr_layer_surface_v1_listener listener = {&LayerSurface::onConfigure,
                                                            &LayerSurface::onClosed};
    m_surface = wl_compositor_create_surface(m_client.compositor());
    m_client.addSurface(m_surface, &m_input);
    m_layer = zwlr_layer_shell_v1_get_layer_surface(m_client.layerShell(), m_surface, nullptr,
                                                    ZWLR_LAYER_SHELL_V1_LAYER_TOP, m_role);
    zwlr_layer_surface_v1_add_listener(m_layer, &listener, this);
    zwlr_layer_surface_v1_set_anchor(m_layer, ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP);
    // Zero: keep out of space that other panels reserve, reserve none ourselves.
    zwlr_layer_surface_v1_set_exclusive_zone(m_layer, 0);
    zwlr_layer_surface_v1_set_keyboard_interactivity(m_layer, m_interactivity);
    zwlr_layer_surface_v1_set_size(m_layer, uint32_t(m_requestedSize.width()),
                                   uint32_t(m_requestedSize.height()));
    m_inputRegionSet = false;
    applyInputRegion();
    m_configured = false;
    wl_surface_commit(m_surface);
    m_client.flush();
}

void LayerSurface::destroy() {
    if (m_layer != nullptr) {
        zwlr_layer_surface_v1_destroy(m_layer);
        m_layer = nullptr;
    }
    if (m_surface != nullptr) {
        m_client.removeSurface(m_surface);
        wl_surface_destroy(m_surface);
        m_surface = nullptr;
    }
    m_mapped = false;
    m_configured = false;
}

void LayerSurface::present(const QImage& image, int scale) {
    if (image.isNull()) {
        return;
    }
    m_scale = std::max(1, scale);
    const QSize logical = image.size() / m_scale;
    if (logical != m_requestedSize) {
        m_requestedSize = logical;
        if (m_layer != nullptr) {
            zwlr_layer_surface_v1_set_size(m_layer, uint32_t(m_requestedSize.width()),
                                           uint32_t(m_requestedSize.height()));
        }
    }
    if (m_surface == nullptr) {
        create();
    }
    if (!m_configured) {
        // The first buffer may only follow the compositor's first configure.
        m_pending = image;
        return;
    }
    attach(image);
}

void LayerSurface::hide() {
    m_pending = QImage();
    destroy();
    m_client.flush();
}

void LayerSurface::attach(const QImage& image) {
    Buffer* buffer = freeBuffer(image.size());
    if (buffer == nullptr) {
        // Both buffers are still on screen: keep the newest image for the next release.
        m_pending = image;
        return;
    }
    const QImage source = image.format() == QImage::Format_ARGB32_Premultiplied
                              ? image
                              : image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const int rowBytes = source.width() * 4;
    for (int y = 0; y < source.height(); ++y) {
        std::memcpy(buffer->data + size_t(y) * size_t(rowBytes), source.constScanLine(y), size_t(rowBytes));
    }
    buffer->busy = true;
    applyInputRegion();
    wl_surface_set_buffer_scale(m_surface, m_scale);
    wl_surface_attach(m_surface, buffer->buffer, 0, 0);
    wl_surface_damage_buffer(m_surface, 0, 0, source.width(), source.height());
    wl_surface_commit(m_surface);
    m_mapped = true;
    m_client.flush();
}

LayerSurface::Buffer* LayerSurface::freeBuffer(QSize size) {
    for (Buffer& b : m_buffers) {
        if (!b.busy && b.buffer != nullptr && b.size == size) {
            return &b;
        }
    }
    for (Buffer& b : m_buffers) {
        if (b.busy) {
            continue;
        }
        if (b.buffer != nullptr) {
            wl_buffer_destroy(b.buffer);
            munmap(b.data, size_t(b.size.width()) * size_t(b.size.height()) * 4);
            b.buffer = nullptr;
        }
        const int stride = size.width() * 4;
        const size_t bytes = size_t(stride) * size_t(size.height());
        const int fd = memfd_create("vantrel-panel", MFD_CLOEXEC);
        if (fd < 0 || ftruncate(fd, off_t(bytes)) != 0) {
            if (fd >= 0) {
                close(fd);
            }
            return nullptr;
        }
        void* data = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        if (data == MAP_FAILED) {
            close(fd);
            return nullptr;
        }
        wl_shm_pool* pool = wl_shm_create_pool(m_client.shm(), fd, int32_t(bytes));
        b.buffer =
            wl_shm_pool_create_buffer(pool, 0, size.width(), size.height(), stride, WL_SHM_FORMAT_ARGB8888);
        wl_shm_pool_destroy(pool);
        close(fd);
        static const wl_buffer_listener bufferListener = {&LayerSurface::onBufferRelease};
        wl_buffer_add_listener(b.buffer, &bufferListener, this);
        b.data = static_cast<uchar*>(data);
        b.size = size;
        b.busy = false;
        return &b;
    }
    return nullptr;
}

void LayerSurface::setInputRegion(const QRegion& region) {
    m_inputRegion = region;
    m_inputRegionSet = false;
    if (m_surface != nullptr && m_mapped) {
        applyInputRegion();
        wl_surface_commit(m_surface);
        m_client.flush();
    }
}

void LayerSurface::applyInputRegion() {
    if (m_surface == nullptr || m_inputRegionSet) {
        return;
    }
    wl_region* region = wl_compositor_create_region(m_client.compositor());
    for (const QRect& r : m_inputRegion) {
        wl_region_add(region, r.x(), r.y(), r.width(), r.height());
    }
    wl_surface_set_input_region(m_surface, region);
    wl_region_destroy(region);
    m_inputRegionSet = true;
}

void LayerSurface::setKeyboardFocus(bool wanted) {
    // Exclusive takes the keyboard at once; none hands it back to the window
    // that had it before.
    const uint32_t value = wanted ? ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE
                                  : ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_NONE;
    if (value == m_interactivity) {
        return;
    }
    m_interactivity = value;
    if (m_layer != nullptr) {
        zwlr_layer_surface_v1_set_keyboard_interactivity(m_layer, value);
        wl_surface_commit(m_surface);
        m_client.flush();
    }
}

bool LayerSurface::allowFocusLoss() {
    // On demand (version 4): the keyboard stays until the user clicks another window.
    if (m_client.layerShellVersion() < 4 ||
        m_interactivity != ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE) {
        return false;
    }
    m_interactivity = ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_ON_DEMAND;
    if (m_layer != nullptr) {
        zwlr_layer_surface_v1_set_keyboard_interactivity(m_layer, m_interactivity);
        wl_surface_commit(m_surface);
        m_client.flush();
    }
    return true;
}

void LayerSurface::onConfigure(void* data, zwlr_layer_surface_v1* surface, uint32_t serial, uint32_t,
                               uint32_t) {
    auto* self = static_cast<LayerSurface*>(data);
    zwlr_layer_surface_v1_ack_configure(surface, serial);
    self->m_configured = true;
    if (!self->m_pending.isNull()) {
        QImage image = std::move(self->m_pending);
        self->m_pending = QImage();
        self->attach(image);
    }
}

void LayerSurface::onClosed(void* data, zwlr_layer_surface_v1*) {
    // The compositor took the surface away (its output went, say); the next
    // present() makes a new one.
    static_cast<LayerSurface*>(data)->destroy();
}

void LayerSurface::onBufferRelease(void* data, wl_buffer* buffer) {
    auto* self = static_cast<LayerSurface*>(data);
    for (Buffer& b : self->m_buffers) {
        if (b.buffer == buffer) {
            b.busy = false;
        }
    }
    if (!self->m_pending.isNull() && self->m_configured) {
        QImage image = std::move(self->m_pending);
        self->m_pending = QImage();
        self->attach(image);
    }
}

} // namespace vantrel::platform::wayland
