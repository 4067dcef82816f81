#include "BotCommand.h"

#include "CommandLine.h"

#include "VantrelCore/Autopilot.h"

#include <cmath>
#include <optional>

namespace vantrel::sim {

namespace {

constexpr double longestMinutes = 1440;  // a day of game time per run
constexpr uint64_t mostRuns = 1'000'000; // per table

std::string formatNumber(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

std::optional<std::pair<uint64_t, uint64_t>> parseSeedRange(std::string_view text) {
    const std::size_t dots = text.find("..");
    if (dots == std::string_view::npos) {
        return std::nullopt;
    }
    const auto first = parseUnsigned(text.substr(0, dots));
    const auto last = parseUnsigned(text.substr(dots + 2));
    if (!first || !last) {
        return std::nullopt;
    }
    return std::pair{*first, *last};
}

} // namespace

std::variant<BotOptions, std::string> parseBotOptions(const std::vector<std::string_view>& args) {
    BotOptions options;
    bool seedGiven = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string_view option = args[i];
        if (option != "--seed" && option != "--seeds" && option != "--minutes") {
            return "unexpected argument '" + printable(option) + "'";
        }
        if (i + 1 >= args.size()) {
            return std::string(option) + " needs a value";
        }
        const std::string_view value = args[++i];
        if (option == "--minutes") {
            const auto minutes = parseDouble(value);
            if (!minutes || !std::isfinite(*minutes) || *minutes <= 0 || *minutes > longestMinutes) {
                return "--minutes takes a number of minutes greater than 0 and at most " +
                       formatNumber(longestMinutes) + ", not '" + printable(value) + "'";
            }
            options.minutes = *minutes;
            continue;
        }
        if (seedGiven) {
            return "give one --seed or one --seeds, not both or twice";
        }
        seedGiven = true;
        if (option == "--seed") {
            const auto seed = parseUnsigned(value);
            if (!seed) {
                return "--seed takes a whole number from 0 to 18446744073709551615, not '" +
                       printable(value) + "'";
            }
            options.firstSeed = options.lastSeed = *seed;
            options.table = false;
        } else {
            const auto range = parseSeedRange(value);
            if (!range || range->first > range->second) {
                return "--seeds takes a range FIRST..LAST of whole numbers with FIRST <= LAST, not '" +
                       printable(value) + "'";
            }
            if (range->second - range->first >= mostRuns) {
                return "--seeds covers at most " + std::to_string(mostRuns) + " runs";
            }
            options.firstSeed = range->first;
            options.lastSeed = range->second;
            options.table = true;
        }
    }
    if (!seedGiven) {
        return "bot needs --seed N or --seeds FIRST..LAST";
    }
    return options;
}

std::string describeCrash(const Runner& runner) {
    const Obstacle* hit = Autopilot::obstacleHit(runner);
    if (hit == nullptr) {
        return "crash";
    }
    if (hit->kind == ObstacleKind::pterodactyl) {
        return "crash: pterodactyl at elevation " + formatNumber(hit->elevation);
    }
    return "crash: cactus " + formatNumber(hit->width) + " wide, " + formatNumber(hit->height) + " high";
}

BotRun playBotRun(uint64_t seed, double minutes) {
    const auto frames = std::max<int64_t>(std::llround(minutes * 3600), 1);
    Runner runner(seed);
    Autopilot pilot;
    pilot.apply(runner, {true, false}); // the first press starts the run and jumps
    for (int64_t frame = 0; frame < frames && runner.phase() == RunPhase::running; ++frame) {
        pilot.apply(runner, pilot.decide(runner));
        runner.advance(Autopilot::frameTime);
    }
    BotRun run;
    run.seed = seed;
    run.score = runner.score();
    run.elapsed = runner.elapsed();
    run.survived = runner.phase() == RunPhase::running;
    run.end = run.survived ? "survived" : describeCrash(runner);
    return run;
}

int runBot(const BotOptions& options, std::FILE* out) {
    if (!options.table) {
        const BotRun run = playBotRun(options.firstSeed, options.minutes);
        std::fprintf(out, "seed: %llu\nscore: %lld\ntime: %.2f s\nend: %s\n",
                     static_cast<unsigned long long>(run.seed), static_cast<long long>(run.score),
                     run.elapsed, run.end.c_str());
        return 0;
    }
    std::fprintf(out, "%-20s %10s %10s  %s\n", "seed", "score", "time (s)", "end");
    uint64_t runs = 0;
    uint64_t survived = 0;
    double scoreSum = 0;
    for (uint64_t seed = options.firstSeed;; ++seed) {
        const BotRun run = playBotRun(seed, options.minutes);
        std::fprintf(out, "%-20llu %10lld %10.2f  %s\n", static_cast<unsigned long long>(run.seed),
                     static_cast<long long>(run.score), run.elapsed, run.end.c_str());
        std::fflush(out);
        ++runs;
        survived += run.survived ? 1 : 0;
        scoreSum += static_cast<double>(run.score);
        if (seed == options.lastSeed) {
            break;
        }
    }
    std::fprintf(out, "runs %llu, survived %llu, mean score %.1f\n", static_cast<unsigned long long>(runs),
                 static_cast<unsigned long long>(survived), scoreSum / static_cast<double>(runs));
    return 0;
}

} // namespace vantrel::sim
