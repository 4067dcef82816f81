#include "VantrelCore/Autopilot.h"

#include "VantrelCore/PlanSearch.h"

#include <algorithm>

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

bool Autopilot::planStillHolds(const Runner& runner) const {
    if (!m_planComplete || m_next >= m_plan.size()) {
        return false; // a stopgap is replaced as soon as possible
    }
    for (const Obstacle& o : runner.obstacles()) {
        if (o.id > m_newestKnownID && inSight(runner, o)) {
            return false;
        }
    }
    const PlanStep& step = m_plan[m_next];
    return step.elapsed == runner.elapsed() && step.height == runner.height() &&
           step.velocity == runner.velocity();
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
