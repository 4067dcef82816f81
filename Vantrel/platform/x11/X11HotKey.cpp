#include "Vantrel/platform/x11/X11HotKey.h"

#include "Vantrel/platform/x11/X11Support.h"

#include <QCoreApplication>
#include <QTimer>

#include <xcb/xcb_keysyms.h>

#include <algorithm>
#include <cstdlib>

namespace vantrel::platform::x11 {

namespace {

constexpr xcb_keysym_t spaceKeysym = 0x0020;   // XK_space
constexpr xcb_keysym_t numLockKeysym = 0xff7f; // XK_Num_Lock
constexpr uint16_t altSuper = XCB_MOD_MASK_1 | XCB_MOD_MASK_4;
constexpr uint8_t badAccess = 10;

} // namespace

X11HotKey::X11HotKey(QObject* parent) : HotKey(parent), m_connection(qtConnection()) {
    if (m_connection != nullptr) {
        m_root = rootWindow(m_connection);
    }
}

X11HotKey::~X11HotKey() {
    release();
}

uint16_t X11HotKey::numLockMask() const {
    xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(m_connection);
    xcb_keycode_t* numLock = xcb_key_symbols_get_keycode(symbols, numLockKeysym);
    xcb_key_symbols_free(symbols);
    uint16_t mask = 0;
    auto* reply =
        xcb_get_modifier_mapping_reply(m_connection, xcb_get_modifier_mapping(m_connection), nullptr);
    if (reply != nullptr && numLock != nullptr) {
        xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(reply);
        int perModifier = reply->keycodes_per_modifier;
        for (int modifier = 0; modifier < 8 && mask == 0; ++modifier) {
            for (int i = 0; i < perModifier; ++i) {
                xcb_keycode_t code = codes[modifier * perModifier + i];
                for (xcb_keycode_t* k = numLock; code != 0 && *k != XCB_NO_SYMBOL; ++k) {
                    if (*k == code) {
                        mask = static_cast<uint16_t>(1u << modifier);
                    }
                }
            }
        }
    }
    std::free(reply);
    std::free(numLock);
    return mask;
}

bool X11HotKey::grab(QString* error) {
    if (!m_grabbed.empty()) {
        return true;
    }
    if (m_connection == nullptr || m_root == XCB_WINDOW_NONE) {
        *error = QStringLiteral("not running on X11");
        return false;
    }
    xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(m_connection);
    xcb_keycode_t* codes = xcb_key_symbols_get_keycode(symbols, spaceKeysym);
    xcb_key_symbols_free(symbols);
    m_keycode = codes != nullptr ? codes[0] : 0;
    std::free(codes);
    if (m_keycode == 0 || m_keycode == XCB_NO_SYMBOL) {
        *error = QStringLiteral("the keyboard map has no Space key");
        return false;
    }

    const uint16_t numLock = numLockMask();
    const uint16_t locks[] = {0, XCB_MOD_MASK_LOCK, numLock,
                              static_cast<uint16_t>(XCB_MOD_MASK_LOCK | numLock)};
    bool taken = false;
    for (uint16_t lock : locks) {
        uint16_t modifiers = altSuper | lock;
        if (std::find(m_grabbed.begin(), m_grabbed.end(), modifiers) != m_grabbed.end()) {
            continue; // no Num Lock modifier: the list repeats itself
        }
        auto cookie = xcb_grab_key_checked(m_connection, 1, m_root, modifiers, m_keycode, XCB_GRAB_MODE_ASYNC,
                                           XCB_GRAB_MODE_ASYNC);
        if (xcb_generic_error_t* failure = xcb_request_check(m_connection, cookie)) {
            taken = taken || failure->error_code == badAccess;
            std::free(failure);
            release();
            *error = taken ? QStringLiteral("Alt+Super+Space is already taken by another program")
                           : QStringLiteral("the X server refused the key grab");
            return false;
        }
        m_grabbed.push_back(modifiers);
    }
    QCoreApplication::instance()->installNativeEventFilter(this);
    return true;
}

void X11HotKey::release() {
    if (m_connection == nullptr) {
        return;
    }
    for (uint16_t modifiers : m_grabbed) {
        xcb_ungrab_key(m_connection, m_keycode, m_root, modifiers);
    }
    if (!m_grabbed.empty()) {
        xcb_flush(m_connection);
    }
    m_grabbed.clear();
    if (QCoreApplication::instance() != nullptr) {
        QCoreApplication::instance()->removeNativeEventFilter(this);
    }
}

bool X11HotKey::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (m_grabbed.empty() || eventType != "xcb_generic_event_t") {
        return false;
    }
    auto* event = static_cast<xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) != XCB_KEY_PRESS) {
        return false;
    }
    auto* press = reinterpret_cast<xcb_key_press_event_t*>(event);
    if (press->detail != m_keycode || press->event != m_root || (press->state & altSuper) != altSuper) {
        return false;
    }
    // Act after the event has been dispatched, not from inside Qt's event reader.
    QTimer::singleShot(0, this, &HotKey::activated);
    return true;
}

} // namespace vantrel::platform::x11
