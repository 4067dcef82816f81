#include "Vantrel/Clock.h"

#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

namespace vantrel {

namespace {

// A QTimer set for the deadline. Timers may wake a little early, and whole
// milliseconds round the wait, so each wake-up asks the clock and waits
// again for whatever is left.
class SteadyAlarm final : public Clock::Alarm {
public:
    SteadyAlarm(const Clock& clock, double deadline, std::function<void()> fire)
        : m_clock(clock), m_deadline(deadline), m_fire(std::move(fire)) {
        m_timer.setSingleShot(true);
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { wake(); });
        arm();
    }

private:
    void arm() {
        // Rounded up to whole milliseconds so a wake-up is rarely early.
        const double ms = std::ceil((m_deadline - m_clock.now()) * 1000.0);
        m_timer.start(static_cast<int>(std::clamp(ms, 0.0, double(std::numeric_limits<int>::max()))));
    }

    void wake() {
        if (m_clock.now() < m_deadline) {
            arm();
            return;
        }
        // Moved out first: the call may destroy this alarm.
        std::function<void()> fire = std::move(m_fire);
        m_fire = nullptr;
        if (fire) {
            fire();
        }
    }

    const Clock& m_clock;
    double m_deadline;
    std::function<void()> m_fire;
    QTimer m_timer;
};

} // namespace

double SteadyClock::now() const {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

std::unique_ptr<Clock::Alarm> SteadyClock::alarmAt(double deadline, std::function<void()> fire) const {
    return std::make_unique<SteadyAlarm>(*this, deadline, std::move(fire));
}

class ManualClock::Handle final : public Clock::Alarm {
public:
    explicit Handle(std::shared_ptr<Pending> pending) : m_pending(std::move(pending)) {}

private:
    std::shared_ptr<Pending> m_pending;
};

std::unique_ptr<Clock::Alarm> ManualClock::alarmAt(double deadline, std::function<void()> fire) const {
    auto pending = std::make_shared<Pending>(Pending{deadline, std::move(fire)});
    m_alarms.push_back(pending);
    return std::make_unique<Handle>(std::move(pending));
}

void ManualClock::set(double seconds) {
    for (;;) {
        std::erase_if(m_alarms, [](const std::weak_ptr<Pending>& alarm) { return alarm.expired(); });
        auto due = std::min_element(m_alarms.begin(), m_alarms.end(),
                                    [](const std::weak_ptr<Pending>& a, const std::weak_ptr<Pending>& b) {
                                        return a.lock()->deadline < b.lock()->deadline;
                                    });
        if (due == m_alarms.end()) {
            break;
        }
        std::shared_ptr<Pending> pending = due->lock();
        if (pending->deadline > seconds) {
            break;
        }
        m_alarms.erase(due);
        // Time passes through the deadline; it never runs backwards for an alarm.
        m_now = std::max(m_now, pending->deadline);
        // Moved out first: the call may destroy its own handle, or set new alarms.
        std::function<void()> fire = std::move(pending->fire);
        pending->fire = nullptr;
        if (fire) {
            fire();
        }
    }
    m_now = seconds;
}

std::size_t ManualClock::pendingAlarms() const {
    return static_cast<std::size_t>(
        std::count_if(m_alarms.begin(), m_alarms.end(),
                      [](const std::weak_ptr<Pending>& alarm) { return !alarm.expired(); }));
}

} // namespace vantrel
