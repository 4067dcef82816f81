#pragma once

namespace vantrel {

// Monotonic seconds for game, hover and animation time. Never the wall clock:
// it must not jump when the user changes the date.
class Clock {
public:
    virtual ~Clock() = default;
    virtual double now() const = 0;
};

// The system's steady clock, in seconds since an arbitrary start.
class SteadyClock final : public Clock {
public:
    double now() const override;
};

// A clock that only moves when told to; tests drive time with it instead of sleeping.
class ManualClock final : public Clock {
public:
    explicit ManualClock(double start = 1000) : m_now(start) {}
    double now() const override { return m_now; }
    void advance(double seconds) { m_now += seconds; }
    void set(double seconds) { m_now = seconds; }

private:
    double m_now;
};

} // namespace vantrel
