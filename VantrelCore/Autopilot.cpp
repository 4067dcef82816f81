#include "VantrelCore/Autopilot.h"

#include "VantrelCore/PlanSearch.h"

#include <algorithm>
#include <cmath>

namespace vantrel {

namespace {

// Obstacles spawn just beyond the right edge of the runway; a player sees
// one once its left edge is on screen.
bool inSight(const Runner& runner, const Obstacle& o) {
    return o.x < runner.worldWidth();
}

} // namespace

Controls Autopilot::decide(const Runner& runner) {
    if (runner.phase() != RunPhase::running) {
        m_plan.clear();
        m_next = 0;
        return {};
    }
    // The runner lets go of down on its own when it pauses.
    m_held.down = runner.downHeld();
    if (!planStillHolds(runner)) {
        plan(runner);
    }
    if (m_next >= m_plan.size()) {
        return {};
    }
    return m_plan[m_next++].controls;
}

// An owner on a real clock advances by frames that are not quite frameTime
// long, so the runner is never exactly where the plan expected it. Comparing
// exactly would plan again on every frame, which costs far more than playing;
// instead the plan is followed by time: the step nearest the runner's clock,
// as long as the runner is close to where that step expects it. The slack
// kept around take-offs and falls covers the difference.
bool Autopilot::planStillHolds(const Runner& runner) {
    if (!m_planComplete || m_next >= m_plan.size()) {
        return false; // a stopgap is replaced as soon as possible
    }
    for (const Obstacle& o : runner.obstacles()) {
        if (o.id > m_newestKnownID && inSight(runner, o)) {
            return false;
        }
    }
    // Frames of exactly frameTime meet the steps exactly and never move the index.
    std::size_t nearest = m_next;
    const auto offBy = [&runner](const PlanStep& step) { return std::abs(step.elapsed - runner.elapsed()); };
    while (nearest + 1 < m_plan.size() && offBy(m_plan[nearest + 1]) < offBy(m_plan[nearest])) {
        ++nearest;
    }
    while (nearest > 0 && offBy(m_plan[nearest - 1]) < offBy(m_plan[nearest])) {
        --nearest;
    }
    const PlanStep& step = m_plan[nearest];
    const double lead = runner.elapsed() - step.elapsed;
    if (std::abs(lead) > frameTime / 2) {
        return false;
    }
    // Where the step's state would be after `lead` more seconds of free flight.
    const bool flying = step.height > 0 || step.velocity != 0;
    const double height = flying ? step.height + step.velocity * lead - Runner::gravity * lead * lead / 2 : 0;
    const double velocity = flying ? step.velocity - Runner::gravity * lead : 0;
    if (std::abs(runner.height() - std::max(height, 0.0)) > heightTolerance ||
        std::abs(runner.velocity() - velocity) > velocityTolerance) {
        return false;
    }
    m_next = nearest;
    return true;
}

void Autopilot::plan(const Runner& runner) {
    m_newestKnownID = -1;
    for (const Obstacle& o : runner.obstacles()) {
        if (inSight(runner, o)) {
            m_newestKnownID = std::max(m_newestKnownID, o.id);
        }
    }
    PlanSearch search(runner, m_held, m_newestKnownID);
    m_plan = search.run(m_planComplete);
    m_next = 0;
    ++m_plansMade;
    m_framesSimulated += search.framesSimulated();
}

void Autopilot::reset() {
    m_held = {};
    m_plan.clear();
    m_next = 0;
    m_newestKnownID = -1;
    m_planComplete = false;
}

const Obstacle* Autopilot::obstacleHit(const Runner& runner) {
    const RectList player = runner.playerCollisionBoxes();
    for (const Obstacle& o : runner.obstacles()) {
        for (const Rect& box : o.collisionBoxes()) {
            for (const Rect& part : player) {
                if (box.intersects(part)) {
                    return &o;
                }
            }
        }
    }
    // A runner that crashed while ducking reports its standing boxes once
    // the run is over; fall back to what overlaps its stretch of the runway.
    const double left = Runner::dinoX;
    const double right = Runner::dinoX + Runner::duckWidth;
    for (const Obstacle& o : runner.obstacles()) {
        if (o.x < right && o.x + o.width > left) {
            return &o;
        }
    }
    return nullptr;
}

} // namespace vantrel
