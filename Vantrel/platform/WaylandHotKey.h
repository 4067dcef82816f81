#pragma once

#include "Vantrel/platform/HotKey.h"

#include <memory>

namespace vantrel::platform {

// The shortcut on a Wayland session: the desktop's GlobalShortcuts portal, which
// reaches every window, together with an X11 key grab on XWayland where this
// program runs there, which fires only while an XWayland window has focus and is
// held only while the portal has not bound the shortcut. The state is the
// portal's: the grab alone is not a shortcut the user can rely on.
class WaylandHotKey final : public HotKey {
    Q_OBJECT

public:
    // `xwaylandGrab` may be null (Qt runs on Wayland itself, or no X11 backend is built).
    WaylandHotKey(std::unique_ptr<HotKey> portal, std::unique_ptr<HotKey> xwaylandGrab,
                  QObject* parent = nullptr);
    ~WaylandHotKey() override;

    bool grab(QString* error) override;
    void release() override;

    bool holdsXWaylandGrab() const { return m_grabbed; }

private:
    void follow();
    void holdGrab(bool hold);

    std::unique_ptr<HotKey> m_portal;
    std::unique_ptr<HotKey> m_xwayland;
    bool m_wanted = false; // between grab() and release()
    bool m_grabbed = false;
    QString m_grabError;
};

} // namespace vantrel::platform
