#include "VantrelCore/ReleasePatterns.h"

#include <cstddef>

namespace vantrel::ReleasePatterns {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Matches `count` groups of one or more digits separated by single full stops,
// and nothing else.
bool isDottedNumbers(std::string_view text, int count) {
    std::size_t i = 0;
    for (int group = 0; group < count; ++group) {
        if (group > 0) {
            if (i >= text.size() || text[i] != '.') {
                return false;
            }
            ++i;
        }
        const std::size_t start = i;
        while (i < text.size() && isDigit(text[i])) {
            ++i;
        }
        if (i == start) {
            return false;
        }
    }
    return i == text.size();
}

} // namespace

bool isBase64Url(std::string_view text) {
    if (text.empty()) {
        return false;
    }
    for (const char c : text) {
        const bool ok =
            (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || isDigit(c) || c == '_' || c == '-';
        if (!ok) {
            return false;
        }
    }
    return true;
}

bool isVersion(std::string_view text) {
    return isDottedNumbers(text, 3);
}

bool isMinimumSystem(std::string_view text) {
    return isDottedNumbers(text, 2) || isDottedNumbers(text, 3);
}

bool isLowerHexSha256(std::string_view text) {
    if (text.size() != 64) {
        return false;
    }
    for (const char c : text) {
        if (!isDigit(c) && !(c >= 'a' && c <= 'f')) {
            return false;
        }
    }
    return true;
}

} // namespace vantrel::ReleasePatterns
