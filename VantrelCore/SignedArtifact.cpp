#include "VantrelCore/SignedArtifact.h"

#include "VantrelCore/ReleaseError.h"
#include "VantrelCore/ReleasePatterns.h"
#include "VantrelCore/Sha256.h"

#include <sodium.h>

namespace vantrel::SignedArtifact {

namespace {

// libsodium declares its buffers non-null, so empty input never reaches it.
std::optional<std::vector<unsigned char>> decodeBase64(std::string_view text, int variant) {
    if (!ensureSodium()) {
        return std::nullopt;
    }
    if (text.empty()) {
        return std::vector<unsigned char>();
    }
    // Every 4 characters carry at most 3 bytes.
    std::vector<unsigned char> bytes(text.size() / 4 * 3 + 3);
    std::size_t length = 0;
    const char* end = nullptr;
    if (sodium_base642bin(bytes.data(), bytes.size(), text.data(), text.size(), nullptr, &length, &end,
                          variant) != 0 ||
        end != text.data() + text.size()) {
        return std::nullopt;
    }
    bytes.resize(length);
    return bytes;
}

std::string encodeBase64(const unsigned char* bytes, std::size_t size, int variant) {
    ensureSodium();
    if (size == 0) {
        return {};
    }
    std::string text(sodium_base64_encoded_len(size, variant), '\0');
    sodium_bin2base64(text.data(), text.size(), bytes, size, variant);
    text.pop_back(); // the terminating NUL that libsodium counts in
    return text;
}

} // namespace

std::string base64(const unsigned char* bytes, std::size_t size) {
    return encodeBase64(bytes, size, sodium_base64_VARIANT_ORIGINAL);
}

std::string base64Url(const unsigned char* bytes, std::size_t size) {
    return encodeBase64(bytes, size, sodium_base64_VARIANT_URLSAFE_NO_PADDING);
}

std::optional<std::vector<unsigned char>> fromBase64(std::string_view text) {
    return decodeBase64(text, sodium_base64_VARIANT_ORIGINAL);
}

std::optional<std::vector<unsigned char>> fromBase64Url(std::string_view text) {
    // The alphabet check comes first, so "+", "/", "=" and the empty text never
    // reach the decoder; what is left is the unpadded URL-safe variant.
    if (!ReleasePatterns::isBase64Url(text)) {
        return std::nullopt;
    }
    return decodeBase64(text, sodium_base64_VARIANT_URLSAFE_NO_PADDING);
}

std::string openPayload(std::string_view artifact, std::string_view prefix, std::string_view publicKey) {
    if (artifact.size() > maximumLength) {
        throw ReleaseError::invalidArtifact();
    }
    // Exactly two full stops: three fields, empty ones included.
    const std::size_t firstDot = artifact.find('.');
    const std::size_t secondDot =
        firstDot == std::string_view::npos ? firstDot : artifact.find('.', firstDot + 1);
    if (secondDot == std::string_view::npos || artifact.find('.', secondDot + 1) != std::string_view::npos) {
        throw ReleaseError::invalidArtifact();
    }
    const std::string_view head = artifact.substr(0, firstDot);
    const std::string_view payloadText = artifact.substr(firstDot + 1, secondDot - firstDot - 1);
    const std::string_view signatureText = artifact.substr(secondDot + 1);
    if (head != prefix) {
        throw ReleaseError::invalidArtifact();
    }
    const auto payload = fromBase64Url(payloadText);
    if (!payload) {
        throw ReleaseError::invalidArtifact();
    }
    const auto signature = fromBase64Url(signatureText);
    if (!signature) {
        throw ReleaseError::invalidArtifact();
    }
    const auto key = fromBase64(publicKey);
    if (!key || key->size() != publicKeyBytes) {
        throw ReleaseError::invalidArtifact();
    }
    // The signature covers "PREFIX.PAYLOAD" exactly as it stands in the artifact.
    const std::string_view message = artifact.substr(0, secondDot);
    if (signature->size() != signatureBytes ||
        crypto_sign_verify_detached(signature->data(), reinterpret_cast<const unsigned char*>(message.data()),
                                    message.size(), key->data()) != 0) {
        throw ReleaseError::invalidArtifact();
    }
    return std::string(payload->begin(), payload->end());
}

KeyPair KeyPair::generate() {
    ensureSodium();
    KeyPair keys;
    crypto_sign_keypair(keys.publicKey.data(), keys.secretKey.data());
    return keys;
}

std::optional<KeyPair> KeyPair::fromSecretKey(const std::vector<unsigned char>& secretKey) {
    if (secretKey.size() != secretKeyBytes || !ensureSodium()) {
        return std::nullopt;
    }
    // The secret key holds its seed and its public key; rebuilding from the seed
    // and comparing catches a damaged file.
    KeyPair keys;
    crypto_sign_seed_keypair(keys.publicKey.data(), keys.secretKey.data(), secretKey.data());
    if (sodium_memcmp(keys.secretKey.data(), secretKey.data(), secretKeyBytes) != 0) {
        return std::nullopt;
    }
    return keys;
}

std::string KeyPair::publicKeyText() const {
    return base64(publicKey.data(), publicKey.size());
}

std::string sign(std::string_view prefix, std::string_view payload, const KeyPair& keys) {
    std::string message(prefix);
    message += '.';
    message += base64Url(reinterpret_cast<const unsigned char*>(payload.data()), payload.size());
    unsigned char signature[signatureBytes];
    crypto_sign_detached(signature, nullptr, reinterpret_cast<const unsigned char*>(message.data()),
                         message.size(), keys.secretKey.data());
    return message + '.' + base64Url(signature, sizeof signature);
}

} // namespace vantrel::SignedArtifact
