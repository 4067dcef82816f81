#include "VantrelCore/ArcadeCue.h"

namespace vantrel {

std::string_view toString(ArcadeCue cue) {
    switch (cue) {
    case ArcadeCue::jump:
        return "jump";
    case ArcadeCue::duck:
        return "duck";
    case ArcadeCue::milestone:
        return "milestone";
    case ArcadeCue::record:
        return "record";
    case ArcadeCue::crash:
        return "crash";
    }
    return "jump";
}

std::optional<ArcadeCue> arcadeCueFromString(std::string_view name) {
    for (ArcadeCue cue : allArcadeCues) {
        if (toString(cue) == name) {
            return cue;
        }
    }
    return std::nullopt;
}

} // namespace vantrel
