#include "Vantrel/platform/wayland/LayerShellClient.h"

#include "wlr-layer-shell-unstable-v1-client-protocol.h"

#include <QSocketNotifier>

#include <linux/input-event-codes.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#include <wayland-cursor.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <cstring>

namespace vantrel::platform::wayland {

std::unique_ptr<LayerShellClient> LayerShellClient::connect(QString* error, QObject* parent) {
    if (qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        *error = QStringLiteral("not a Wayland session");
        return nullptr;
    }
    wl_display* display = wl_display_connect(nullptr);
    if (display == nullptr) {
        *error = QStringLiteral("cannot connect to the Wayland display %1")
                     .arg(qEnvironmentVariable("WAYLAND_DISPLAY"));
        return nullptr;
    }
    std::unique_ptr<LayerShellClient> client(new LayerShellClient(display, parent));
    // One round trip for the globals, one for the seat's capabilities.
    client->roundTrip();
    client->roundTrip();
    if (client->m_compositor == nullptr || client->m_shm == nullptr) {
        *error = QStringLiteral("the compositor offers no shared-memory surfaces");
        return nullptr;
    }
    if (client->m_layerShell == nullptr) {
        *error = QStringLiteral("the compositor offers no layer shell");
        return nullptr;
    }
    return client;
}

LayerShellClient::LayerShellClient(wl_display* display, QObject* parent)
    : QObject(parent), m_display(display) {
    m_xkbContext = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    static const wl_registry_listener registryListener = {&LayerShellClient::onGlobal,
                                                          &LayerShellClient::onGlobalRemove};
    m_registry = wl_display_get_registry(m_display);
    wl_registry_add_listener(m_registry, &registryListener, this);
    m_notifier = new QSocketNotifier(wl_display_get_fd(m_display), QSocketNotifier::Read, this);
    QObject::connect(m_notifier, &QSocketNotifier::activated, this, &LayerShellClient::readEvents);
}

LayerShellClient::~LayerShellClient() {
    delete m_notifier;
    if (m_xkbState != nullptr) {
        xkb_state_unref(m_xkbState);
    }
    if (m_keymap != nullptr) {
        xkb_keymap_unref(m_keymap);
    }
    xkb_context_unref(m_xkbContext);
    if (m_cursorSurface != nullptr) {
        wl_surface_destroy(m_cursorSurface);
    }
    if (m_cursorTheme != nullptr) {
        wl_cursor_theme_destroy(m_cursorTheme);
    }
    if (m_keyboard != nullptr) {
        wl_keyboard_destroy(m_keyboard);
    }
    if (m_pointer != nullptr) {
        wl_pointer_destroy(m_pointer);
    }
    if (m_seat != nullptr) {
        wl_seat_destroy(m_seat);
    }
    if (m_layerShell != nullptr) {
        zwlr_layer_shell_v1_destroy(m_layerShell);
    }
    if (m_shm != nullptr) {
        wl_shm_destroy(m_shm);
    }
    if (m_compositor != nullptr) {
        wl_compositor_destroy(m_compositor);
    }
    wl_registry_destroy(m_registry);
    wl_display_flush(m_display);
    wl_display_disconnect(m_display);
}

void LayerShellClient::flush() {
    wl_display_flush(m_display);
}

void LayerShellClient::roundTrip() {
    wl_display_roundtrip(m_display);
}

void LayerShellClient::readEvents() {
    // The usual prepare-read dance, so events queued by a round trip elsewhere are not lost.
    while (wl_display_prepare_read(m_display) != 0) {
        wl_display_dispatch_pending(m_display);
    }
    wl_display_flush(m_display);
    if (wl_display_read_events(m_display) < 0) {
        // The compositor went away: stop watching a dead socket.
        m_notifier->setEnabled(false);
        return;
    }
    wl_display_dispatch_pending(m_display);
    wl_display_flush(m_display);
}

void LayerShellClient::addSurface(wl_surface* surface, SurfaceInput* input) {
    m_surfaces.push_back({surface, input});
}

void LayerShellClient::removeSurface(wl_surface* surface) {
    m_surfaces.erase(std::remove_if(m_surfaces.begin(), m_surfaces.end(),
                                    [surface](const Entry& e) { return e.surface == surface; }),
                     m_surfaces.end());
    if (m_pointerSurface == surface) {
        m_pointerSurface = nullptr;
        m_pointerGlobal.reset();
    }
    if (m_keyboardSurface == surface) {
        m_keyboardSurface = nullptr;
    }
}

SurfaceInput* LayerShellClient::inputFor(wl_surface* surface) const {
    for (const Entry& e : m_surfaces) {
        if (e.surface == surface) {
            return e.input;
        }
    }
    return nullptr;
}

void LayerShellClient::onGlobal(void* data, wl_registry* registry, uint32_t name, const char* interface,
                                uint32_t version) {
    auto* self = static_cast<LayerShellClient*>(data);
    if (std::strcmp(interface, wl_compositor_interface.name) == 0) {
        self->m_compositor =
            static_cast<wl_compositor*>(wl_registry_bind(registry, name, &wl_compositor_interface, 4));
    } else if (std::strcmp(interface, wl_shm_interface.name) == 0) {
        self->m_shm = static_cast<wl_shm*>(wl_registry_bind(registry, name, &wl_shm_interface, 1));
    } else if (std::strcmp(interface, wl_seat_interface.name) == 0 && self->m_seat == nullptr) {
        static const wl_seat_listener seatListener = {&LayerShellClient::onSeatCapabilities,
                                                      &LayerShellClient::onSeatName};
        self->m_seat = static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 5));
        wl_seat_add_listener(self->m_seat, &seatListener, self);
    } else if (std::strcmp(interface, zwlr_layer_shell_v1_interface.name) == 0) {
        self->m_layerShellVersion = std::min<uint32_t>(version, 4);
        self->m_layerShell = static_cast<zwlr_layer_shell_v1*>(
            wl_registry_bind(registry, name, &zwlr_layer_shell_v1_interface, self->m_layerShellVersion));
    }
}

