#include "Vantrel/AutopilotDriver.h"

#include "Vantrel/GameStore.h"
#include "Vantrel/Logging.h"

namespace vantrel {

AutopilotDriver::AutopilotDriver(GameStore& store, const Clock& clock) : m_store(store), m_clock(clock) {}

AutopilotDriver::~AutopilotDriver() = default;

void AutopilotDriver::turnOn() {
    m_autopilot = std::make_unique<Autopilot>();
}

void AutopilotDriver::turnOff() {
    m_autopilot.reset();
    m_restart.reset();
    m_restartDeadline.reset();
}

void AutopilotDriver::takeTheRun() {
    if (m_autopilot && m_store.runner().phase() != RunPhase::running) {
        pressAct();
    }
}

bool AutopilotDriver::playerInput() {
    if (m_steering || !m_autopilot) {
        return false;
    }
    turnOff();
    return true;
}

void AutopilotDriver::pressAct() {
    m_steering = true;
    m_store.act();
    m_steering = false;
}

void AutopilotDriver::steer() {
    if (!m_autopilot || m_store.runner().phase() != RunPhase::running) {
        return;
    }
    m_steering = true;
    m_autopilot->applyTo(m_store, m_autopilot->decide(m_store.runner()));
    m_steering = false;
}

void AutopilotDriver::runCrashed() {
    if (!m_autopilot) {
        return;
    }
    // A line per demonstration run, for whoever measures the demo.
    qCDebug(lcShell) << "demo: run over at" << m_store.runner().score() << "points after"
                     << m_store.runner().elapsed() << "s";
    m_restartDeadline = m_clock.now() + restartSeconds;
    m_restart = m_clock.alarmAt(*m_restartDeadline, [this] { restart(); });
}

void AutopilotDriver::restart() {
    // The alarm handle stays until the next crash or turnOff(): it is the
    // caller of this function.
    m_restartDeadline.reset();
    if (m_autopilot && m_store.runner().phase() == RunPhase::over) {
        m_autopilot->reset();
        pressAct();
    }
}

} // namespace vantrel
