#pragma once

#include "VantrelCore/Autopilot.h"
#include "VantrelCore/Obstacle.h"
#include "VantrelCore/Runner.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace vantrel {

// The autopilot's planner. Depth-first search over key sequences, one obstacle
// at a time: get past the nearest obstacle on the ground if possible, else with
// the latest take-off that clears it and the earliest fast fall after it, then
// on to the next one; back up and try the next option when a later obstacle
// cannot be passed. Every option is played out on a copy of the runner, one
// frame of Autopilot::frameTime at a time, within a budget of frames per plan.
class PlanSearch {
public:
    // Plans from `runner` with the keys `held` now. Obstacles with an id above
    // `newestKnownID` have not come into sight and are left out.
    PlanSearch(const Runner& runner, Controls held, int64_t newestKnownID);

    // The plan past every obstacle in sight; failing that, the line that
    // survives longest, with `found` false.
    std::vector<Autopilot::PlanStep> run(bool& found);

    std::size_t framesSimulated() const { return m_frames; }

private:
    using PlanStep = Autopilot::PlanStep;

    struct Node {
        Runner runner;
        Controls held;
        std::vector<PlanStep> path; // frames since the start of the current search level
    };

    enum class Outcome {
        found,      // a plan past every known obstacle
        stuckLater, // got past the obstacle in question, but not past a later one
        blocked,    // could not get past the obstacle in question
    };

    // A jump's arc from some point in the air, without a fast fall.
    struct Arc {
        std::vector<Node> before; // before[k]: the state before frame k of the arc
        Node end;                 // on the ground, or where it crashed
        bool crashed = false;
    };

    // What one arc (jump held or let go) left for the options after it.
    enum class ArcResult {
        tryNext,     // the next option may still do better
        nothingElse, // the arc ran into the low obstacle in question; lower arcs cannot clear it
        outOfBudget, // the frame budget is spent
    };

    static bool airborne(const Runner& r) { return r.height() > 0; }

    bool play(Node& node, Controls controls);
    void noteCrash(const Node& node);

    bool known(const Obstacle& o) const { return o.id <= m_newestKnownID; }
    const Obstacle* nearestAhead(const Runner& r) const;
    static const Obstacle* find(const Runner& r, int64_t id);
    static bool passed(const Runner& r, int64_t id);

    bool descend(const Node& reached);
    bool fromGround(const Node& start);
    bool fullJumpClears(const Node& ground, int64_t id);

    // From the air: keep holding jump or let go now, with or without a fast
    // fall, down to the ground. With `mustPass` >= 0 only landings beyond that
    // obstacle count.
    Outcome fromAir(const Node& start, int64_t mustPass);

    // The steps of fromAir, in the order it takes them.
    std::optional<Node> keepFallingFast(const Node& start);
    ArcResult landingsFromArc(const Node& start, bool hold, int64_t mustPass,
                              const std::optional<Obstacle>& target, std::vector<Node>& landings);
    Arc playArc(const Node& start, bool hold);
    std::optional<Node> fallFrom(const Node& from, bool hold);
    std::optional<Node> fallClearing(const Node& from, bool hold, int64_t id);
    std::optional<Node> quickestWayDown(const Arc& arc, bool hold, const std::optional<Obstacle>& target);
    std::optional<Node> latestClearingFall(const Arc& arc, bool hold, int64_t id);
    std::optional<Node> earliestClearingFall(const Arc& arc, bool hold, int64_t id);
    Outcome descendFromLandings(std::vector<Node>& landings);

    int64_t m_newestKnownID;
    Node m_root{Runner(), {}, {}};
    std::size_t m_frames = 0;
    std::vector<const std::vector<PlanStep>*> m_ancestors;
    std::vector<std::vector<PlanStep>> m_found; // segments of the plan, the last one first
    std::vector<PlanStep> m_longestSurvival;
};

} // namespace vantrel
