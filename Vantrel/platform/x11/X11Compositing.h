#pragma once

#include "Vantrel/platform/Compositing.h"

#include <xcb/xcb.h>

#include <memory>

class QSocketNotifier;

namespace vantrel::platform::x11 {

// A compositing manager runs while the selection _NET_WM_CM_S<screen> has an
// owner. XFixes reports each change of owner on a connection of our own, so a
// compositor starting or stopping is noticed without any polling. Input shapes
// are set with the SHAPE extension on Qt's connection, in order with Qt's own
// requests for the window.
class X11Compositing final : public Compositing {
    Q_OBJECT

public:
    static std::unique_ptr<X11Compositing> create(QString* error, QObject* parent = nullptr);
    ~X11Compositing() override;

    bool active() const override { return m_active; }
    void setInputShape(QWindow* window, const QRegion& region) override;

private:
    X11Compositing(xcb_connection_t* connection, int screen, QObject* parent);
    void readEvents();
    bool ownerPresent() const;

    xcb_connection_t* m_connection;
    xcb_atom_t m_selection;
    uint8_t m_xfixesFirstEvent = 0;
    bool m_active = false;
    QSocketNotifier* m_notifier = nullptr;
};

} // namespace vantrel::platform::x11
