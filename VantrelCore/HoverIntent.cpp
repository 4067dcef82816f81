#include "VantrelCore/HoverIntent.h"

namespace vantrel {

void HoverIntent::moveTo(Phase phase, std::optional<double> deadline) {
    m_phase = phase;
    m_deadline = deadline;
}

void HoverIntent::update(Region region, double now) {
    switch (m_phase) {
    case Phase::hidden:
        if (region == Region::trigger) {
            moveTo(Phase::waiting, now + revealDelay);
        }
        return;
    case Phase::waiting:
        // Only the small trigger area keeps the wait going; the wider lip
        // cancels it. Further trigger samples do not restart the delay.
        if (region != Region::trigger) {
            moveTo(Phase::hidden);
        } else if (expired(now)) {
            moveTo(Phase::revealed);
        }
        return;
    case Phase::revealed:
        if (region == Region::outside) {
            moveTo(Phase::leaving, now + hideDelay);
        }
        return;
    case Phase::leaving:
        if (region != Region::outside) {
            moveTo(Phase::revealed);
        } else if (expired(now)) {
            moveTo(Phase::hidden);
        }
        return;
    case Phase::suppressed:
        if (region == Region::outside) {
            moveTo(Phase::hidden);
        }
        return;
    }
}

void HoverIntent::suppressUntilExit() {
    moveTo(Phase::suppressed);
}

void HoverIntent::reset() {
    moveTo(Phase::hidden);
}

} // namespace vantrel
