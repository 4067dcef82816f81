#pragma once

#include "Vantrel/platform/SessionSignals.h"

#include <xcb/xcb.h>

#include <memory>
#include <optional>

class QSocketNotifier;

namespace vantrel::platform::x11 {

// Workspace switches from _NET_CURRENT_DESKTOP on the root window, watched on a
// connection of our own; sleep and the screen locker as SessionSignals reports them.
class X11SystemSignals final : public SessionSignals {
    Q_OBJECT

public:
    static std::unique_ptr<X11SystemSignals> create(QString* error, QObject* parent = nullptr);
    ~X11SystemSignals() override;

private:
    X11SystemSignals(xcb_connection_t* connection, QObject* parent);
    void readEvents();
    std::optional<uint32_t> currentDesktop() const;

    xcb_connection_t* m_connection;
    xcb_window_t m_root;
    xcb_atom_t m_currentDesktopAtom;
    std::optional<uint32_t> m_desktop;
    QSocketNotifier* m_notifier = nullptr;
};

} // namespace vantrel::platform::x11
