#pragma once

#include <QImage>
#include <QRegion>
#include <QSize>
#include <QString>

#include <array>
#include <cstdint>

struct wl_buffer;
struct wl_surface;
struct zwlr_layer_surface_v1;

namespace vantrel::platform::wayland {

class LayerShellClient;
class SurfaceInput;

// One surface in the compositor's top layer, anchored to the top edge of the
// output and centred on it, placed below panels that reserve space there (a top
// bar keeps its place). It shows whatever image it is given, in shared memory.
class LayerSurface final {
public:
    LayerSurface(LayerShellClient& client, SurfaceInput& input, const char* role);
    ~LayerSurface();
    LayerSurface(const LayerSurface&) = delete;
    LayerSurface& operator=(const LayerSurface&) = delete;

    // Shows `image` (premultiplied ARGB), mapping the surface first if needed.
    // The surface takes the image's size divided by `scale` (device pixels per point).
    void present(const QImage& image, int scale = 1);
    // Unmaps the surface; the next present() maps it again.
    void hide();
    bool isShown() const { return m_mapped; }

    // Where pointer input lands, in surface coordinates; outside it, input
    // reaches whatever lies underneath.
    void setInputRegion(const QRegion& region);
    // Asks the compositor for the keyboard (to open the playfield) or gives it back.
    void setKeyboardFocus(bool wanted);
    // Once the keyboard is ours, lets a click elsewhere take it away again. False
    // where the protocol version has no such mode.
    bool allowFocusLoss();

private:
    struct Buffer {
        wl_buffer* buffer = nullptr;
        uchar* data = nullptr;
        QSize size;
        bool busy = false;
    };

    void create();
    void destroy();
    Buffer* freeBuffer(QSize size);
    void attach(const QImage& image);
    void applyInputRegion();
    static void onConfigure(void* data, zwlr_layer_surface_v1* surface, uint32_t serial, uint32_t width,
                            uint32_t height);
    static void onClosed(void* data, zwlr_layer_surface_v1* surface);
    static void onBufferRelease(void* data, wl_buffer* buffer);

    LayerShellClient& m_client;
    SurfaceInput& m_input;
    const char* m_role;
    wl_surface* m_surface = nullptr;
    zwlr_layer_surface_v1* m_layer = nullptr;
    std::array<Buffer, 2> m_buffers;
    bool m_mapped = false;
    bool m_configured = false;
    QSize m_requestedSize;
    QImage m_pending;
    int m_scale = 1;
    QRegion m_inputRegion;
    bool m_inputRegionSet = false;
    uint32_t m_interactivity = 0;
};

} // namespace vantrel::platform::wayland
