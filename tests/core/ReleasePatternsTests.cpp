#include "VantrelCore/ReleasePatterns.h"

#include <gtest/gtest.h>

#include <random>
#include <regex>

using namespace vantrel;

namespace {

// The written patterns, as ECMAScript regular expressions ([0-9] for \d).
struct Pattern {
    const char* regex;
    bool (*matcher)(std::string_view);
    const char* alphabet;
    const char* example; // a text that matches, to mutate
};

const Pattern patterns[] = {
    {"^[A-Za-z0-9_-]+$", ReleasePatterns::isBase64Url, "Az09_-+/=.\n ", "abc-_XYZ09"},
    {"^[0-9]+\\.[0-9]+\\.[0-9]+$", ReleasePatterns::isVersion, "019.\nx ", "1.20.300"},
    {"^[0-9]+\\.[0-9]+(\\.[0-9]+)?$", ReleasePatterns::isMinimumSystem, "019.\nx ", "14.2.1"},
    {"^[a-f0-9]{64}$", ReleasePatterns::isLowerHexSha256, "af09Fg",
     "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef"},
};

} // namespace

TEST(ReleasePatterns, HandWrittenMatchersAgreeWithTheRegularExpressions) {
    std::mt19937 random(12345);
    for (const Pattern& pattern : patterns) {
        const std::regex regex(pattern.regex);
        const std::string alphabet = pattern.alphabet;
        int matches = 0;
        for (int trial = 0; trial < 20000; ++trial) {
            // Half the texts are the matching example with a few random edits,
            // half are random, skewed toward the first characters of the alphabet.
            std::string text;
            auto character = [&] {
                const std::size_t pick =
                    std::min(std::geometric_distribution<std::size_t>(0.35)(random), alphabet.size() - 1);
                return alphabet[pick];
            };
            if (trial % 2 == 0) {
                text = pattern.example;
                const int edits = std::uniform_int_distribution<int>(0, 2)(random);
                for (int e = 0; e < edits; ++e) {
                    const std::size_t at = std::uniform_int_distribution<std::size_t>(0, text.size())(random);
                    switch (std::uniform_int_distribution<int>(0, 2)(random)) {
                    case 0:
                        text.insert(at, 1, character());
                        break;
                    case 1:
                        if (at < text.size()) {
                            text.erase(at, 1);
                        }
                        break;
                    default:
                        if (at < text.size()) {
                            text[at] = character();
                        }
                    }
                }
            } else {
                const std::size_t length = std::uniform_int_distribution<std::size_t>(0, 8)(random);
                for (std::size_t i = 0; i < length; ++i) {
                    text += character();
                }
            }
            const bool expected = std::regex_search(text, regex);
            EXPECT_EQ(pattern.matcher(text), expected) << pattern.regex << " on '" << text << "'";
            matches += expected;
        }
        // The comparison covered both outcomes.
        EXPECT_GT(matches, 1000) << pattern.regex;
        EXPECT_LT(matches, 19000) << pattern.regex;
    }
}

TEST(ReleasePatterns, Examples) {
    EXPECT_TRUE(ReleasePatterns::isVersion("1.2.3"));
    EXPECT_FALSE(ReleasePatterns::isVersion("1.2"));
    EXPECT_TRUE(ReleasePatterns::isMinimumSystem("14.2"));
    EXPECT_TRUE(ReleasePatterns::isMinimumSystem("14.2.1"));
    EXPECT_FALSE(ReleasePatterns::isMinimumSystem("15"));
    EXPECT_FALSE(ReleasePatterns::isBase64Url(""));
    EXPECT_TRUE(ReleasePatterns::isLowerHexSha256(std::string(64, 'a')));
    EXPECT_FALSE(ReleasePatterns::isLowerHexSha256(std::string(64, 'A')));
}
