#include "BotCommand.h"
#include "ProcessRun.h"

#include "VantrelCore/Runner.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

using vantrel::testing::ProcessResult;
using vantrel::testing::runProcess;

namespace {

const std::string sim = VANTREL_SIM_PATH;

ProcessResult bot(const std::string& options) {
    return runProcess(sim + " bot " + options, "");
}

std::string field(const std::string& out, const std::string& key) {
    const std::regex line("(^|\n)" + key + ": ([^\n]*)");
    std::smatch match;
    return std::regex_search(out, match, line) ? match[2].str() : std::string("<missing " + key + ">");
}

} // namespace

TEST(SimBot, OneSeedPrintsScoreTimeAndEnd) {
    const ProcessResult r = bot("--seed 7 --minutes 1");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(field(r.out, "seed"), "7");
    EXPECT_EQ(field(r.out, "end"), "survived") << r.out;
    EXPECT_EQ(field(r.out, "time"), "60.00 s");
    // A minute of running covers 190 * 60 + 2.6 * 60^2 / 2 = 16080 points, 1340 score points.
    EXPECT_EQ(field(r.out, "score"), "1340");
}

TEST(SimBot, SameSeedSameOutput) {
    const ProcessResult a = bot("--seed 123 --minutes 0.5");
    const ProcessResult b = bot("--minutes 0.5 --seed 123");
    ASSERT_EQ(a.status, 0) << a.err;
    EXPECT_EQ(a.out, b.out);
}

TEST(SimBot, SeedRangePrintsATableAndASummary) {
    const ProcessResult r = bot("--seeds 4..6 --minutes 0.25");
    ASSERT_EQ(r.status, 0) << r.err;
    const std::regex row("(^|\n)([456]) +([0-9]+) +15\\.00  survived");
    std::size_t rows = 0;
    for (auto it = std::sregex_iterator(r.out.begin(), r.out.end(), row); it != std::sregex_iterator();
         ++it) {
        ++rows;
    }
    EXPECT_EQ(rows, 3u) << r.out;
    EXPECT_NE(r.out.find("runs 3, survived 3, mean score "), std::string::npos) << r.out;
    EXPECT_EQ(r.out.rfind("seed", 0), 0u) << "a header line comes first";
}

TEST(SimBot, BadArgumentsAreRefused) {
    for (const char* options : {"",
                                "--seed",
                                "--seed x",
                                "--seed -1",
                                "--seeds 5",
                                "--seeds 5..",
                                "--seeds ..5",
                                "--seeds 6..5",
                                "--seeds 1..2000000",
                                "--seed 1 --seeds 1..2",
                                "--seed 1 --seed 2",
                                "--seed 1 --minutes",
                                "--seed 1 --minutes 0",
                                "--seed 1 --minutes -2",
                                "--seed 1 --minutes nan",
                                "--seed 1 --minutes inf",
                                "--seed 1 --minutes 1e9",
                                "--seed 1 --minutes ten",
                                "--seed 1 --fast",
                                "--seed 1 extra"}) {
        const ProcessResult r = bot(options);
        EXPECT_EQ(r.status, 2) << options;
        EXPECT_NE(r.err.find("usage"), std::string::npos) << options << ": " << r.err;
        EXPECT_NE(r.err.find("vantrel-sim: "), std::string::npos) << options << ": " << r.err;
        EXPECT_EQ(r.out, "") << options;
    }
    const ProcessResult r = bot("--seed 1 --minutes ten");
    EXPECT_NE(r.err.find("'ten'"), std::string::npos) << r.err;
}

TEST(SimBot, CrashNamesTheObstacle) {
    // Nobody at the keys: the opening cactus ends the run.
    vantrel::Runner runner(5);
    runner.act();
    runner.releaseJump();
    for (int frame = 0; frame < 600 && runner.phase() == vantrel::RunPhase::running; ++frame) {
        runner.advance(1.0 / 60);
    }
    ASSERT_EQ(runner.phase(), vantrel::RunPhase::over);
    EXPECT_EQ(vantrel::sim::describeCrash(runner), "crash: cactus 16 wide, 26 high");
}

TEST(SimBot, PlayedRunMatchesTheCommandLine) {
    const vantrel::sim::BotRun run = vantrel::sim::playBotRun(11, 0.5);
    EXPECT_TRUE(run.survived);
    EXPECT_EQ(run.end, "survived");
    EXPECT_NEAR(run.elapsed, 30, 1e-9);
    const ProcessResult r = bot("--seed 11 --minutes 0.5");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(field(r.out, "score"), std::to_string(run.score));
}
