#include "VantrelCore/SystemVersion.h"

#include <charconv>
#include <sys/utsname.h>

namespace vantrel {

SystemVersion SystemVersion::fromKernelRelease(std::string_view release) {
    int64_t parts[3] = {0, 0, 0};
    const char* at = release.data();
    const char* const end = release.data() + release.size();
    for (int64_t& part : parts) {
        int64_t value = 0;
        const auto [next, error] = std::from_chars(at, end, value);
        if (error != std::errc() || value < 0) {
            break; // no digits here, or too many of them
        }
        part = value;
        at = next;
        if (at == end || *at != '.') {
            break; // "5.15-rc1": what follows the number is not another component
        }
        ++at;
    }
    return {parts[0], parts[1], parts[2]};
}

SystemVersion SystemVersion::running() {
    utsname names{};
    if (uname(&names) != 0) {
        return {};
    }
    return fromKernelRelease(names.release);
}

} // namespace vantrel
