#pragma once

#include <cstdint>
#include <string_view>

namespace vantrel {

// The running operating system's version as three numbers. On Linux this is
// the kernel release: "6.1.0-18-amd64" is 6.1.0.
struct SystemVersion {
    int64_t majorVersion = 0;
    int64_t minorVersion = 0;
    int64_t patchVersion = 0;

    // Reads the leading "major.minor.patch" of a kernel release text; missing
    // or unreadable components count as 0.
    static SystemVersion fromKernelRelease(std::string_view release);
    // This machine's version (uname). All zeros if it cannot be read.
    static SystemVersion running();

    friend bool operator==(const SystemVersion&, const SystemVersion&) = default;
};

} // namespace vantrel
