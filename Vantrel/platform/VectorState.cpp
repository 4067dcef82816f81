#include "Vantrel/platform/VectorState.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace vantrel::platform {

#if defined(__x86_64__) || defined(__i386__)

namespace {

// True when the processor has AVX and the system saves its registers.
bool hasAvx() {
    static const bool avx = __builtin_cpu_supports("avx");
    return avx;
}

// XGETBV with ECX = 1 reports which register states are in use (CPUID leaf 0xD, sub-leaf 1, EAX bit 2).
bool canReadStateInUse() {
    static const bool readable = [] {
        unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
        return hasAvx() && __get_cpuid_count(0xD, 1, &eax, &ebx, &ecx, &edx) != 0 && (eax & (1u << 2)) != 0;
    }();
    return readable;
}

__attribute__((target("avx"))) void zeroUpper() {
    _mm256_zeroupper();
}

} // namespace

void clearUpperVectorState() {
    if (hasAvx()) {
        zeroUpper();
    }
}

std::optional<bool> upperVectorStateInUse() {
    if (!canReadStateInUse()) {
        return std::nullopt;
    }
    unsigned eax = 0;
    unsigned edx = 0;
    asm volatile("xgetbv" : "=a"(eax), "=d"(edx) : "c"(1));
    constexpr unsigned ymmUpperHalves = 1u << 2;
    return (eax & ymmUpperHalves) != 0;
}

#else

void clearUpperVectorState() {}

std::optional<bool> upperVectorStateInUse() {
    return std::nullopt;
}

#endif

} // namespace vantrel::platform
