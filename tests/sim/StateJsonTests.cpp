#include "CommandLine.h"
#include "StateJson.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>

using namespace vantrel;
using namespace vantrel::sim;

TEST(StateJson, DoublesRoundTripInShortestForm) {
    std::string out;
    appendDouble(out, 0.1);
    EXPECT_EQ(out, "0.1");
    out.clear();
    appendDouble(out, 452);
    EXPECT_EQ(out, "452");
    out.clear();
    appendDouble(out, std::nan(""));
    EXPECT_EQ(out, "null");

    std::mt19937_64 engine(7);
    for (int i = 0; i < 10000; ++i) {
        const double value =
            std::ldexp(static_cast<double>(engine() >> 11), static_cast<int>(engine() % 80) - 60);
        std::string text;
        appendDouble(text, value);
        EXPECT_EQ(std::strtod(text.c_str(), nullptr), value) << text;
    }
}

TEST(StateJson, ReadyRunnerLine) {
    std::string out;
    appendStateJson(out, Runner(1));
    EXPECT_EQ(out,
              "{\"phase\":\"ready\",\"height\":0,\"velocity\":0,\"elapsed\":0,\"distance\":0,\"score\":0,"
              "\"speed\":190,\"difficulty\":0,\"speedLevel\":1,\"grounded\":true,\"ducking\":false,"
              "\"jumps\":0,\"resumeGrace\":0,\"downHeld\":false,\"flyersSpawned\":0,\"worldWidth\":440,"
              "\"obstacles\":[]}");
}

TEST(CommandLine, StrictNumbers) {
    EXPECT_EQ(parseUnsigned("18446744073709551615"), 18446744073709551615ULL);
    EXPECT_FALSE(parseUnsigned("18446744073709551616"));
    EXPECT_FALSE(parseUnsigned("-1"));
    EXPECT_FALSE(parseUnsigned("1 "));
    EXPECT_FALSE(parseUnsigned(""));
    EXPECT_EQ(parseDouble("0.25"), 0.25);
    EXPECT_TRUE(std::isinf(*parseDouble("-inf")));
    EXPECT_TRUE(std::isnan(*parseDouble("nan")));
    EXPECT_FALSE(parseDouble("1e400"));
    EXPECT_FALSE(parseDouble("0x10"));
    EXPECT_FALSE(parseWorldWidth("0"));
    EXPECT_EQ(parseWorldWidth("100000"), 100000);
    EXPECT_EQ(printable(std::string("a\0b", 3)), "a\\x00b");
}
