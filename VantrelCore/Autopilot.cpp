#include "VantrelCore/Autopilot.h"

#include <algorithm>
#include <optional>

namespace vantrel {

namespace {

using PlanStep = Autopilot::PlanStep;

// The planner's copies get a runway at least this wide, so the obstacles they spawn
// appear millions of points away and never meet the runner within a plan.
constexpr double unseenDistance = 1e7; // points

constexpr std::size_t longestStretch = 240; // frames (4 s) any one simulated stretch may last
constexpr int jumpLead = 45;                // frames before a collision in which take-offs are tried
constexpr int clearingJumpsTried = 3;       // take-off frames that clear an obstacle, tried before giving up
constexpr std::size_t frameBudget = 30000;  // simulated frames per plan (about 8 ms)

// Frames of slack kept where there is room: take off, duck and let go of a
// fast fall this many frames earlier or later than the last possible moment,
// so that an owner whose frames are not exactly 1/60 s long is still in time.
constexpr int slack = 2;

void press(Runner& runner, Controls from, Controls to) {
    // Down first: letting go of down and pressing jump in one frame must jump.
    if (to.down != from.down) {
        runner.setDucking(to.down);
    }
    if (to.jump != from.jump) {
        if (to.jump) {
            runner.act();
        } else {
            runner.releaseJump();
        }
    }
}

// Cacti and low flyers stand in the way from the ground up: a higher runner
// is never worse off against them.
bool rootedLow(const Obstacle& o) {
    return o.kind == ObstacleKind::cactus || o.elevation < Runner::duckHeight;
}

// Obstacles spawn just beyond the right edge of the runway; a player sees
// one once its left edge is on screen.
bool inSight(const Runner& runner, const Obstacle& o) {
    return o.x < runner.worldWidth();
}

bool behind(const Obstacle& o) {
    return o.x + o.width < Runner::dinoX;
}

// Depth-first search over key sequences, one obstacle at a time: get past the
// nearest obstacle on the ground if possible, else with the latest take-off
// that clears it and the earliest fast fall after it, then on to the next one;
// back up and try the next option when a later obstacle cannot be passed.
class PlanSearch {
public:
    PlanSearch(const Runner& runner, Controls held, int64_t newestKnownID) : m_newestKnownID(newestKnownID) {
        Runner copy = runner;
        copy.setWorldWidth(std::max(unseenDistance, 1000 * runner.worldWidth()));
        m_root = Node{std::move(copy), held, {}};
    }

    // The plan past every obstacle in sight; failing that, the line that
    // survives longest, with `found` false.
    std::vector<PlanStep> run(bool& found) {
        found = airborne(m_root.runner) ? fromAir(m_root, -1) == Outcome::found : fromGround(m_root);
        if (!found) {
            return m_longestSurvival;
        }
        std::vector<PlanStep> plan;
        for (auto it = m_found.rbegin(); it != m_found.rend(); ++it) {
            plan.insert(plan.end(), it->begin(), it->end());
        }
        return plan;
    }

    std::size_t framesSimulated() const { return m_frames; }

private:
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

    static bool airborne(const Runner& r) { return r.height() > 0; }

    // Plays one frame on a node. False when the runner crashed (or the budget
    // is spent, which ends the search the same way).
    bool play(Node& node, Controls controls) {
        if (m_frames >= frameBudget) {
            return false;
        }
        ++m_frames;
        node.path.push_back({controls, node.runner.elapsed(), node.runner.height(), node.runner.velocity()});
        press(node.runner, node.held, controls);
        node.held = controls;
        node.runner.advance(Autopilot::frameTime);
        if (node.runner.phase() == RunPhase::running) {
            return true;
        }
        noteCrash(node);
        return false;
    }

    // Remembers the line that survived longest, the fallback when nothing clears.
    void noteCrash(const Node& node) {
        std::size_t length = node.path.size();
        for (const std::vector<PlanStep>* segment : m_ancestors) {
            length += segment->size();
        }
        if (length <= m_longestSurvival.size()) {
            return;
        }
        m_longestSurvival.clear();
        for (const std::vector<PlanStep>* segment : m_ancestors) {
            m_longestSurvival.insert(m_longestSurvival.end(), segment->begin(), segment->end());
        }
        m_longestSurvival.insert(m_longestSurvival.end(), node.path.begin(), node.path.end());
    }

    bool known(const Obstacle& o) const { return o.id <= m_newestKnownID; }

    const Obstacle* nearestAhead(const Runner& r) const {
        for (const Obstacle& o : r.obstacles()) {
            if (known(o) && !behind(o)) {
                return &o;
            }
        }
        return nullptr;
    }

    static const Obstacle* find(const Runner& r, int64_t id) {
        for (const Obstacle& o : r.obstacles()) {
            if (o.id == id) {
                return &o;
            }
        }
        return nullptr;
    }

