#include "CommandLine.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace vantrel::sim {

std::optional<uint64_t> parseUnsigned(std::string_view text) {
    uint64_t value = 0;
    const char* end = text.data() + text.size();
    const auto [ptr, ec] = std::from_chars(text.data(), end, value);
    if (text.empty() || ec != std::errc() || ptr != end) {
        return std::nullopt;
    }
    return value;
}

std::optional<double> parseDouble(std::string_view text) {
    double value = 0;
    const char* end = text.data() + text.size();
    const auto [ptr, ec] = std::from_chars(text.data(), end, value, std::chars_format::general);
    if (text.empty() || ec != std::errc() || ptr != end) {
        return std::nullopt;
    }
    return value;
}

std::optional<double> parseWorldWidth(std::string_view text) {
    const std::optional<double> width = parseDouble(text);
    if (!width || !std::isfinite(*width) || *width <= 0 || *width > 100000) {
        return std::nullopt;
    }
    return width;
}

std::string printable(std::string_view text, std::size_t limit) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (out.size() >= limit) {
            out += "...";
            break;
        }
        const auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c < 0x7f) {
            out += static_cast<char>(c);
        } else {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
            out += escaped;
        }
    }
    return out;
}

} // namespace vantrel::sim
