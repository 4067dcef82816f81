#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vantrel::sim {

// Strict number parsing for command lines and replay scripts: the whole text
// must be the number, and values out of the type's range are refused.
std::optional<uint64_t> parseUnsigned(std::string_view text);
std::optional<double> parseDouble(std::string_view text);

// A runway width the runner can work with: finite, positive, at most 100000 points.
std::optional<double> parseWorldWidth(std::string_view text);

// Text made safe to print in a message: control and non-ASCII bytes escaped,
// long text shortened.
std::string printable(std::string_view text, std::size_t limit = 80);

} // namespace vantrel::sim
