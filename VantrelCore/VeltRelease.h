#pragma once

#include "VantrelCore/SystemVersion.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vantrel {

// A release as the update service publishes it, once checked. Values are
// plain; a VeltRelease returned by verify() has passed every rule.
struct VeltRelease {
    static constexpr std::string_view artifactPrefix = "VELTR1";
    static constexpr int64_t maximumBytes = 200'000'000;      // largest archive we accept
    static constexpr std::size_t maximumNotesLength = 10'000; // Unicode characters

    int64_t schema = 0;      // record format; 1
    std::string product;     // "velt"
    std::string version;     // shown to the user, e.g. "1.4.0"
    int64_t build = 0;       // compared with the installed build
    std::string minimumOS;   // oldest system that runs it, e.g. "6.1" (kernel release on Linux)
    std::string downloadURL; // https URL of the archive
    std::string sha256;      // digest of the archive, lower-case hex
    int64_t bytes = 0;       // exact size of the archive
    std::string notes;       // release notes shown to the user

    // Opens a "VELTR1" artifact with the release public key (standard base64 of
    // 32 bytes), decodes the record and checks every rule. Throws ReleaseError
    // or DecodingError.
    static VeltRelease verify(std::string_view artifact, std::string_view publicKey);

    // Strict JSON decoding: all nine keys present with the right types; other
    // keys are ignored. Throws DecodingError. The rules are not checked here.
    static VeltRelease fromJson(std::string_view json);
    // One line of JSON with the keys in field order.
    std::string toJson(int indent = -1) const;

    // The first rule this record breaks, in checking order, as a short
    // sentence naming the field; nullopt if it keeps them all.
    std::optional<std::string> brokenRule() const;

    // Whether the running system is at least minimumOS. Components of
    // minimumOS that are not numbers are skipped; missing ones count as 0.
    bool isCompatible(const SystemVersion& system) const;

    // Checks a downloaded archive against bytes and sha256. Throws
    // ReleaseError::invalidRelease when either differs.
    void verifyDownload(std::string_view data) const;

    friend bool operator==(const VeltRelease&, const VeltRelease&) = default;
};

} // namespace vantrel
