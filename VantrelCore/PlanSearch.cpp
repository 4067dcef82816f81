#include "VantrelCore/PlanSearch.h"

#include <algorithm>

namespace vantrel {

namespace {

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

// Cacti and low flyers stand in the way from the ground up: a higher runner
// is never worse off against them.
bool rootedLow(const Obstacle& o) {
    return o.kind == ObstacleKind::cactus || o.elevation < Runner::duckHeight;
}

bool behind(const Obstacle& o) {
    return o.x + o.width < Runner::dinoX;
}

} // namespace

PlanSearch::PlanSearch(const Runner& runner, Controls held, int64_t newestKnownID)
    : m_newestKnownID(newestKnownID) {
    Runner copy = runner;
    copy.setWorldWidth(std::max(unseenDistance, 1000 * runner.worldWidth()));
    m_root = Node{std::move(copy), held, {}};
}

std::vector<Autopilot::PlanStep> PlanSearch::run(bool& found) {
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

// Plays one frame on a node. False when the runner crashed (or the budget
// is spent, which ends the search the same way).
bool PlanSearch::play(Node& node, Controls controls) {
    if (m_frames >= frameBudget) {
        return false;
    }
    ++m_frames;
    node.path.push_back({controls, node.runner.elapsed(), node.runner.height(), node.runner.velocity()});
    Autopilot::press(node.runner, node.held, controls);
    node.held = controls;
    node.runner.advance(Autopilot::frameTime);
    if (node.runner.phase() == RunPhase::running) {
        return true;
    }
    noteCrash(node);
    return false;
}

// Remembers the line that survived longest, the fallback when nothing clears.
void PlanSearch::noteCrash(const Node& node) {
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

const Obstacle* PlanSearch::nearestAhead(const Runner& r) const {
    for (const Obstacle& o : r.obstacles()) {
        if (known(o) && !behind(o)) {
            return &o;
        }
    }
    return nullptr;
}

const Obstacle* PlanSearch::find(const Runner& r, int64_t id) {
    for (const Obstacle& o : r.obstacles()) {
        if (o.id == id) {
            return &o;
        }
    }
    return nullptr;
}

bool PlanSearch::passed(const Runner& r, int64_t id) {
    const Obstacle* o = find(r, id);
    return o == nullptr || behind(*o);
}

// Continues the search from a state reached by this level: one level down,
// starting on the ground.
bool PlanSearch::descend(const Node& reached) {
    m_ancestors.push_back(&reached.path);
    Node fresh{reached.runner, reached.held, {}};
    const bool found = fromGround(fresh);
    m_ancestors.pop_back();
    if (found) {
        m_found.push_back(reached.path);
    }
    return found;
}

bool PlanSearch::fromGround(const Node& start) {
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
bool PlanSearch::fullJumpClears(const Node& ground, int64_t id) {
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

PlanSearch::Outcome PlanSearch::fromAir(const Node& start, int64_t mustPass) {
    const Obstacle* targetNow = mustPass >= 0 ? find(start.runner, mustPass) : nearestAhead(start.runner);
    std::optional<Obstacle> target; // a copy: the runner it points into moves on
    if (targetNow != nullptr) {
        target = *targetNow;
    }
    auto meetsGoal = [&](const Node& n) { return mustPass < 0 || passed(n.runner, mustPass); };

    std::vector<Node> landings;
    if (start.held.down) {
        // Already falling fast: keep at it, as a player would.
        std::optional<Node> n = keepFallingFast(start);
        if (n && meetsGoal(*n)) {
            landings.push_back(std::move(*n));
        }
    }
    for (const bool hold : {true, false}) {
        if (hold && !start.held.jump) {
            continue;
        }
        const ArcResult result = landingsFromArc(start, hold, mustPass, target, landings);
        if (result == ArcResult::outOfBudget) {
            return Outcome::blocked;
        }
        if (result == ArcResult::nothingElse) {
            break;
        }
    }
    return descendFromLandings(landings);
}

// Holds down (and jump as it is) to the ground. Nothing if the runner crashes
// or the stretch runs too long.
std::optional<PlanSearch::Node> PlanSearch::keepFallingFast(const Node& start) {
    Node n = start;
    bool clear = true;
    while (clear && airborne(n.runner)) {
        clear = n.path.size() < longestStretch && play(n, {start.held.jump, true});
    }
    if (!clear) {
        return std::nullopt;
    }
    return n;
}

// The landings of one arc, jump held or let go: the arc itself, the quickest
// way down, and the fast fall that clears the obstacle in question.
PlanSearch::ArcResult PlanSearch::landingsFromArc(const Node& start, bool hold, int64_t mustPass,
                                                  const std::optional<Obstacle>& target,
                                                  std::vector<Node>& landings) {
    Arc arc = playArc(start, hold);
    if (m_frames >= frameBudget) {
        return ArcResult::outOfBudget;
    }
    if (!arc.crashed && (mustPass < 0 || passed(arc.end.runner, mustPass))) {
        landings.push_back(arc.end);
    }
    if (arc.before.empty()) {
        return ArcResult::tryNext;
    }
    if (mustPass < 0) {
        if (std::optional<Node> n = quickestWayDown(arc, hold, target)) {
            landings.push_back(std::move(*n));
        }
    }
    if (!target) {
        return ArcResult::tryNext;
    }
    const Obstacle* hit = arc.crashed ? Autopilot::obstacleHit(arc.end.runner) : nullptr;
    if (hit != nullptr && hit->id == target->id && rootedLow(*hit)) {
        // This arc runs into the obstacle; falling sooner or letting go of
        // jump only brings the runner lower. Nothing after it clears it.
        return ArcResult::nothingElse;
    }
    std::optional<Node> clearing = rootedLow(*target) && !arc.crashed
                                       ? latestClearingFall(arc, hold, target->id)
                                       : earliestClearingFall(arc, hold, target->id);
    if (clearing) {
        landings.push_back(std::move(*clearing));
    }
    return ArcResult::tryNext;
}

PlanSearch::Arc PlanSearch::playArc(const Node& start, bool hold) {
    Arc arc{{}, start, false};
    while (airborne(arc.end.runner)) {
        arc.before.push_back(arc.end);
        if (arc.before.size() > longestStretch || !play(arc.end, {hold, false})) {
            arc.crashed = true;
            break;
        }
    }
    return arc;
}

// A fast fall pressed in state `from`, held to the ground.
std::optional<PlanSearch::Node> PlanSearch::fallFrom(const Node& from, bool hold) {
    Node n = from;
    while (airborne(n.runner)) {
        if (n.path.size() > longestStretch || !play(n, {hold, true})) {
            return std::nullopt;
        }
    }
    return n;
}

// The same, counted only if it lands beyond obstacle `id`.
std::optional<PlanSearch::Node> PlanSearch::fallClearing(const Node& from, bool hold, int64_t id) {
    std::optional<Node> n = fallFrom(from, hold);
    if (n && !passed(n->runner, id)) {
        return std::nullopt;
    }
    return n;
}

// The quickest way down. With an obstacle ahead only if the runner would
// still come down short of it when falling a little later: touching down just
// in front of it or grazing its edge leaves no room for frames that run long.
std::optional<PlanSearch::Node> PlanSearch::quickestWayDown(const Arc& arc, bool hold,
                                                            const std::optional<Obstacle>& target) {
    std::optional<Node> n = fallFrom(arc.before[0], hold);
    if (n && target) {
        const std::size_t later = std::min<std::size_t>(slack, arc.before.size() - 1);
        const std::optional<Node> fallLater = fallFrom(arc.before[later], hold);
        if (!fallLater || passed(fallLater->runner, target->id) || passed(n->runner, target->id)) {
            n.reset();
        }
    }
    return n;
}

// Against a low obstacle falling later keeps the runner higher, so the frames
// of the arc whose fall clears it form a tail: find where it starts, then
// fall `slack` frames later than that if that clears too.
std::optional<PlanSearch::Node> PlanSearch::latestClearingFall(const Arc& arc, bool hold, int64_t id) {
    const std::size_t frames = arc.before.size();
    std::optional<Node> best = fallClearing(arc.before[frames - 1], hold, id);
    if (!best) {
        return std::nullopt;
    }
    std::size_t lo = 0;
    std::size_t hi = frames - 1;
    while (lo < hi) {
        const std::size_t mid = (lo + hi) / 2;
        if (std::optional<Node> n = fallClearing(arc.before[mid], hold, id)) {
            best = std::move(n);
            hi = mid;
        } else {
            lo = mid + 1;
        }
    }
    if (lo + slack < frames) {
        if (std::optional<Node> later = fallClearing(arc.before[lo + slack], hold, id)) {
            best = std::move(later);
        }
    }
    return best;
}

// Any other obstacle: the earliest frame whose fall clears it, then `slack`
// frames later than that if that clears too.
std::optional<PlanSearch::Node> PlanSearch::earliestClearingFall(const Arc& arc, bool hold, int64_t id) {
    const std::size_t frames = arc.before.size();
    for (std::size_t at = 0; at < frames; ++at) {
        if (std::optional<Node> n = fallClearing(arc.before[at], hold, id)) {
            if (at + slack < frames) {
                if (std::optional<Node> later = fallClearing(arc.before[at + slack], hold, id)) {
                    n = std::move(later);
                }
            }
            return n;
        }
    }
    return std::nullopt;
}

// Goes on from the landings, the earliest first.
PlanSearch::Outcome PlanSearch::descendFromLandings(std::vector<Node>& landings) {
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

} // namespace vantrel
