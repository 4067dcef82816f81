#pragma once

#include "VantrelCore/Runner.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vantrel {

// The keys a player holds down during one frame.
struct Controls {
    bool jump = false; // Space / Up
    bool down = false; // Down: duck on the ground, fast fall in the air

    friend bool operator==(const Controls&, const Controls&) = default;
};

// A demonstration player. It looks at a Runner the way a player looks at the
// screen (phase, height, velocity, speed, the obstacles in sight, whether the
// down key took effect) and answers with the keys to hold for the next frame.
// It touches the runner only through apply(), which presses and releases keys
// the way a keyboard does.
//
// It plans on copies of the runner: a copy shows what the player's keys will
// do against the obstacles already in sight. A copy would also spawn the
// obstacles that come next, which no player can know, so every copy gets a
// runway so wide that its spawns land far out of reach; an obstacle that has
// spawned but is not yet in sight (its left edge still beyond worldWidth) is
// left out of the plan, which ends once the runner is past the obstacles in
// sight and back on the ground. A new obstacle coming into sight, or a runner
// that no longer matches the plan, makes it plan again.
//
// Plans assume frames of frameTime. Where there is room it keeps two frames of
// slack (takes off, ducks and falls a little before or after the last possible
// moment), so an owner whose frames vary somewhat in length is still in time:
// such an owner is followed by its clock, and a runner that strays from the
// plan further than that makes it plan again.
class Autopilot {
public:
    static constexpr double frameTime = 1.0 / 60; // seconds

    // The keys to hold during the next frame. Outside a running run the
    // answer is "nothing held"; starting a run is up to the owner.
    Controls decide(const Runner& runner);

    // Presses and releases keys on `runner` to go from the keys held now to
    // `next`: act() when jump goes down, releaseJump() when it comes up,
    // setDucking() when down changes. Nothing happens for keys that stay put,
    // so a jump pressed in `ready` or `over` starts a run, as a key would.
    void apply(Runner& runner, Controls next) { applyTo(runner, next); }

    // The same for anything with the runner's input operations (act,
    // releaseJump, setDucking), such as the application's game store.
    template <typename Keys> void applyTo(Keys& keys, Controls next) {
        press(keys, m_held, next);
        m_held = next;
    }

    // Presses and releases the keys that differ between `from` and `to`.
    // Down first: letting go of down and pressing jump in one frame must jump.
    template <typename Keys> static void press(Keys& keys, Controls from, Controls to) {
        if (to.down != from.down) {
            keys.setDucking(to.down);
        }
        if (to.jump != from.jump) {
            if (to.jump) {
                keys.act();
            } else {
                keys.releaseJump();
            }
        }
    }

    Controls held() const { return m_held; }

    // Forgets the plan and lets go of every key (without telling the runner).
    void reset();

    // The obstacle a runner in phase `over` ran into: the first whose hit
    // boxes meet the player's, else the first overlapping the player's
    // stretch of the runway. Null if there is none.
    static const Obstacle* obstacleHit(const Runner& runner);

    // One planned frame, with the state the runner is expected to show just
    // before it; the plan is followed only while the runner matches.
    struct PlanStep {
        Controls controls;
        double elapsed = 0;
        double height = 0;
        double velocity = 0;
    };

    // Statistics for benchmarks and tests.
    std::size_t plansMade() const { return m_plansMade; }
    std::size_t framesSimulated() const { return m_framesSimulated; }

private:
    // How far the runner may stray from the plan before it plans again: a
    // point up or down, and the speed a fast fall adds in a few milliseconds.
    static constexpr double heightTolerance = 1;    // points
    static constexpr double velocityTolerance = 30; // points/s

    bool planStillHolds(const Runner& runner);
    void plan(const Runner& runner);

    Controls m_held;
    std::vector<PlanStep> m_plan;
    std::size_t m_next = 0;
    bool m_planComplete = false; // false: the plan is a stopgap that does not clear everything in sight
    int64_t m_newestKnownID = -1;
    std::size_t m_plansMade = 0;
    std::size_t m_framesSimulated = 0;
};

} // namespace vantrel
