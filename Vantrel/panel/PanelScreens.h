#pragma once

#include "Vantrel/panel/PanelGeometry.h"

#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QScreen>

#include <optional>

namespace vantrel {

namespace platform {
class ScreenNotch;
} // namespace platform

// Which screen the panel hangs from, and word when the set of screens or their
// geometry changed. Screens come and go in bursts (a monitor added changes the
// others' geometry too), so a burst is reported once, after Qt has finished
// updating its screen list.
class PanelScreens : public QObject {
    Q_OBJECT

public:
    explicit PanelScreens(const platform::ScreenNotch& notches, QObject* parent = nullptr);

    // Chooses the screen under `pointer` (global, device-independent); without a
    // pointer, or off every screen, the current one stays; without a current one
    // (it was unplugged) the primary screen takes over.
    void select(std::optional<QPointF> pointer);
    QScreen* selected() const { return m_selected; }
    // The panel's measurements on the selected screen; empty without any screen.
    std::optional<PanelGeometry> geometry() const;

    // No more reports, also none of a burst already under way.
    void stop();

signals:
    // Screens were added or removed, the primary screen changed, or a screen's
    // geometry or available area changed: once per burst.
    void changed();

private:
    void watch(QScreen* screen);
    void schedule();

    const platform::ScreenNotch& m_notches;
    QPointer<QScreen> m_selected;
    bool m_pending = false;
    bool m_stopped = false;
};

} // namespace vantrel
