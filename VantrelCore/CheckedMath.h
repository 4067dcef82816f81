#pragma once

#include <cstdint>
#include <cstdlib>

namespace vantrel {

// Counters in the core must never wrap silently; an overflow is a programming
// error and stops the process on the spot instead of corrupting a run.
inline int64_t checkedAdd(int64_t a, int64_t b) {
    int64_t result = 0;
    if (__builtin_add_overflow(a, b, &result)) {
        std::abort();
    }
    return result;
}

inline int64_t checkedMul(int64_t a, int64_t b) {
    int64_t result = 0;
    if (__builtin_mul_overflow(a, b, &result)) {
        std::abort();
    }
    return result;
}

// Truncates toward zero; aborts when the value has no int64 counterpart
// (NaN, infinities, or magnitudes of 2^63 and above).
inline int64_t checkedTruncate(double value) {
    // Near 2^63 doubles are 2048 apart, so [-2^63, 2^63) is exactly the range
    // whose truncation fits; NaN fails both comparisons.
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (!(value >= -limit && value < limit)) {
        std::abort();
    }
    return static_cast<int64_t>(value);
}

} // namespace vantrel
