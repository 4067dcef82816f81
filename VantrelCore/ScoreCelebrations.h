#pragma once

#include <cstdint>
#include <vector>

namespace vantrel {

// A reward due during a run: a further hundred passed, or the run's new best.
struct ScoreAward {
    enum class Kind { milestone, newBest };

    Kind kind = Kind::milestone;
    int64_t hundred = 0; // the multiple of 100 reached; 0 for newBest

    static ScoreAward milestone(int64_t value) { return {Kind::milestone, value}; }
    static ScoreAward newBest() { return {Kind::newBest, 0}; }

    friend bool operator==(const ScoreAward&, const ScoreAward&) = default;
};

// Decides, from a stream of score readings, which awards are due, never the
// same one twice. One value per run, made with the best score at its start.
class ScoreCelebrations {
public:
    explicit ScoreCelebrations(int64_t previousBest = 0) : m_previousBest(previousBest) {}

    int64_t previousBest() const { return m_previousBest; }

    // Milestones come first in ascending order, newBest last. A reading that
    // awards nothing returns an empty vector, which allocates nothing.
    std::vector<ScoreAward> update(int64_t score);

    friend bool operator==(const ScoreCelebrations&, const ScoreCelebrations&) = default;

private:
    int64_t m_previousBest = 0;
    int64_t m_lastHundred = 0;
    bool m_celebratedBest = false;
};

} // namespace vantrel
