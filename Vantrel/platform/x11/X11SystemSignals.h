#pragma once

#include "Vantrel/platform/SystemSignals.h"

#include <xcb/xcb.h>

#include <memory>
#include <optional>

class QSocketNotifier;

namespace vantrel::platform::x11 {

// Workspace switches from _NET_CURRENT_DESKTOP on the root window, watched on a
// connection of our own; sleep from logind's PrepareForSleep on the system bus
// and the screen locker's ActiveChanged on the session bus; reduced motion
// from GNOME's enable-animations setting where that schema is installed.
class X11SystemSignals final : public SystemSignals {
    Q_OBJECT

public:
    static std::unique_ptr<X11SystemSignals> create(QString* error, QObject* parent = nullptr);
    ~X11SystemSignals() override;

    bool reduceMotion() const override { return m_reduceMotion; }

private slots:
    void prepareForSleep(bool start);
    void screenSaverActive(bool active);

private:
    X11SystemSignals(xcb_connection_t* connection, QObject* parent);
    void readEvents();
    std::optional<uint32_t> currentDesktop() const;

    xcb_connection_t* m_connection;
    xcb_window_t m_root;
    xcb_atom_t m_currentDesktopAtom;
    std::optional<uint32_t> m_desktop;
    QSocketNotifier* m_notifier = nullptr;
    bool m_reduceMotion = false;
};

} // namespace vantrel::platform::x11