    static bool passed(const Runner& r, int64_t id) {
        const Obstacle* o = find(r, id);
        return o == nullptr || behind(*o);
    }

    // Continues the search from a state reached by this level: one level down,
    // starting on the ground.
    bool descend(const Node& reached) {
        m_ancestors.push_back(&reached.path);
        Node fresh{reached.runner, reached.held, {}};
        const bool found = fromGround(fresh);
        m_ancestors.pop_back();
        if (found) {
            m_found.push_back(reached.path);
        }
        return found;
    }

    bool fromGround(const Node& start) {
        const Obstacle* ahead = nearestAhead(start.runner);
        if (ahead == nullptr) {
            return true;
        }
        const int64_t aheadID = ahead->id;

        // Run on, keys up, until past the obstacle or into something.
        std::vector<Node> before; // before[k]: the state before frame k of running on
        Node run = start;
        bool crashed = false;
        for (;;) {
            if (before.size() >= longestStretch) {
                return false;
            }
            before.push_back(run);
            if (!play(run, {})) {
                crashed = true;
                break;
            }
            if (passed(run.runner, aheadID)) {
                break;
            }
        }
        if (m_frames >= frameBudget) {
            return false;
        }
        if (!crashed && descend(run)) {
            return true;
        }
        const int last = static_cast<int>(before.size()) - 1; // the frame that crashed or got past
        const Obstacle* hitNow = crashed ? Autopilot::obstacleHit(run.runner) : nullptr;
        const Obstacle target = hitNow != nullptr ? *hitNow : *ahead;

        // Duck under a flyer, pressing down as late as possible.
        if (!rootedLow(target)) {
            // With slack first, so an owner whose frames run a little long is still in time.
            for (const int earlier : {slack, slack + 1, slack + 2, slack + 4, slack + 8, slack + 16, 1, 0}) {
                const int from = last - earlier;
                if (from < 0) {
                    continue;
                }
                Node duck = before[static_cast<std::size_t>(from)];
                bool clear = true;
                while (clear && !passed(duck.runner, target.id)) {
                    clear = duck.path.size() < longestStretch && play(duck, {false, true});
                }
                if (clear && descend(duck)) {
                    return true;
                }
            }
        }

        // Jump, taking off as late as possible but with slack first. For a
        // low obstacle the latest take-off that can clear it is the latest
        // whose full jump clears it.
        int latest = last;
        if (rootedLow(target)) {
            while (latest >= 0 && latest >= last - jumpLead &&
                   !fullJumpClears(before[static_cast<std::size_t>(latest)], target.id)) {
                --latest;
            }
            if (latest < 0 || latest < last - jumpLead || m_frames >= frameBudget) {
                return false;
            }
        }
        std::vector<int> takeOffs;
        for (int takeOff = latest - slack; takeOff >= 0 && takeOff >= last - jumpLead; --takeOff) {
            takeOffs.push_back(takeOff);
        }
        for (int takeOff = std::max(latest - slack + 1, 0); takeOff <= latest; ++takeOff) {
            takeOffs.push_back(takeOff);
        }
        int clearing = 0;
        for (const int takeOff : takeOffs) {
            const Node& ground = before[static_cast<std::size_t>(takeOff)];
            if (ground.held.jump) {
                continue; // the key must come up before it can be pressed again
            }
            Node jump = ground;
            if (!play(jump, {true, false}) || !airborne(jump.runner)) {
                continue; // crashed, or the press fell into the grace after a resume
            }
            const Outcome outcome = fromAir(jump, target.id);
            if (outcome == Outcome::found) {
                return true;
            }
            if (outcome == Outcome::stuckLater && ++clearing >= clearingJumpsTried) {
                break;
            }
            if (m_frames >= frameBudget) {
                return false;
            }
        }
        return false;
    }

    // Whether jumping now and holding the key gets past obstacle `id`.
    bool fullJumpClears(const Node& ground, int64_t id) {
        if (ground.held.jump) {
            return false;
        }
        Node jump = ground;
        Controls controls{true, false};
        while (!passed(jump.runner, id)) {
            if (jump.path.size() >= longestStretch || !play(jump, controls)) {
                return false;
            }
        }
        return true;
    }

