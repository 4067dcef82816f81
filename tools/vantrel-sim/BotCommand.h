#pragma once

#include "VantrelCore/Runner.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vantrel::sim {

struct BotOptions {
    uint64_t firstSeed = 1;
    uint64_t lastSeed = 1;
    bool table = false;  // --seeds A..B: one row per run and a summary
    double minutes = 10; // of game time per run
};

struct BotRun {
    uint64_t seed = 0;
    int64_t score = 0;
    double elapsed = 0; // seconds of game time
    bool survived = false;
    std::string end; // "survived" or "crash: ..."
};

// Reads the arguments that follow "bot"; a text says what is wrong with them.
std::variant<BotOptions, std::string> parseBotOptions(const std::vector<std::string_view>& args);

// One run played by the autopilot at 60 frames a second: a jump press starts
// it, and it ends at a crash or after `minutes` of game time.
BotRun playBotRun(uint64_t seed, double minutes);

// What ended a run that is over, e.g. "crash: pterodactyl at elevation 6".
std::string describeCrash(const Runner& runner);

// Plays every run of `options` and prints the result; returns the exit status.
int runBot(const BotOptions& options, std::FILE* out);

} // namespace vantrel::sim
