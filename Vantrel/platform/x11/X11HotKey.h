#pragma once

#include "Vantrel/platform/HotKey.h"

#include <QAbstractNativeEventFilter>

#include <xcb/xcb.h>

#include <vector>

namespace vantrel::platform::x11 {

// A passive key grab on the root window: Space with Alt (Mod1) and Super (Mod4),
// once for each combination of Caps Lock and Num Lock so that those locks do
// not break it. The key presses arrive on Qt's connection and are picked out
// by a native event filter; releases and bare modifier presses are ignored.
class X11HotKey final : public HotKey, public QAbstractNativeEventFilter {
    Q_OBJECT

public:
    explicit X11HotKey(QObject* parent = nullptr);
    ~X11HotKey() override;

    bool grab(QString* error) override;
    void release() override;

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    uint16_t numLockMask() const;

    xcb_connection_t* m_connection;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    xcb_keycode_t m_keycode = 0;
    std::vector<uint16_t> m_grabbed; // modifier sets we hold
};

} // namespace vantrel::platform::x11
