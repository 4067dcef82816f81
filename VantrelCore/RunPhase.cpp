#include "VantrelCore/RunPhase.h"

namespace vantrel {

std::string_view toString(RunPhase phase) {
    switch (phase) {
    case RunPhase::ready:
        return "ready";
    case RunPhase::running:
        return "running";
    case RunPhase::paused:
        return "paused";
    case RunPhase::over:
        return "over";
    }
    return "ready";
}

std::optional<RunPhase> runPhaseFromString(std::string_view raw) {
    for (RunPhase phase : {RunPhase::ready, RunPhase::running, RunPhase::paused, RunPhase::over}) {
        if (toString(phase) == raw) {
            return phase;
        }
    }
    return std::nullopt;
}

} // namespace vantrel
