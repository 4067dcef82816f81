#include "Replay.h"

#include "CommandLine.h"
#include "LineReader.h"
#include "StateJson.h"

#include "VantrelCore/Runner.h"

#include <string>
#include <string_view>
#include <vector>

namespace vantrel::sim {

namespace {

constexpr std::size_t maxLineLength = 4096;

std::vector<std::string_view> splitWords(std::string_view line) {
    std::vector<std::string_view> words;
    std::size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) {
            ++i;
        }
        const std::size_t start = i;
        while (i < line.size() && line[i] != ' ' && line[i] != '\t') {
            ++i;
        }
        if (i > start) {
            words.push_back(line.substr(start, i - start));
        }
    }
    return words;
}

// Applies one command; returns an error text, or an empty string on success.
std::string apply(Runner& runner, const std::vector<std::string_view>& words, std::string& out) {
    const std::string_view command = words[0];
    const std::size_t arguments = words.size() - 1;
    auto noArguments = [&](auto action) -> std::string {
        if (arguments != 0) {
            return "'" + std::string(command) + "' takes no argument";
        }
        action();
        return {};
    };

    if (command == "act") {
        return noArguments([&] { runner.act(); });
    }
    if (command == "release") {
        return noArguments([&] { runner.releaseJump(); });
    }
    if (command == "pause") {
        return noArguments([&] { runner.pause(); });
    }
    if (command == "reset") {
        return noArguments([&] { runner.reset(); });
    }
    if (command == "start") {
        return noArguments([&] { runner.start(); });
    }
    if (command == "state") {
        return noArguments([&] {
            appendStateJson(out, runner);
            out += '\n';
        });
    }
    if (command == "duck") {
        if (arguments != 1 || (words[1] != "0" && words[1] != "1")) {
            return "'duck' takes 1 or 0";
        }
        runner.setDucking(words[1] == "1");
        return {};
    }
    if (command == "advance") {
        const std::optional<double> delta = arguments == 1 ? parseDouble(words[1]) : std::nullopt;
        if (!delta) {
            return "'advance' takes one decimal number of seconds";
        }
        runner.advance(*delta);
        return {};
    }
    if (command == "width") {
        const std::optional<double> width = arguments == 1 ? parseWorldWidth(words[1]) : std::nullopt;
        if (!width) {
            return "'width' takes a number of points greater than 0 and at most 100000";
        }
        runner.setWorldWidth(*width);
        return {};
    }
    return "unknown command (expected act, release, pause, reset, start, duck, advance, width or state)";
}

} // namespace

int runReplay(std::FILE* in, std::FILE* out, std::FILE* err, const ReplayOptions& options) {
    Runner runner(options.seed);
    runner.setWorldWidth(options.width);

    LineReader reader(in, maxLineLength);
    std::string line;
    std::string output;
    int status = 0;
    for (;;) {
        const LineReader::Status read = reader.next(line);
        if (read == LineReader::Status::end) {
            break;
        }
        if (read == LineReader::Status::tooLong) {
            std::fprintf(err, "vantrel-sim: line %ld: line is longer than %zu characters: '%s'\n",
                         reader.lineNumber(), maxLineLength, printable(line).c_str());
            status = 2;
            break;
        }
        const std::vector<std::string_view> words = splitWords(line);
        if (words.empty() || words[0].front() == '#') {
            continue;
        }
        const std::string problem = apply(runner, words, output);
        if (!problem.empty()) {
            std::fprintf(err, "vantrel-sim: line %ld: %s: '%s'\n", reader.lineNumber(), problem.c_str(),
                         printable(line).c_str());
            status = 2;
            break;
        }
        if (output.size() > (1u << 16)) {
            std::fwrite(output.data(), 1, output.size(), out);
            output.clear();
        }
    }
    std::fwrite(output.data(), 1, output.size(), out);
    if (std::fflush(out) != 0 && status == 0) {
        std::fprintf(err, "vantrel-sim: cannot write the output\n");
        status = 1;
    }
    return status;
}

} // namespace vantrel::sim
