#include "Vantrel/panel/NotchHoverMonitor.h"

#include "Vantrel/Clock.h"
#include "Vantrel/platform/DesktopPointer.h"

#include <algorithm>
#include <cmath>

namespace vantrel {

NotchHoverMonitor::NotchHoverMonitor(platform::DesktopPointer& pointer, const Clock& clock, QObject* parent)
    : QObject(parent), m_pointer(pointer), m_clock(clock) {
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &NotchHoverMonitor::deadlineReached);
    connect(&m_pointer, &platform::DesktopPointer::changed, this, &NotchHoverMonitor::pointerChanged);
}

void NotchHoverMonitor::start() {
    m_started = true;
    updatePointerActivity();
}

void NotchHoverMonitor::stop() {
    reset();
    m_started = false;
    updatePointerActivity();
}

// The desktop pointer is watched only while someone can use what it tells.
void NotchHoverMonitor::updatePointerActivity() {
    m_pointer.setActive(m_started && m_enabled);
}

void NotchHoverMonitor::setEnabled(bool enabled) {
    m_enabled = enabled;
    if (!enabled) {
        reset();
    }
    updatePointerActivity();
}

void NotchHoverMonitor::suppressUntilExit() {
    resetWith(&HoverIntent::suppressUntilExit);
    // Where no event may come until the pointer enters the trigger area again, look now:
    // a pointer already outside ends the suppression, as a move outside would.
    if (m_pointer.positionIsLive() && m_pointer.isActive()) {
        pointerChanged();
    }
}

void NotchHoverMonitor::reset() {
    resetWith(&HoverIntent::reset);
}

void NotchHoverMonitor::resetWith(void (HoverIntent::*step)()) {
    bool wasVisible = m_intent.isVisible();
    (m_intent.*step)();
    cancelTimer();
    if (wasVisible) {
        emit visibilityChanged(false);
    }
}

void NotchHoverMonitor::pointerChanged() {
    handlePointer(m_pointer.position(), m_pointer.buttonsPressed());
}

void NotchHoverMonitor::handlePointer(QPointF position, bool buttonsPressed) {
    if (!m_enabled) {
        return;
    }
    bool wasVisible = m_intent.isVisible();
    HoverIntent::Region region = HoverIntent::Region::outside;
    // Dragging a window or a selection across the notch must not make it peek;
    // a peek that is already out stays while a button is pressed in it.
    if (!buttonsPressed || wasVisible) {
        if (m_triggerRect.contains(position)) {
            region = HoverIntent::Region::trigger;
        } else if (m_retentionRect.contains(position)) {
            region = HoverIntent::Region::lip;
        }
    }
    m_intent.update(region, m_clock.now());
    if (m_intent.isVisible() != wasVisible) {
        emit visibilityChanged(m_intent.isVisible());
    }
    scheduleDeadline();
}

void NotchHoverMonitor::deadlineReached() {
    m_scheduledDeadline.reset();
    pointerChanged();
}

void NotchHoverMonitor::scheduleDeadline() {
    if (m_intent.deadline() == m_scheduledDeadline) {
        return; // the right timer, or none, is already in place
    }
    cancelTimer();
    if (std::optional<double> deadline = m_intent.deadline()) {
        m_scheduledDeadline = deadline;
        // Round up to whole milliseconds so the timer never fires before the deadline.
        double ms = std::ceil((*deadline - m_clock.now()) * 1000.0);
        m_timer.start(static_cast<int>(std::clamp(ms, 1.0, 60000.0)));
    }
}

void NotchHoverMonitor::cancelTimer() {
    m_timer.stop();
    m_scheduledDeadline.reset();
}

} // namespace vantrel
