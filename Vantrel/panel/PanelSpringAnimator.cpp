#include "Vantrel/panel/PanelSpringAnimator.h"

#include "Vantrel/Clock.h"
#include "Vantrel/Logging.h"

#include <QWidget>

#include <algorithm>
#include <cmath>

namespace vantrel {

PanelSpringAnimator::PanelSpringAnimator(const Clock& clock, QObject* parent)
    : QObject(parent), m_clock(clock) {
    m_frameTimer.setTimerType(Qt::PreciseTimer);
    m_frameTimer.setInterval(8); // ms; about 120 frames a second, each measuring its own step
    connect(&m_frameTimer, &QTimer::timeout, this, &PanelSpringAnimator::tick);
}

void PanelSpringAnimator::move(QWidget* panel, const QRectF& target, bool animated,
                               std::function<void()> completion) {
    m_completion = std::move(completion);
    m_panel = panel;
    m_target = target;

    if (!animated || m_reduceMotion) {
        std::function<void()> done = std::move(m_completion);
        stop();
        apply(target);
        if (done) {
            done();
        }
        return;
    }

    if (!running()) {
        // Seed from where the panel really is: frames set behind our back count.
        QRect frame = panel != nullptr ? panel->geometry() : QRect();
        m_width = DampedSpring(frame.width());
        m_height = DampedSpring(frame.height());
    }
    m_response = target.height() > m_height.value() ? openingResponse : closingResponse;
    m_width.setTarget(target.width());
    m_height.setTarget(target.height());
    if (running()) {
        return; // the running clock carries on towards the new targets
    }
    m_previousTime = m_clock.now();
    m_frameTimer.start();
}

void PanelSpringAnimator::stop() {
    m_frameTimer.stop();
    m_completion = nullptr;
}

void PanelSpringAnimator::tick() {
    if (m_panel.isNull()) {
        stop();
        return;
    }
    double now = m_clock.now();
    double dt = std::min(now - m_previousTime, maxStep);
    m_previousTime = now;
    m_width.advance(dt, m_response);
    m_height.advance(dt, m_response);

    // Origin from the unfloored values, so the top edge and centre never move; size floored at 1.
    apply(QRectF(m_target.center().x() - m_width.value() / 2, m_target.top(), std::max(m_width.value(), 1.0),
                 std::max(m_height.value(), 1.0)));

    if (m_width.settled() && m_height.settled()) {
        apply(m_target);
        qCDebug(lcPanel) << "spring settled at" << m_target;
        std::function<void()> done = std::move(m_completion);
        stop();
        if (done) {
            done();
        }
    }
}

void PanelSpringAnimator::apply(const QRectF& frame) {
    if (m_panel.isNull()) {
        return;
    }
    // Whole pixels: round the edges, not the size, so a centred frame stays centred.
    int left = static_cast<int>(std::lround(frame.left()));
    int right = static_cast<int>(std::lround(frame.right()));
    int top = static_cast<int>(std::lround(frame.top()));
    int bottom = static_cast<int>(std::lround(frame.bottom()));
    m_panel->setGeometry(QRect(left, top, std::max(right - left, 1), std::max(bottom - top, 1)));
    emit frameApplied();
}

} // namespace vantrel
