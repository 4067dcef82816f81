#pragma once

#include <cstdint>
#include <cstdio>

namespace vantrel::sim {

struct ReplayOptions {
    uint64_t seed = 1;
    double width = 440;
};

// Drives a Runner from one command per line of `in` and prints `state` lines
// to `out`. Returns the process exit status: 0, or 2 after the first bad line
// (reported on `err` with its line number).
int runReplay(std::FILE* in, std::FILE* out, std::FILE* err, const ReplayOptions& options);

} // namespace vantrel::sim
