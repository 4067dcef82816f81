#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Signed artifacts: one line "PREFIX.PAYLOAD.SIGNATURE", where PAYLOAD is a
// JSON record in base64url without padding and SIGNATURE is the Ed25519
// signature (base64url, no padding) over the bytes "PREFIX.PAYLOAD" as written.
namespace vantrel::SignedArtifact {

inline constexpr std::size_t maximumLength = 12'000; // bytes of artifact text
inline constexpr std::size_t publicKeyBytes = 32;
inline constexpr std::size_t secretKeyBytes = 64; // libsodium layout: seed, then public key
inline constexpr std::size_t signatureBytes = 64;

// Checks the artifact's form and signature and returns the payload's bytes.
// Throws ReleaseError::invalidArtifact on any failure.
std::string openPayload(std::string_view artifact, std::string_view prefix, std::string_view publicKey);

// Decodes the record carried by a verified artifact. Record::fromJson throws
// DecodingError for a payload that does not fit the record; that error is passed on.
template <class Record>
Record decode(std::string_view artifact, std::string_view prefix, std::string_view publicKey) {
    return Record::fromJson(openPayload(artifact, prefix, publicKey));
}

// An Ed25519 key pair for making artifacts (maintainers' tool and tests).
struct KeyPair {
    std::array<unsigned char, secretKeyBytes> secretKey{};
    std::array<unsigned char, publicKeyBytes> publicKey{};

    static KeyPair generate();
    // Rebuilds the pair from a stored secret key; nullopt if it is not one.
    static std::optional<KeyPair> fromSecretKey(const std::vector<unsigned char>& secretKey);
    // The public key as the configuration carries it: standard base64, 44 characters.
    std::string publicKeyText() const;
};

// Makes the artifact for a payload. The result may exceed maximumLength; the
// caller decides whether to publish it.
std::string sign(std::string_view prefix, std::string_view payload, const KeyPair& keys);

std::string base64(const unsigned char* bytes, std::size_t size);    // standard, padded
std::string base64Url(const unsigned char* bytes, std::size_t size); // URL alphabet, unpadded
// Strict decoders: the whole text in canonical form, or nullopt.
std::optional<std::vector<unsigned char>> fromBase64(std::string_view text);
std::optional<std::vector<unsigned char>> fromBase64Url(std::string_view text);

} // namespace vantrel::SignedArtifact
