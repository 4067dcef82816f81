// vantrel-sim: a headless driver of the game core, for replays, bug reports
// and demonstration runs.
#include "BotCommand.h"
#include "CommandLine.h"
#include "Replay.h"
#include "WavCommand.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

using namespace vantrel::sim;

namespace {

const char* const usage = "usage: vantrel-sim replay [--seed N] [--width W] < COMMANDS\n"
                          "       vantrel-sim bot (--seed N | --seeds FIRST..LAST) [--minutes M]\n"
                          "       vantrel-sim wav CUE [-o FILE]\n"
                          "\n"
                          "Commands, one a line (blank lines and lines starting with # are skipped):\n"
                          "  act | release | pause | reset | start | state\n"
                          "  duck 1 | duck 0 | advance SECONDS | width POINTS\n"
                          "\n"
                          "bot: the autopilot plays each run at 60 frames a second until it crashes\n"
                          "or M minutes of game time (default 10) have passed.\n"
                          "\n"
                          "wav writes a sound cue (jump, duck, milestone, record, crash) as a WAV file\n"
                          "to FILE or standard output.\n";

int usageError(const std::string& message) {
    std::fprintf(stderr, "vantrel-sim: %s\n%s", message.c_str(), usage);
    return 2;
}

int replayMain(int argc, char** argv) {
    ReplayOptions options;
    for (int i = 2; i < argc; ++i) {
        const std::string_view option = argv[i];
        if ((option == "--seed" || option == "--width") && i + 1 < argc) {
            const std::string_view value = argv[++i];
            if (option == "--seed") {
                const auto seed = parseUnsigned(value);
                if (!seed) {
                    return usageError("--seed takes a whole number from 0 to 18446744073709551615, not '" +
                                      printable(value) + "'");
                }
                options.seed = *seed;
            } else {
                const auto width = parseWorldWidth(value);
                if (!width) {
                    return usageError("--width takes a number greater than 0 and at most 100000, not '" +
                                      printable(value) + "'");
                }
                options.width = *width;
            }
        } else {
            return usageError("unexpected argument '" + printable(option) + "'");
        }
    }
    return runReplay(stdin, stdout, stderr, options);
}

int botMain(int argc, char** argv) {
    const std::vector<std::string_view> args(argv + 2, argv + argc);
    const auto parsed = parseBotOptions(args);
    if (const auto* error = std::get_if<std::string>(&parsed)) {
        return usageError(*error);
    }
    return runBot(std::get<BotOptions>(parsed), stdout);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        return usageError("missing command");
    }
    const std::string_view command = argv[1];
    if (command == "--help" || command == "-h" || command == "help") {
        std::fputs(usage, stdout);
        return 0;
    }
    if (command == "replay") {
        return replayMain(argc, argv);
    }
    if (command == "bot") {
        return botMain(argc, argv);
    }
    if (command == "wav") {
        const std::vector<std::string_view> args(argv + 2, argv + argc);
        return runWav(args, stdout, stderr);
    }
    return usageError("unknown command '" + printable(command) + "'");
}
