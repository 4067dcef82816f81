#include "Vantrel/platform/x11/X11SystemSignals.h"

#include "Vantrel/platform/x11/X11Support.h"

#include <QSocketNotifier>

#include <cstdlib>

namespace vantrel::platform::x11 {

std::unique_ptr<X11SystemSignals> X11SystemSignals::create(QString* error, QObject* parent) {
    xcb_connection_t* connection = openSecondConnection(error);
    if (connection == nullptr) {
        return nullptr;
    }
    return std::unique_ptr<X11SystemSignals>(new X11SystemSignals(connection, parent));
}

X11SystemSignals::X11SystemSignals(xcb_connection_t* connection, QObject* parent)
    : SessionSignals(parent), m_connection(connection), m_root(rootWindow(connection)),
      m_currentDesktopAtom(atom(connection, "_NET_CURRENT_DESKTOP")) {
    const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(m_connection);
    m_desktop = currentDesktop();
    m_notifier = new QSocketNotifier(xcb_get_file_descriptor(connection), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &X11SystemSignals::readEvents);
}

X11SystemSignals::~X11SystemSignals() {
    delete m_notifier;
    xcb_disconnect(m_connection);
}

std::optional<uint32_t> X11SystemSignals::currentDesktop() const {
    return property32(m_connection, m_root, m_currentDesktopAtom, XCB_ATOM_CARDINAL);
}

void X11SystemSignals::readEvents() {
    bool fromSocket = true;
    for (;;) {
        bool desktopTouched = false;
        // After a property read, only what xcb queued meanwhile (the socket notifier never sees those).
        while (xcb_generic_event_t* event =
                   fromSocket ? xcb_poll_for_event(m_connection) : xcb_poll_for_queued_event(m_connection)) {
            if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY) {
                auto* notify = reinterpret_cast<xcb_property_notify_event_t*>(event);
                desktopTouched = desktopTouched || notify->atom == m_currentDesktopAtom;
            }
            std::free(event);
        }
        if (xcb_connection_has_error(m_connection) != 0) {
            m_notifier->setEnabled(false);
            return;
        }
        if (!desktopTouched) {
            return;
        }
        std::optional<uint32_t> desktop = currentDesktop();
        if (desktop != m_desktop) {
            m_desktop = desktop;
            emit workspaceChanged();
        }
        fromSocket = false;
    }
}

} // namespace vantrel::platform::x11
