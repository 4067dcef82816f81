#include "VantrelCore/ScoreCelebrations.h"

#include "VantrelCore/CheckedMath.h"

namespace vantrel {

std::vector<ScoreAward> ScoreCelebrations::update(int64_t score) {
    std::vector<ScoreAward> awards;
    const int64_t hundred = score / 100;
    if (hundred > m_lastHundred) {
        // Every hundred crossed since the last reading, none skipped.
        for (int64_t k = checkedAdd(m_lastHundred, 1); k <= hundred; ++k) {
            awards.push_back(ScoreAward::milestone(checkedMul(k, 100)));
        }
        m_lastHundred = hundred;
    }
    // Without a real best yet, only a score of 100 counts as a record.
    const int64_t threshold = m_previousBest >= 1 ? checkedAdd(m_previousBest, 1) : 100;
    if (score >= threshold && !m_celebratedBest) {
        awards.push_back(ScoreAward::newBest());
        m_celebratedBest = true;
    }
    return awards;
}

} // namespace vantrel
