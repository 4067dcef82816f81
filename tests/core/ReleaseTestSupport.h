#pragma once

#include "VantrelCore/DecodingError.h"
#include "VantrelCore/ReleaseError.h"
#include "VantrelCore/Sha256.h"
#include "VantrelCore/SignedArtifact.h"
#include "VantrelCore/VeltRelease.h"

#include <functional>
#include <optional>
#include <string>

namespace vantrel::testing {

// The archive every sample release describes.
inline std::string sampleArchive() {
    std::string data;
    for (int i = 0; i < 5000; ++i) {
        data += static_cast<char>((i * 7919) % 251);
    }
    return data;
}

inline VeltRelease sampleRelease() {
    VeltRelease release;
    release.schema = 1;
    release.product = "velt";
    release.version = "1.4.0";
    release.build = 42;
    release.minimumOS = "14.2";
    release.downloadURL = "https://downloads.example.org/vantrel/Vantrel-1.4.0.zip";
    const std::string archive = sampleArchive();
    release.sha256 = Sha256::hex(archive);
    release.bytes = static_cast<int64_t>(archive.size());
    release.notes = "Faster cacti.\nA new pterodactyl.";
    return release;
}

inline std::string artifactFor(const VeltRelease& release, const SignedArtifact::KeyPair& keys) {
    return SignedArtifact::sign(VeltRelease::artifactPrefix, release.toJson(), keys);
}

// The ReleaseError code thrown by `work`, or nullopt if it threw none (other
// exceptions propagate and fail the test).
inline std::optional<ReleaseError::Code> releaseErrorOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const ReleaseError& error) {
        return error.code();
    }
    return std::nullopt;
}

inline std::optional<DecodingError::Kind> decodingErrorOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const DecodingError& error) {
        return error.kind();
    }
    return std::nullopt;
}

} // namespace vantrel::testing
