#pragma once

#include <optional>

namespace vantrel {

// Decides from pointer regions and times whether the peek tab under the notch
// should show. Two delays keep it calm: the pointer must rest in the trigger
// area for 0.25 s before the peek appears (so a pointer passing by on its way
// to the top bar does not pop it), and the peek lingers 0.2 s after the
// pointer leaves (so a brief slip does not make it flicker).
//
// Nothing happens by itself when a deadline passes: the owner calls update()
// again at `deadline`.
class HoverIntent {
public:
    enum class Phase { hidden, waiting, revealed, leaving, suppressed };
    // trigger: may open the peek; lip: keeps an open peek open; outside: neither.
    enum class Region { trigger, lip, outside };

    static constexpr double revealDelay = 0.25; // seconds
    static constexpr double hideDelay = 0.2;    // seconds

    Phase phase() const { return m_phase; }
    // Only set while waiting or leaving: when the pending delay runs out.
    std::optional<double> deadline() const { return m_deadline; }
    bool isVisible() const { return m_phase == Phase::revealed || m_phase == Phase::leaving; }

    void update(Region region, double now);
    // After the panel closes under a resting pointer: no new peek until the
    // pointer has been outside once.
    void suppressUntilExit();
    void reset();

    friend bool operator==(const HoverIntent&, const HoverIntent&) = default;

private:
    bool expired(double now) const { return m_deadline.value_or(now) <= now; }
    void moveTo(Phase phase, std::optional<double> deadline = std::nullopt);

    Phase m_phase = Phase::hidden;
    std::optional<double> m_deadline;
};

} // namespace vantrel
