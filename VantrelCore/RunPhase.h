#pragma once

#include <optional>
#include <string_view>

namespace vantrel {

enum class RunPhase { ready, running, paused, over };

std::string_view toString(RunPhase phase);
std::optional<RunPhase> runPhaseFromString(std::string_view raw);

} // namespace vantrel
