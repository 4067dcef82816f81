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
    m_wanted = true;
    QString portalError;
    const bool asked = m_portal->grab(&portalError);
    follow();
    if (!asked) {
        *error = detail();
    }
    return asked;
}

void WaylandHotKey::release() {
    m_wanted = false;
    holdGrab(false);
    m_portal->release();
}

void WaylandHotKey::holdGrab(bool hold) {
    if (!m_xwayland || hold == m_grabbed) {
        return;
    }
    if (hold) {
        m_grabError.clear();
        m_grabbed = m_xwayland->grab(&m_grabError);
    } else {
        m_xwayland->release();
        m_grabbed = false;
    }
}

void WaylandHotKey::follow() {
    // Once the portal has bound it, the compositor takes the key before any
    // window sees it, and the user may have picked another trigger in its
    // dialog: the grab would only fire a second time or on the wrong keys.
    const State state = m_portal->state();
    holdGrab(m_wanted && state != State::active);
    QString detail = m_portal->detail();
    if (state != State::active && m_xwayland && m_wanted) {
        detail += m_grabbed
                      ? QStringLiteral("; the XWayland key grab fires only while an X11 window has focus")
                      : QStringLiteral("; no XWayland key grab either (%1)").arg(m_grabError);
    }
    setState(state, detail, m_portal->trigger());
}

} // namespace vantrel::platform
