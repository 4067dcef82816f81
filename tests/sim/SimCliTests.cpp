#include "ProcessRun.h"

#include <gtest/gtest.h>

#include <string>

using vantrel::testing::ProcessResult;
using vantrel::testing::readWholeFile;
using vantrel::testing::runProcess;

namespace {

const std::string sim = VANTREL_SIM_PATH;

ProcessResult replay(const std::string& input, const std::string& options = "") {
    return runProcess(sim + " replay " + options, input);
}

std::string firstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

} // namespace

TEST(SimReplay, PrintsStateWithEveryKeyInOrder) {
    const ProcessResult r = replay("act\nadvance 0.016666666666666666\nstate\n");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    const std::string keys[] = {"phase",      "height",    "velocity",    "elapsed",    "distance",
                                "score",      "speed",     "difficulty",  "speedLevel", "grounded",
                                "ducking",    "jumps",     "resumeGrace", "downHeld",   "flyersSpawned",
                                "worldWidth", "obstacles", "id",          "x",          "width",
                                "height",     "clustered", "kind",        "elevation"};
    std::size_t at = 0;
    for (const std::string& key : keys) {
        const std::size_t found = r.out.find("\"" + key + "\":", at);
        ASSERT_NE(found, std::string::npos) << key;
        at = found;
    }
    EXPECT_NE(r.out.find("\"phase\":\"running\""), std::string::npos);
    EXPECT_NE(r.out.find("\"velocity\":375,"), std::string::npos); // 402 - 1620/60, exact in binary
    EXPECT_NE(r.out.find("\"elapsed\":0.016666666666666666,"), std::string::npos);
    EXPECT_NE(r.out.find("\"kind\":\"cactus\""), std::string::npos);
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 1);
}

TEST(SimReplay, SkipsBlankAndCommentLinesAndHonoursOptions) {
    const ProcessResult r = replay("\n# a comment\n   \nwidth 600\nstart\nstate\n", "--seed 0 --width 500");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("\"worldWidth\":600"), std::string::npos);
    EXPECT_NE(r.out.find("\"x\":612"), std::string::npos);
}

TEST(SimReplay, SameInputSameBytes) {
    std::string script = "act\n";
    for (int i = 0; i < 3000; ++i) {
        script += "advance 0.016666666666666666\n";
        if (i % 37 == 0) {
            script += "act\nrelease\n";
        }
        if (i % 10 == 0) {
            script += "state\n";
        }
    }
    const ProcessResult a = replay(script, "--seed 99");
    const ProcessResult b = replay(script, "--seed 99");
    ASSERT_EQ(a.status, 0) << a.err;
    EXPECT_EQ(a.out, b.out);
    EXPECT_EQ(std::count(a.out.begin(), a.out.end(), '\n'), 300);
    const ProcessResult other = replay(script, "--seed 100");
    EXPECT_NE(a.out, other.out);
}

TEST(SimReplay, MatchesTheRecordedGoldenRun) {
    // Recorded once; any change in the rules or the output format shows here.
    const std::string dir = VANTREL_SIM_GOLDEN_DIR;
    const std::string input = readWholeFile(dir + "/run-seed-3.in");
    const std::string expected = readWholeFile(dir + "/run-seed-3.out");
    ASSERT_FALSE(input.empty());
    ASSERT_FALSE(expected.empty());
    const ProcessResult r = replay(input, "--seed 3");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, expected);
}

TEST(SimReplay, OddDeltasAreAccepted) {
    const ProcessResult r =
        replay("act\nadvance 0\nadvance -1\nadvance inf\nadvance -inf\nadvance nan\nstate\n");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("\"elapsed\":0,"), std::string::npos);
    const ProcessResult stall = replay("act\nadvance 0.25\nstate\n");
    EXPECT_NE(stall.out.find("\"phase\":\"paused\""), std::string::npos);
}

TEST(SimReplay, UnknownCommandNamesTheLine) {
    const ProcessResult r = replay("act\nstate\njump\nstate\n");
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("line 3"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("'jump'"), std::string::npos) << r.err;
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 1); // output up to the bad line is kept
}

TEST(SimReplay, MalformedNumbersAreRefused) {
    for (const char* bad : {"advance", "advance x", "advance 0.1.2", "advance 1e999", "advance 0.1 0.2",
                            "advance +0.1", "width 0", "width -5", "width nan", "width inf", "width 1e6",
                            "duck", "duck 2", "duck yes", "act now"}) {
        const ProcessResult r = replay(std::string("act\n") + bad + "\n");
        EXPECT_EQ(r.status, 2) << bad;
        EXPECT_NE(r.err.find("line 2"), std::string::npos) << bad << ": " << r.err;
    }
}

TEST(SimReplay, BadOptionsAreRefused) {
    for (const char* options : {"--seed", "--seed -1", "--seed 18446744073709551616", "--seed abc",
                                "--width 0", "--width abc", "--speed 3"}) {
        const ProcessResult r = replay("state\n", options);
        EXPECT_EQ(r.status, 2) << options;
        EXPECT_NE(r.err.find("usage"), std::string::npos) << options;
        EXPECT_EQ(r.out, "") << options;
    }
    const ProcessResult none = runProcess(sim, "");
    EXPECT_EQ(none.status, 2);
    const ProcessResult unknown = runProcess(sim + " fly", "");
    EXPECT_EQ(unknown.status, 2);
    EXPECT_NE(unknown.err.find("'fly'"), std::string::npos);
}

TEST(SimReplay, VeryLongLineIsRefused) {
    const ProcessResult r = replay("act\n" + std::string(10'000'000, 'a') + "\nstate\n");
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("line 2"), std::string::npos);
    EXPECT_LT(r.err.size(), 400u); // the message quotes only the start of the line
    const ProcessResult noNewline = replay(std::string(100'000, '7'));
    EXPECT_EQ(noNewline.status, 2);
}

TEST(SimReplay, BinaryInputIsRefused) {
    std::string binary;
    for (int i = 0; i < 5000; ++i) {
        binary += static_cast<char>((i * 131) % 256);
    }
    const ProcessResult r = replay(binary);
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("line 1"), std::string::npos) << firstLine(r.err);
    EXPECT_NE(r.err.find("\\x"), std::string::npos) << firstLine(r.err); // control bytes are escaped
    const ProcessResult nul = replay(std::string("act\0\n", 5));
    EXPECT_EQ(nul.status, 2);
}

TEST(SimReplay, CarriageReturnLineEndsAreAccepted) {
    const ProcessResult r = replay("act\r\nadvance 0.01\r\nstate\r\n");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("\"phase\":\"running\""), std::string::npos);
}
