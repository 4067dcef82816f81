#pragma once

#include "Vantrel/Clock.h"

#include "VantrelCore/Autopilot.h"

#include <memory>
#include <optional>

namespace vantrel {

class GameStore;

// Watch mode: an Autopilot plays the store's run through the store's own
// input operations, as a player's keys would. It steers once per frame, starts
// a new run a short look after a crash (timed on the injected clock), and
// gives way to any input of the player's. The store owns the driver, asks it
// to steer and tells it of crashes; the driver only presses keys.
class AutopilotDriver {
public:
    // How long a crash stays on show before the next run starts (seconds).
    static constexpr double restartSeconds = 1.5;

    // `store` and `clock` must outlive the driver.
    AutopilotDriver(GameStore& store, const Clock& clock);
    ~AutopilotDriver();
    AutopilotDriver(const AutopilotDriver&) = delete;
    AutopilotDriver& operator=(const AutopilotDriver&) = delete;

    bool on() const { return m_autopilot != nullptr; }
    // A fresh autopilot takes the keys. It does not start a run by itself: see takeTheRun().
    void turnOn();
    // Drops the autopilot and a pending restart.
    void turnOff();
    // Starts or resumes a run for the autopilot to play, unless one is running.
    void takeTheRun();

    // True while the driver's own key presses reach the store, so that the
    // store does not take them for the player's.
    bool steering() const { return m_steering; }
    // The player pressed something: watch mode ends, unless the press is the
    // driver's own. Returns true when it ended.
    bool playerInput();

    // Presses the keys for the coming frame; the store calls it before each frame.
    void steer();
    // The run has just ended in a crash: a new one follows restartSeconds later.
    void runCrashed();
    // When the pending restart is due (seconds on the clock), if one is.
    std::optional<double> restartDeadline() const { return m_restartDeadline; }

private:
    void restart();
    void pressAct();

    GameStore& m_store;
    const Clock& m_clock;
    std::unique_ptr<Autopilot> m_autopilot;
    bool m_steering = false;
    std::unique_ptr<Clock::Alarm> m_restart;
    std::optional<double> m_restartDeadline;
};

} // namespace vantrel
