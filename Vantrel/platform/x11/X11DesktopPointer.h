#pragma once

#include "Vantrel/platform/DesktopPointer.h"

#include <xcb/xcb.h>

#include <memory>

class QSocketNotifier;

namespace vantrel::platform::x11 {

// XInput2 raw motion and raw button events, selected on the root window for
// all master devices. They come on a connection of our own, watched by a
// socket notifier, so Qt's event selection stays untouched. Raw events carry
// no position: the pointer is queried once per batch of events.
class X11DesktopPointer final : public DesktopPointer {
    Q_OBJECT

public:
    // Null, with the reason in `error`, when there is no X server or no XInput 2.2.
    static std::unique_ptr<X11DesktopPointer> create(QString* error, QObject* parent = nullptr);
    ~X11DesktopPointer() override;

    void setActive(bool active) override;
    bool isActive() const override { return m_active; }
    QPointF position() const override { return m_position; }
    bool buttonsPressed() const override { return m_buttons; }
    void refresh() override;

private:
    X11DesktopPointer(xcb_connection_t* connection, uint8_t xinputOpcode, QObject* parent);
    bool drain(bool fromSocket);
    void readEvents();
    void query();
    void select(bool on);

    xcb_connection_t* m_connection;
    xcb_window_t m_root;
    uint8_t m_xinputOpcode;
    QSocketNotifier* m_notifier = nullptr;
    bool m_active = false;
    QPointF m_position;
    bool m_buttons = false;
};

} // namespace vantrel::platform::x11
