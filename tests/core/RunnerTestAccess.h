#pragma once

#include "VantrelCore/Runner.h"

namespace vantrel {

// Reaches into a Runner so a test can set up a state (a high score, a given
// velocity) directly instead of playing for minutes to get there.
struct RunnerTestAccess {
    static void setPhase(Runner& r, RunPhase phase) { r.m_phase = phase; }
    static void setDistance(Runner& r, double distance) { r.m_distance = distance; }
    static void setElapsed(Runner& r, double elapsed) { r.m_elapsed = elapsed; }
    static void setHeight(Runner& r, double height) { r.m_height = height; }
    static void setResumeGrace(Runner& r, double seconds) { r.m_resumeGrace = seconds; }
    static void setDownHeld(Runner& r, bool held) { r.m_downHeld = held; }
    static void setVelocity(Runner& r, double velocity) { r.m_velocity = velocity; }
    static void setRandomState(Runner& r, uint64_t state) { r.m_randomState = state; }
    static void clearObstacles(Runner& r) { r.m_obstacles.clear(); }
    static void addObstacle(Runner& r, const Obstacle& o) { r.m_obstacles.push_back(o); }
    static void spawn(Runner& r) { r.spawn(); }
    static double nextRandom(Runner& r) { return r.nextRandom(); }
};

// The generator's next draw from a given state, computed independently of Runner.
inline double drawFrom(uint64_t& state) {
    state = state * 0x5851F42D4C957F2DULL + 1;
    return static_cast<double>(state >> 33) / 2147483647.0;
}

} // namespace vantrel
