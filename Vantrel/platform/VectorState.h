#pragma once

#include <optional>

namespace vantrel::platform {

// Parts of Qt's raster engine (its AVX2 fills, run on every paint) return with the
// upper halves of the YMM registers still in use. Until something clears them, many
// Intel processors make each legacy SSE instruction wait on those halves, and code
// that alternates with libm's VEX-encoded sin and exp runs an order of magnitude
// slower: rendering the sound cues took 65 ms instead of 5 after a paint. Clearing
// costs one instruction; call this before number-heavy work on the GUI thread.
// Does nothing on processors without AVX.
void clearUpperVectorState();

// Whether the upper halves are in use right now; empty where the processor cannot tell.
std::optional<bool> upperVectorStateInUse();

} // namespace vantrel::platform
