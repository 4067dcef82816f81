#include "Vantrel/platform/WaylandHotKey.h"

namespace vantrel::platform {

WaylandHotKey::WaylandHotKey(std::unique_ptr<HotKey> portal, std::unique_ptr<HotKey> xwaylandGrab,
                             QObject* parent)
    : HotKey(parent), m_portal(std::move(portal)), m_xwayland(std::move(xwaylandGrab)) {
    connect(m_portal.get(), &HotKey::activated, this, &HotKey::activated);
    connect(m_portal.get(), &HotKey::stateChanged, this, &WaylandHotKey::follow);
    if (m_xwayland) {
        connect(m_xwayland.get(), &HotKey::activated, this, &HotKey::activated);
    }
}

WaylandHotKey::~WaylandHotKey() {
    release();
}

bool WaylandHotKey::grab(QString* error) {
    if (m_xwayland && !m_grabbed) {
        m_grabError.clear();
        m_grabbed = m_xwayland->grab(&m_grabError);
    }
    QString portalError;
    const bool asked = m_portal->grab(&portalError);
    follow();
    if (!asked) {
        *error = detail();
    }
    return asked;
}

void WaylandHotKey::release() {
    if (m_xwayland && m_grabbed) {
        m_xwayland->release();
        m_grabbed = false;
    }
    m_portal->release();
}

void WaylandHotKey::follow() {
    QString detail = m_portal->detail();
    if (m_portal->state() != State::active && m_xwayland) {
        detail += m_grabbed
                      ? QStringLiteral("; the XWayland key grab fires only while an X11 window has focus")
                      : QStringLiteral("; no XWayland key grab either (%1)").arg(m_grabError);
    }
    setState(m_portal->state(), detail, m_portal->trigger());
}

} // namespace vantrel::platform
