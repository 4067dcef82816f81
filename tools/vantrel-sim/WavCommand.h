#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <string_view>

namespace vantrel::sim {

// `vantrel-sim wav CUE [-o FILE]`: writes the cue's WAV image to FILE, or to
// `out` without -o. `args` are the words after "wav". Returns the exit status:
// 0, 1 when the output cannot be written (no partial file is left behind), or
// 2 for a bad command line (unknown cue, missing or extra arguments).
int runWav(std::span<const std::string_view> args, std::FILE* out, std::FILE* err);

// Writes `bytes` to `path` through a temporary file in the same folder that is
// renamed into place, so readers see the old file or the whole new one and a
// failed write leaves nothing behind. An existing symbolic link is followed; an
// existing device or pipe (/dev/null, a FIFO) is written directly, never replaced.
// Returns an empty string on success, else the reason.
std::string writeFileAtomically(const std::string& path, std::span<const uint8_t> bytes);

} // namespace vantrel::sim
