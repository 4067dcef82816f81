// The Alt+Super+Space grab on a real X server (run under Xvfb on the xcb
// platform): which key events it takes as the shortcut and which it leaves to
// the rest of the program.

#include "Vantrel/platform/x11/X11HotKey.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

using namespace vantrel::platform;

namespace {

constexpr uint16_t alt = XCB_MOD_MASK_1;
constexpr uint16_t super = XCB_MOD_MASK_4;

class X11HotKeyTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (QGuiApplication::platformName() != QLatin1String("xcb")) {
            GTEST_SKIP() << "needs the xcb platform on an X server, not "
                         << qPrintable(QGuiApplication::platformName());
        }
        // A connection of our own to look up the server's facts; the grab uses Qt's.
        connection = xcb_connect(nullptr, nullptr);
        ASSERT_EQ(xcb_connection_has_error(connection), 0);
        root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
        xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(connection);
        xcb_keycode_t* codes = xcb_key_symbols_get_keycode(symbols, 0x0020); // XK_space
        ASSERT_NE(codes, nullptr);
        space = codes[0];
        std::free(codes);
        codes = xcb_key_symbols_get_keycode(symbols, 0x0071); // XK_q
        ASSERT_NE(codes, nullptr);
        q = codes[0];
        std::free(codes);
        xcb_key_symbols_free(symbols);
        QString error;
        ASSERT_TRUE(hotKey.grab(&error)) << qPrintable(error);
    }
    void TearDown() override {
        hotKey.release();
        if (connection != nullptr) {
            xcb_disconnect(connection);
        }
    }

    // What the X server would deliver for a key on `window` with `state` held.
    xcb_key_press_event_t keyEvent(uint8_t type, xcb_keycode_t key, uint16_t state,
                                   xcb_window_t window) const {
        xcb_key_press_event_t event;
        std::memset(&event, 0, sizeof event);
        event.response_type = type;
        event.detail = key;
        event.root = root;
        event.event = window;
        event.state = state;
        event.same_screen = 1;
        return event;
    }
    bool offer(xcb_key_press_event_t event,
               const QByteArray& kind = QByteArrayLiteral("xcb_generic_event_t")) {
        qintptr result = 0;
        return hotKey.nativeEventFilter(kind, &event, &result);
    }

    x11::X11HotKey hotKey;
    xcb_connection_t* connection = nullptr;
    xcb_window_t root = 0;
    xcb_keycode_t space = 0;
    xcb_keycode_t q = 0;
};

TEST_F(X11HotKeyTest, ForeignKeyEventsPassThroughUntouched) {
    QSignalSpy activated(&hotKey, &HotKey::activated);
    // Another key with the same modifiers, as another program's grab would see it.
    EXPECT_FALSE(offer(keyEvent(XCB_KEY_PRESS, q, alt | super, root)));
    // Space without Super, or without Alt.
    EXPECT_FALSE(offer(keyEvent(XCB_KEY_PRESS, space, alt, root)));
    EXPECT_FALSE(offer(keyEvent(XCB_KEY_PRESS, space, super, root)));
    EXPECT_FALSE(offer(keyEvent(XCB_KEY_PRESS, space, 0, root)));
    // The shortcut's own release.
    EXPECT_FALSE(offer(keyEvent(XCB_KEY_RELEASE, space, alt | super, root)));
    // Alt+Super+Space typed into one of our own windows (focused, not through the grab).
    EXPECT_FALSE(offer(keyEvent(XCB_KEY_PRESS, space, alt | super, root + 1)));
    // Not a key event at all, or not from xcb.
    xcb_key_press_event_t button = keyEvent(XCB_BUTTON_PRESS, space, alt | super, root);
    EXPECT_FALSE(offer(button));
    EXPECT_FALSE(
        offer(keyEvent(XCB_KEY_PRESS, space, alt | super, root), QByteArrayLiteral("windows_generic_MSG")));
    QTest::qWait(20);
    EXPECT_EQ(activated.count(), 0);
}

TEST_F(X11HotKeyTest, TheShortcutIsTakenWithLocksAndSentEventBitsAndActsAfterDispatch) {
    QSignalSpy activated(&hotKey, &HotKey::activated);
    EXPECT_TRUE(offer(keyEvent(XCB_KEY_PRESS, space, alt | super, root)));
    EXPECT_EQ(activated.count(), 0) << "not from inside Qt's event reader";
    EXPECT_TRUE(activated.wait(1000));
    // Caps Lock on does not stop it.
    EXPECT_TRUE(offer(keyEvent(XCB_KEY_PRESS, space, alt | super | XCB_MOD_MASK_LOCK, root)));
    // An event another client sent (the high bit set) is still a key press.
    EXPECT_TRUE(offer(keyEvent(XCB_KEY_PRESS | 0x80, space, alt | super, root)));
    QTest::qWait(20);
    EXPECT_EQ(activated.count(), 3);
}

TEST_F(X11HotKeyTest, AfterTheReleaseNothingIsTaken) {
    hotKey.release();
    QSignalSpy activated(&hotKey, &HotKey::activated);
    EXPECT_FALSE(offer(keyEvent(XCB_KEY_PRESS, space, alt | super, root)));
    QTest::qWait(20);
    EXPECT_EQ(activated.count(), 0);
}

} // namespace
