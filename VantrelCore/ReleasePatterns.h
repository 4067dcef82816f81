#pragma once

#include <string_view>

// Whole-text matchers for the fixed patterns of release artifacts. Each is
// equivalent to the anchored regular expression beside it (with \d = [0-9]),
// written out by hand so that matching is linear, allocation-free and cannot
// exhaust the stack on long input.
namespace vantrel::ReleasePatterns {

bool isBase64Url(std::string_view text);      // ^[A-Za-z0-9_-]+$
bool isVersion(std::string_view text);        // ^\d+\.\d+\.\d+$
bool isMinimumSystem(std::string_view text);  // ^\d+\.\d+(\.\d+)?$
bool isLowerHexSha256(std::string_view text); // ^[a-f0-9]{64}$

} // namespace vantrel::ReleasePatterns
