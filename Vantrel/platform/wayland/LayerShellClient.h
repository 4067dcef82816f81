#pragma once

#include <QObject>
#include <QPointF>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

struct wl_compositor;
struct wl_display;
struct wl_keyboard;
struct wl_pointer;
struct wl_registry;
struct wl_seat;
struct wl_shm;
struct wl_surface;
struct zwlr_layer_shell_v1;
struct xkb_context;
struct xkb_keymap;
struct xkb_state;
struct wl_cursor_theme;
struct wl_array;

class QSocketNotifier;

namespace vantrel::platform::wayland {

// Where a surface's pointer and keyboard events go. Positions are in the
// surface's own coordinates.
class SurfaceInput {
public:
    virtual ~SurfaceInput() = default;

    // Where the surface's top-left corner lies in Qt's global coordinates, so
    // that pointer positions over it can be told to the rest of the program.
    virtual QPointF globalOrigin() const = 0;
    virtual void pointerEntered(QPointF) {}
    virtual void pointerMoved(QPointF) {}
    virtual void pointerButton(QPointF, Qt::MouseButton, bool /*pressed*/) {}
    virtual void pointerLeft() {}
    virtual void keyboardEntered() {}
    virtual void keyboardLeft() {}
    // `keycode` is the X keycode (evdev code + 8), as Qt reports native scan codes on X11.
    virtual void key(bool /*pressed*/, int /*qtKey*/, Qt::KeyboardModifiers, quint32 /*keycode*/,
                     quint32 /*keysym*/, const QString& /*text*/) {}
};

// A connection of our own to the Wayland compositor, beside Qt's (Qt itself
// runs on XWayland), for the few surfaces that need the layer-shell protocol:
// the panel and the hover strip. Its socket is watched by the event loop, so
// nothing runs until the compositor has something for us.
class LayerShellClient final : public QObject {
    Q_OBJECT

public:
    // Null, with the reason in `error`, when there is no Wayland display or it
    // offers no layer shell (GNOME's mutter, for one).
    static std::unique_ptr<LayerShellClient> connect(QString* error, QObject* parent = nullptr);
    ~LayerShellClient() override;

    wl_display* display() const { return m_display; }
    wl_compositor* compositor() const { return m_compositor; }
    wl_shm* shm() const { return m_shm; }
    zwlr_layer_shell_v1* layerShell() const { return m_layerShell; }
    uint32_t layerShellVersion() const { return m_layerShellVersion; }

    void addSurface(wl_surface* surface, SurfaceInput* input);
    void removeSurface(wl_surface* surface);

    // Sends what has been queued; called after every change to a surface.
    void flush();
    // Waits until the compositor has handled every request sent so far.
    void roundTrip();

    // The pointer's last global position while it is over one of our surfaces,
    // and whether a button is held there. Nothing is known while it is elsewhere.
    std::optional<QPointF> pointerPosition() const { return m_pointerGlobal; }
    bool pointerButtonsHeld() const { return m_buttons != 0; }

signals:
    // The pointer moved over, into or out of one of our surfaces, or a button changed.
    void pointerChanged();

private:
    explicit LayerShellClient(wl_display* display, QObject* parent);
    void readEvents();
    SurfaceInput* inputFor(wl_surface* surface) const;
    void setPointerSurface(wl_surface* surface, QPointF local);

    static void onGlobal(void* data, wl_registry* registry, uint32_t name, const char* interface,
                         uint32_t version);
    static void onGlobalRemove(void* data, wl_registry* registry, uint32_t name);
    static void onSeatCapabilities(void* data, wl_seat* seat, uint32_t capabilities);
    static void onSeatName(void* data, wl_seat* seat, const char* name);
    static void onPointerEnter(void* data, wl_pointer* pointer, uint32_t serial, wl_surface* surface,
                               int32_t x, int32_t y);
    static void onPointerLeave(void* data, wl_pointer* pointer, uint32_t serial, wl_surface* surface);
    static void onPointerMotion(void* data, wl_pointer* pointer, uint32_t time, int32_t x, int32_t y);
    static void onPointerButton(void* data, wl_pointer* pointer, uint32_t serial, uint32_t time,
                                uint32_t button, uint32_t state);
    static void onPointerAxis(void* data, wl_pointer* pointer, uint32_t time, uint32_t axis, int32_t value);
    static void onKeymap(void* data, wl_keyboard* keyboard, uint32_t format, int32_t fd, uint32_t size);
    static void onKeyboardEnter(void* data, wl_keyboard* keyboard, uint32_t serial, wl_surface* surface,
                                struct wl_array* keys);
    static void onKeyboardLeave(void* data, wl_keyboard* keyboard, uint32_t serial, wl_surface* surface);
    static void onKey(void* data, wl_keyboard* keyboard, uint32_t serial, uint32_t time, uint32_t key,
                      uint32_t state);
    static void onModifiers(void* data, wl_keyboard* keyboard, uint32_t serial, uint32_t depressed,
                            uint32_t latched, uint32_t locked, uint32_t group);
    static void onRepeatInfo(void* data, wl_keyboard* keyboard, int32_t rate, int32_t delay);

    wl_display* m_display;
    wl_registry* m_registry = nullptr;
    wl_compositor* m_compositor = nullptr;
    wl_shm* m_shm = nullptr;
    wl_seat* m_seat = nullptr;
    wl_pointer* m_pointer = nullptr;
    wl_keyboard* m_keyboard = nullptr;
    zwlr_layer_shell_v1* m_layerShell = nullptr;
    uint32_t m_layerShellVersion = 0;
    QSocketNotifier* m_notifier = nullptr;

    xkb_context* m_xkbContext = nullptr;
    xkb_keymap* m_keymap = nullptr;
    xkb_state* m_xkbState = nullptr;

    wl_cursor_theme* m_cursorTheme = nullptr;
    wl_surface* m_cursorSurface = nullptr;

    struct Entry {
        wl_surface* surface;
        SurfaceInput* input;
    };
    std::vector<Entry> m_surfaces;
    wl_surface* m_pointerSurface = nullptr;
    wl_surface* m_keyboardSurface = nullptr;
    QPointF m_pointerLocal;
    std::optional<QPointF> m_pointerGlobal;
    uint32_t m_buttons = 0;
};

// The Qt key for an XKB keysym, for the keys a panel may see; Qt::Key_unknown otherwise.
int qtKeyForKeysym(quint32 keysym);

} // namespace vantrel::platform::wayland
