#pragma once

#include "VantrelCore/Obstacle.h"
#include "VantrelCore/Rect.h"
#include "VantrelCore/RunPhase.h"

#include <cstdint>
#include <vector>

namespace vantrel {

// The whole state of one run and the only place where the game's rules live.
// A plain value: copy it to keep a snapshot. Advanced from outside by
// wall-clock deltas, in fixed sub-steps of 1/120 s.
//
// World coordinates: x in points along the runway, heights in points upward
// from the ground line, time in seconds.
class Runner {
public:
    // Shared with the drawing code.
    static constexpr double dinoX = 48;
    static constexpr double dinoWidth = 30;
    static constexpr double dinoHeight = 34;
    static constexpr double duckWidth = 42;
    static constexpr double duckHeight = 16;

    static constexpr double gravity = 1620;     // points/s^2
    static constexpr double jumpVelocity = 402; // points/s at take-off
    static constexpr double initialSpeed = 190; // points/s at elapsed 0
    static constexpr double maximumSpeed = 480; // points/s, reached after 290 / 2.6 s
    static constexpr double acceleration = 2.6; // points/s gained per second
    static constexpr int64_t flyingUnlockScore = 250;

    explicit Runner(uint64_t seed = 1);

    RunPhase phase() const { return m_phase; }
    double height() const { return m_height; }     // feet above the ground
    double velocity() const { return m_velocity; } // positive upward
    double elapsed() const { return m_elapsed; }   // running time, without pauses and resume grace
    double distance() const { return m_distance; }
    const std::vector<Obstacle>& obstacles() const { return m_obstacles; } // oldest (leftmost) first
    int64_t jumps() const { return m_jumps; }
    double resumeGrace() const { return m_resumeGrace; }
    bool downHeld() const { return m_downHeld; }
    int64_t flyersSpawned() const { return m_flyersSpawned; }

    // The width of the visible runway in world points; the owner matches it to
    // its view. Kept across start() and reset().
    double worldWidth() const { return m_worldWidth; }
    void setWorldWidth(double width) { m_worldWidth = width; }

    int64_t score() const { return scoreFor(m_distance); }
    double speed() const { return speedAt(m_elapsed); }
    double difficulty() const { return difficultyAt(m_elapsed); }
    int64_t speedLevel() const { return speedLevelAt(m_elapsed); }
    bool grounded() const { return m_height <= 0; }
    bool ducking() const { return m_downHeld && grounded() && m_phase == RunPhase::running; }
    RectList playerCollisionBoxes() const;

    // The rules behind the computed properties, as functions of distance or time.
    static int64_t scoreFor(double distance);
    static double speedAt(double elapsed);
    static double difficultyAt(double elapsed);
    static int64_t speedLevelAt(double elapsed);

    void start();
    void act();
    void releaseJump();
    void setDucking(bool down);
    void pause();
    void reset();
    void advance(double delta);

    // Bookkeeping of the rules, readable for tests and diagnostics; only the
    // runner's own operations change it.
    uint64_t randomState() const { return m_randomState; }
    int64_t nextID() const { return m_nextID; }
    double jumpBuffer() const { return m_jumpBuffer; }
    bool jumpReleased() const { return m_jumpReleased; }
    double nextGap() const { return m_nextGap; }
    int64_t consecutiveFlyers() const { return m_consecutiveFlyers; }

    // What one picture of a run shows. A tool that displays a prepared moment
    // (the snapshot tool) poses a runner instead of playing up to it.
    struct Pose {
        RunPhase phase = RunPhase::ready;
        double elapsed = 0;  // seconds
        double distance = 0; // points
        double height = 0;   // points above the ground
        bool downHeld = false;
        double resumeGrace = 0; // seconds
        std::vector<Obstacle> obstacles = {};
    };
    // A runner in `pose`; everything else is a fresh run's from `seed`.
    static Runner posed(const Pose& pose, uint64_t seed = 1);

    friend bool operator==(const Runner&, const Runner&) = default;

private:
    // Lets unit tests put a runner into states that take minutes of play to reach.
    friend struct RunnerTestAccess;

    void reinitialize(uint64_t seed);
    void tryJump();
    void takeOff();
    void step(double dt);
    void spawn();
    double nextRandom();

    RunPhase m_phase = RunPhase::ready;
    double m_height = 0;
    double m_velocity = 0;
    double m_elapsed = 0;
    double m_distance = 0;
    std::vector<Obstacle> m_obstacles;
    int64_t m_jumps = 0;
    double m_resumeGrace = 0;
    bool m_downHeld = false;
    int64_t m_flyersSpawned = 0;
    double m_worldWidth = 440;
    uint64_t m_randomState = 1;
    int64_t m_nextID = 1;
    double m_jumpBuffer = 0;
    bool m_jumpReleased = false;
    double m_nextGap = 250;
    int64_t m_consecutiveFlyers = 0;
};

} // namespace vantrel
