// libFuzzer target for SignedArtifact::decode and VeltRelease::verify.
//
// The first byte picks what the rest of the input is:
//   0  an artifact, checked with the fixed public key;
//   1  a JSON payload, signed here with the fixed key and then checked, so that
//      the decoder and the rules are reached past the signature;
//   2  a public key text (first 44 bytes) and an artifact (the rest).
// Only ReleaseError and DecodingError may leave the code under test; anything
// else, a crash or a sanitizer report is a finding.
#include "FuzzKeys.h"

#include "VantrelCore/DecodingError.h"
#include "VantrelCore/ReleaseError.h"
#include "VantrelCore/SignedArtifact.h"
#include "VantrelCore/VeltRelease.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

using namespace vantrel;

namespace {

void check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// What must hold for every release that verify() accepts.
void checkAccepted(const VeltRelease& release, std::string_view artifact, std::string_view publicKey) {
    check(!release.brokenRule());
    check(release.schema == 1 && release.product == "velt" && release.build >= 1);
    check(release.bytes >= 1 && release.bytes <= VeltRelease::maximumBytes);
    check(release.sha256.size() == 64);
    check(VeltRelease::fromJson(release.toJson()) == release);
    check(SignedArtifact::decode<VeltRelease>(artifact, VeltRelease::artifactPrefix, publicKey) == release);
    (void)release.isCompatible({0, 0, 0});
    (void)release.isCompatible({INT64_MAX, INT64_MIN, 0});
    try {
        release.verifyDownload("x");
        check(release.bytes == 1);
    } catch (const ReleaseError& error) {
        check(error.code() == ReleaseError::Code::invalidRelease);
    }
}

void verify(std::string_view artifact, std::string_view publicKey) {
    try {
        const VeltRelease release = VeltRelease::verify(artifact, publicKey);
        check(artifact.size() <= SignedArtifact::maximumLength);
        checkAccepted(release, artifact, publicKey);
    } catch (const ReleaseError& error) {
        check(error.code() != ReleaseError::Code::configurationMissing);
        check(std::string_view(error.what()).size() > 0);
    } catch (const DecodingError& error) {
        check(std::string_view(error.what()).size() > 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::string_view rest(reinterpret_cast<const char*>(data + 1), size - 1);
    const std::string publicKey = fuzz::keys().publicKeyText();
    switch (data[0] % 3) {
    case 0:
        verify(rest, publicKey);
        break;
    case 1:
        verify(SignedArtifact::sign(VeltRelease::artifactPrefix, rest, fuzz::keys()), publicKey);
        break;
    default: {
        const std::size_t keyLength = rest.size() < 44 ? rest.size() : 44;
        verify(rest.substr(keyLength), rest.substr(0, keyLength));
        break;
    }
    }
    return 0;
}
