#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace vantrel {

// Monotonic seconds for game, hover and animation time. Never the wall clock:
// it must not jump when the user changes the date.
//
// Anything that waits for a moment (a delay that decides behaviour, not a
// frame rate) asks the clock for an alarm, so tests move time on by hand
// instead of sleeping through it.
class Clock {
public:
    // A pending call from alarmAt(). Destroying it cancels the call; after the
    // call it does nothing, and may be destroyed from inside the call.
    class Alarm {
    public:
        virtual ~Alarm() = default;
    };

    virtual ~Clock() = default;
    virtual double now() const = 0;
    // Calls `fire` once, when now() reads `deadline` (seconds on this clock)
    // or later. A deadline already passed fires at the next chance, never
    // inside this call.
    [[nodiscard]] virtual std::unique_ptr<Alarm> alarmAt(double deadline,
                                                         std::function<void()> fire) const = 0;
};

// The system's steady clock, in seconds since an arbitrary start. Its alarms
// fire from the event loop of the thread that set them.
class SteadyClock final : public Clock {
public:
    double now() const override;
    std::unique_ptr<Alarm> alarmAt(double deadline, std::function<void()> fire) const override;
};

// A clock that only moves when told to; tests drive time with it instead of
// sleeping. Its alarms fire inside advance() and set(), earliest deadline
// first, each while the clock reads its deadline.
class ManualClock final : public Clock {
public:
    explicit ManualClock(double start = 1000) : m_now(start) {}
    double now() const override { return m_now; }
    std::unique_ptr<Alarm> alarmAt(double deadline, std::function<void()> fire) const override;
    void advance(double seconds) { set(m_now + seconds); }
    void set(double seconds);
    // Alarms set and neither fired nor cancelled.
    std::size_t pendingAlarms() const;

private:
    struct Pending {
        double deadline;
        std::function<void()> fire;
    };
    class Handle;

    double m_now;
    // Each alarm's handle owns its entry; a cancelled one leaves an expired pointer here.
    mutable std::vector<std::weak_ptr<Pending>> m_alarms;
};

} // namespace vantrel