void LayerShellClient::onGlobalRemove(void*, wl_registry*, uint32_t) {}

void LayerShellClient::onSeatName(void*, wl_seat*, const char*) {}

void LayerShellClient::onSeatCapabilities(void* data, wl_seat* seat, uint32_t capabilities) {
    auto* self = static_cast<LayerShellClient*>(data);
    const bool hasPointer = (capabilities & WL_SEAT_CAPABILITY_POINTER) != 0;
    const bool hasKeyboard = (capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0;
    if (hasPointer && self->m_pointer == nullptr) {
        static const wl_pointer_listener pointerListener = {
            &LayerShellClient::onPointerEnter,
            &LayerShellClient::onPointerLeave,
            &LayerShellClient::onPointerMotion,
            &LayerShellClient::onPointerButton,
            &LayerShellClient::onPointerAxis,
            [](void*, wl_pointer*) {},                     // frame
            [](void*, wl_pointer*, uint32_t) {},           // axis_source
            [](void*, wl_pointer*, uint32_t, uint32_t) {}, // axis_stop
            [](void*, wl_pointer*, uint32_t, int32_t) {},  // axis_discrete
            [](void*, wl_pointer*, uint32_t, int32_t) {},  // axis_value120
        };
        self->m_pointer = wl_seat_get_pointer(seat);
        wl_pointer_add_listener(self->m_pointer, &pointerListener, self);
    } else if (!hasPointer && self->m_pointer != nullptr) {
        wl_pointer_release(self->m_pointer);
        self->m_pointer = nullptr;
    }
    if (hasKeyboard && self->m_keyboard == nullptr) {
        static const wl_keyboard_listener keyboardListener = {
            &LayerShellClient::onKeymap,        &LayerShellClient::onKeyboardEnter,
            &LayerShellClient::onKeyboardLeave, &LayerShellClient::onKey,
            &LayerShellClient::onModifiers,     &LayerShellClient::onRepeatInfo,
        };
        self->m_keyboard = wl_seat_get_keyboard(seat);
        wl_keyboard_add_listener(self->m_keyboard, &keyboardListener, self);
    } else if (!hasKeyboard && self->m_keyboard != nullptr) {
        wl_keyboard_release(self->m_keyboard);
        self->m_keyboard = nullptr;
    }
}

void LayerShellClient::setPointerSurface(wl_surface* surface, QPointF local) {
    m_pointerSurface = surface;
    m_pointerLocal = local;
    SurfaceInput* input = inputFor(surface);
    if (input != nullptr) {
        m_pointerGlobal = input->globalOrigin() + local;
    } else {
        m_pointerGlobal.reset();
    }
}

void LayerShellClient::onPointerEnter(void* data, wl_pointer* pointer, uint32_t serial, wl_surface* surface,
                                      int32_t x, int32_t y) {
    auto* self = static_cast<LayerShellClient*>(data);
    // Without a cursor image of our own the compositor may show none over our surfaces.
    if (self->m_cursorTheme == nullptr) {
        self->m_cursorTheme = wl_cursor_theme_load(nullptr, 24, self->m_shm);
    }
    wl_cursor* cursor = self->m_cursorTheme != nullptr
                            ? wl_cursor_theme_get_cursor(self->m_cursorTheme, "left_ptr")
                            : nullptr;
    if (cursor != nullptr && cursor->image_count > 0) {
        wl_cursor_image* image = cursor->images[0];
        if (self->m_cursorSurface == nullptr) {
            self->m_cursorSurface = wl_compositor_create_surface(self->m_compositor);
        }
        wl_surface_attach(self->m_cursorSurface, wl_cursor_image_get_buffer(image), 0, 0);
        wl_surface_damage(self->m_cursorSurface, 0, 0, int(image->width), int(image->height));
        wl_surface_commit(self->m_cursorSurface);
        wl_pointer_set_cursor(pointer, serial, self->m_cursorSurface, int(image->hotspot_x),
                              int(image->hotspot_y));
    }
    const QPointF local(wl_fixed_to_double(x), wl_fixed_to_double(y));
    self->setPointerSurface(surface, local);
    if (SurfaceInput* input = self->inputFor(surface)) {
        input->pointerEntered(local);
    }
    emit self->pointerChanged();
}

void LayerShellClient::onPointerLeave(void* data, wl_pointer*, uint32_t, wl_surface* surface) {
    auto* self = static_cast<LayerShellClient*>(data);
    if (SurfaceInput* input = self->inputFor(surface)) {
        input->pointerLeft();
    }
    if (self->m_pointerSurface == surface) {
        self->m_pointerSurface = nullptr;
        self->m_pointerGlobal.reset();
        self->m_buttons = 0;
    }
    emit self->pointerChanged();
}

void LayerShellClient::onPointerMotion(void* data, wl_pointer*, uint32_t, int32_t x, int32_t y) {
    auto* self = static_cast<LayerShellClient*>(data);
    const QPointF local(wl_fixed_to_double(x), wl_fixed_to_double(y));
    self->setPointerSurface(self->m_pointerSurface, local);
    if (SurfaceInput* input = self->inputFor(self->m_pointerSurface)) {
        input->pointerMoved(local);
    }
    emit self->pointerChanged();
}

void LayerShellClient::onPointerButton(void* data, wl_pointer*, uint32_t, uint32_t, uint32_t button,
                                       uint32_t state) {
    auto* self = static_cast<LayerShellClient*>(data);
    Qt::MouseButton qtButton = Qt::NoButton;
    switch (button) {
    case BTN_LEFT:
        qtButton = Qt::LeftButton;
        break;
    case BTN_RIGHT:
        qtButton = Qt::RightButton;
        break;
    case BTN_MIDDLE:
        qtButton = Qt::MiddleButton;
        break;
    default:
        return;
    }
    const bool pressed = state == WL_POINTER_BUTTON_STATE_PRESSED;
    if (pressed) {
        self->m_buttons |= uint32_t(qtButton);
    } else {
        self->m_buttons &= ~uint32_t(qtButton);
    }
    if (SurfaceInput* input = self->inputFor(self->m_pointerSurface)) {
        input->pointerButton(self->m_pointerLocal, qtButton, pressed);
    }
    emit self->pointerChanged();
}

void LayerShellClient::onPointerAxis(void*, wl_pointer*, uint32_t, uint32_t, int32_t) {}

void LayerShellClient::onKeymap(void* data, wl_keyboard*, uint32_t format, int32_t fd, uint32_t size) {
    auto* self = static_cast<LayerShellClient*>(data);
    if (format != WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1) {
        close(fd);
        return;
    }
    void* map = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    close(fd);
    if (map == MAP_FAILED) {
        return;
    }
    xkb_keymap* keymap = xkb_keymap_new_from_string(self->m_xkbContext, static_cast<const char*>(map),
                                                    XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS);
    munmap(map, size);
    if (keymap == nullptr) {
        return;
    }
    if (self->m_xkbState != nullptr) {
        xkb_state_unref(self->m_xkbState);
    }
    if (self->m_keymap != nullptr) {
        xkb_keymap_unref(self->m_keymap);
    }
    self->m_keymap = keymap;
    self->m_xkbState = xkb_state_new(keymap);
}

void LayerShellClient::onKeyboardEnter(void* data, wl_keyboard*, uint32_t, wl_surface* surface, wl_array*) {
    auto* self = static_cast<LayerShellClient*>(data);
    self->m_keyboardSurface = surface;
    if (SurfaceInput* input = self->inputFor(surface)) {
        input->keyboardEntered();
    }
}

void LayerShellClient::onKeyboardLeave(void* data, wl_keyboard*, uint32_t, wl_surface* surface) {
    auto* self = static_cast<LayerShellClient*>(data);
    if (self->m_keyboardSurface == surface) {
        self->m_keyboardSurface = nullptr;
    }
    if (SurfaceInput* input = self->inputFor(surface)) {
        input->keyboardLeft();
    }
}

void LayerShellClient::onKey(void* data, wl_keyboard*, uint32_t, uint32_t, uint32_t key, uint32_t state) {
    auto* self = static_cast<LayerShellClient*>(data);
    SurfaceInput* input = self->inputFor(self->m_keyboardSurface);
    if (input == nullptr || self->m_xkbState == nullptr) {
        return;
    }
    const xkb_keycode_t keycode = key + 8;
    const xkb_keysym_t sym = xkb_state_key_get_one_sym(self->m_xkbState, keycode);
    char utf8[16] = {};
    xkb_state_key_get_utf8(self->m_xkbState, keycode, utf8, sizeof utf8);
    Qt::KeyboardModifiers modifiers;
    const auto active = [self](const char* name) {
        return xkb_state_mod_name_is_active(self->m_xkbState, name, XKB_STATE_MODS_EFFECTIVE) > 0;
    };
    if (active(XKB_MOD_NAME_SHIFT)) {
        modifiers |= Qt::ShiftModifier;
    }
    if (active(XKB_MOD_NAME_CTRL)) {
        modifiers |= Qt::ControlModifier;
    }
    if (active(XKB_MOD_NAME_ALT)) {
        modifiers |= Qt::AltModifier;
    }
    if (active(XKB_MOD_NAME_LOGO)) {
        modifiers |= Qt::MetaModifier;
    }
    input->key(state == WL_KEYBOARD_KEY_STATE_PRESSED, qtKeyForKeysym(sym), modifiers, keycode, sym,
               QString::fromUtf8(utf8));
}

void LayerShellClient::onModifiers(void* data, wl_keyboard*, uint32_t, uint32_t depressed, uint32_t latched,
                                   uint32_t locked, uint32_t group) {
    auto* self = static_cast<LayerShellClient*>(data);
    if (self->m_xkbState != nullptr) {
        xkb_state_update_mask(self->m_xkbState, depressed, latched, locked, 0, 0, group);
    }
}

void LayerShellClient::onRepeatInfo(void*, wl_keyboard*, int32_t, int32_t) {}

int qtKeyForKeysym(quint32 keysym) {
    if (keysym >= XKB_KEY_a && keysym <= XKB_KEY_z) {
        return Qt::Key_A + int(keysym - XKB_KEY_a);
    }
    if (keysym >= XKB_KEY_A && keysym <= XKB_KEY_Z) {
        return Qt::Key_A + int(keysym - XKB_KEY_A);
    }
    if (keysym >= XKB_KEY_0 && keysym <= XKB_KEY_9) {
        return Qt::Key_0 + int(keysym - XKB_KEY_0);
    }
    if (keysym >= XKB_KEY_F1 && keysym <= XKB_KEY_F12) {
        return Qt::Key_F1 + int(keysym - XKB_KEY_F1);
    }
    switch (keysym) {
    case XKB_KEY_space:
        return Qt::Key_Space;
    case XKB_KEY_Escape:
        return Qt::Key_Escape;
    case XKB_KEY_Return:
    case XKB_KEY_KP_Enter:
        return Qt::Key_Return;
    case XKB_KEY_Tab:
        return Qt::Key_Tab;
    case XKB_KEY_ISO_Left_Tab:
        return Qt::Key_Backtab;
    case XKB_KEY_BackSpace:
        return Qt::Key_Backspace;
    case XKB_KEY_Up:
        return Qt::Key_Up;
    case XKB_KEY_Down:
        return Qt::Key_Down;
    case XKB_KEY_Left:
        return Qt::Key_Left;
    case XKB_KEY_Right:
        return Qt::Key_Right;
    case XKB_KEY_Shift_L:
    case XKB_KEY_Shift_R:
        return Qt::Key_Shift;
    case XKB_KEY_Control_L:
    case XKB_KEY_Control_R:
        return Qt::Key_Control;
    case XKB_KEY_Alt_L:
    case XKB_KEY_Alt_R:
        return Qt::Key_Alt;
    case XKB_KEY_Super_L:
    case XKB_KEY_Super_R:
        return Qt::Key_Meta;
    default:
        return Qt::Key_unknown;
    }
}

} // namespace vantrel::platform::wayland
