#pragma once

#include "VantrelCore/HoverIntent.h"

#include <QObject>
#include <QPointF>
#include <QRectF>
#include <QTimer>

#include <optional>

namespace vantrel::platform {
class DesktopPointer;
} // namespace vantrel::platform

namespace vantrel {

class Clock;

// Watches the pointer anywhere on the desktop, classifies it against the
// trigger and retention rectangles, feeds the result into a HoverIntent and
// reports when the peek tab should appear or disappear. Event-driven: while
// the pointer rests, the only thing that can run is one timer set for the
// intent's deadline; while disabled, the desktop pointer is not even watched.
class NotchHoverMonitor : public QObject {
    Q_OBJECT

public:
    NotchHoverMonitor(platform::DesktopPointer& pointer, const Clock& clock, QObject* parent = nullptr);

    QRectF triggerRect() const { return m_triggerRect; }
    QRectF retentionRect() const { return m_retentionRect; }
    void setTriggerRect(const QRectF& rect) { m_triggerRect = rect; }
    void setRetentionRect(const QRectF& rect) { m_retentionRect = rect; }

    bool enabled() const { return m_enabled; }
    void setEnabled(bool enabled);

    void start();
    void stop();
    // After the playfield closes with the pointer still under the notch: no new
    // peek until the pointer has been outside once.
    void suppressUntilExit();
    void reset();

    // One pointer sample: position in Qt's global coordinates, and whether a button is held.
    void handlePointer(QPointF position, bool buttonsPressed);

    const HoverIntent& intent() const { return m_intent; }
    bool deadlineTimerActive() const { return m_timer.isActive(); }
    std::optional<double> scheduledDeadline() const { return m_scheduledDeadline; }

signals:
    void visibilityChanged(bool visible);

private:
    void pointerChanged();
    void deadlineReached();
    void scheduleDeadline();
    void cancelTimer();
    void resetWith(void (HoverIntent::*step)());
    void updatePointerActivity();

    platform::DesktopPointer& m_pointer;
    const Clock& m_clock;
    QRectF m_triggerRect;
    QRectF m_retentionRect;
    bool m_enabled = true;
    bool m_started = false;
    HoverIntent m_intent;
    QTimer m_timer;
    std::optional<double> m_scheduledDeadline;
};

} // namespace vantrel