    // From the air: keep holding jump or let go now, with or without a fast
    // fall, down to the ground. With `mustPass` >= 0 only landings beyond that
    // obstacle count.
    Outcome fromAir(const Node& start, int64_t mustPass) {
        std::vector<Node> landings;
        const Obstacle* targetNow = mustPass >= 0 ? find(start.runner, mustPass) : nearestAhead(start.runner);
        const bool hasTarget = targetNow != nullptr;
        const Obstacle target = hasTarget ? *targetNow : Obstacle{};
        auto meetsGoal = [&](const Node& n) { return mustPass < 0 || passed(n.runner, mustPass); };

        if (start.held.down) {
            // Already falling fast: keep at it, as a player would.
            Node n = start;
            bool clear = true;
            while (clear && airborne(n.runner)) {
                clear = n.path.size() < longestStretch && play(n, {start.held.jump, true});
            }
            if (clear && meetsGoal(n)) {
                landings.push_back(std::move(n));
            }
        }

        const bool holdOptions[2] = {true, false};
        for (const bool hold : holdOptions) {
            if (hold && !start.held.jump) {
                continue;
            }
            // The arc without a fast fall, frame by frame.
            std::vector<Node> before;
            Node arc = start;
            bool crashed = false;
            while (airborne(arc.runner)) {
                before.push_back(arc);
                if (before.size() > longestStretch || !play(arc, {hold, false})) {
                    crashed = true;
                    break;
                }
            }
            if (m_frames >= frameBudget) {
                return Outcome::blocked;
            }
            if (!crashed && meetsGoal(arc)) {
                landings.push_back(arc);
            }

            // Fast fall pressed before frame `at` of the arc, held to the ground.
            auto fall = [&](std::size_t at) -> std::optional<Node> {
                Node n = before[at];
                while (airborne(n.runner)) {
                    if (n.path.size() > longestStretch || !play(n, {hold, true})) {
                        return std::nullopt;
                    }
                }
                return n;
            };
            const std::size_t frames = before.size();
            if (frames == 0) {
                continue;
            }
            if (mustPass < 0) {
                // The quickest way down. With an obstacle ahead only if the
                // runner would still come down short of it when falling a
                // little later: touching down just in front of it or grazing
                // its edge leaves no room for frames that run long.
                std::optional<Node> n = fall(0);
                if (n && hasTarget) {
                    const std::optional<Node> later = fall(std::min<std::size_t>(slack, before.size() - 1));
                    if (!later || passed(later->runner, target.id) || passed(n->runner, target.id)) {
                        n.reset();
                    }
                }
                if (n) {
                    landings.push_back(std::move(*n));
                }
            }
            if (!hasTarget) {
                continue;
            }
            const int64_t targetID = target.id;
            const Obstacle* hit = crashed ? Autopilot::obstacleHit(arc.runner) : nullptr;
            if (hit != nullptr && hit->id == targetID && rootedLow(*hit)) {
                // This arc runs into the obstacle; falling sooner or letting go
                // of jump only brings the runner lower. Nothing here clears it.
                if (hold) {
                    break;
                }
                continue;
            }
            auto clears = [&](std::size_t at) -> std::optional<Node> {
                std::optional<Node> n = fall(at);
                if (n && !passed(n->runner, targetID)) {
                    return std::nullopt;
                }
                return n;
            };
            if (rootedLow(target) && !crashed) {
                // Falling later keeps the runner higher, so the frames whose
                // fall clears a low obstacle form a tail: find where it starts.
                std::optional<Node> best = clears(frames - 1);
                if (!best) {
                    continue;
                }
                std::size_t lo = 0;
                std::size_t hi = frames - 1;
                while (lo < hi) {
                    const std::size_t mid = (lo + hi) / 2;
                    if (std::optional<Node> n = clears(mid)) {
                        best = std::move(n);
                        hi = mid;
                    } else {
                        lo = mid + 1;
                    }
                }
                if (lo + slack < frames) {
                    if (std::optional<Node> later = clears(lo + slack)) {
                        best = std::move(later);
                    }
                }
                landings.push_back(std::move(*best));
            } else {
                for (std::size_t at = 0; at < frames; ++at) {
                    if (std::optional<Node> n = clears(at)) {
                        if (at + slack < frames) {
                            if (std::optional<Node> later = clears(at + slack)) {
                                n = std::move(later);
                            }
                        }
                        landings.push_back(std::move(*n));
                        break;
                    }
                }
            }
        }
        if (landings.empty()) {
            return Outcome::blocked;
        }
        std::stable_sort(landings.begin(), landings.end(),
                         [](const Node& a, const Node& b) { return a.path.size() < b.path.size(); });
        for (const Node& landing : landings) {
            if (descend(landing)) {
                return Outcome::found;
            }
            if (m_frames >= frameBudget) {
                break;
            }
        }
        return Outcome::stuckLater;
    }

    int64_t m_newestKnownID;
    Node m_root{Runner(), {}, {}};
    std::size_t m_frames = 0;
    std::vector<const std::vector<PlanStep>*> m_ancestors;
    std::vector<std::vector<PlanStep>> m_found; // segments of the plan, the last one first
    std::vector<PlanStep> m_longestSurvival;
};

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

void Autopilot::apply(Runner& runner, Controls next) {
    press(runner, m_held, next);
    m_held = next;
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
