#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace vantrel {

// The game's sound effects. The store raises them; the audio layer plays them.
enum class ArcadeCue { jump, duck, milestone, record, crash };

inline constexpr std::array<ArcadeCue, 5> allArcadeCues = {
    ArcadeCue::jump, ArcadeCue::duck, ArcadeCue::milestone, ArcadeCue::record, ArcadeCue::crash};

std::string_view toString(ArcadeCue cue);
std::optional<ArcadeCue> arcadeCueFromString(std::string_view name);

} // namespace vantrel
