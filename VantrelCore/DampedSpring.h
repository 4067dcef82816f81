#pragma once

namespace vantrel {

// A critically damped spring: `value` follows `target` without overshoot and
// keeps its velocity when the target moves, so a retargeted motion never jumps.
class DampedSpring {
public:
    explicit DampedSpring(double value = 0) : m_value(value), m_target(value) {}

    double value() const { return m_value; }
    double velocity() const { return m_velocity; } // units per second
    double target() const { return m_target; }
    void setTarget(double target) { m_target = target; }

    // Close enough to stop animating: within 0.1 of the target and slower than 1 unit/s.
    bool settled() const;

    // Moves forward by exactly dt seconds. `response` is the period of the
    // undamped spring in seconds (at least 0.05).
    void advance(double dt, double response);

    friend bool operator==(const DampedSpring&, const DampedSpring&) = default;

private:
    double m_value;
    double m_velocity = 0;
    double m_target;
};

} // namespace vantrel
