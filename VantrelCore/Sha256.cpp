#include "VantrelCore/Sha256.h"

namespace vantrel {

bool ensureSodium() {
    static const bool ready = sodium_init() >= 0;
    return ready;
}

Sha256::Sha256() {
    ensureSodium();
    crypto_hash_sha256_init(&m_state);
}

void Sha256::update(std::string_view bytes) {
    if (bytes.empty()) {
        return; // the data pointer may be null, which libsodium does not accept
    }
    crypto_hash_sha256_update(&m_state, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

std::string Sha256::finishHex() {
    unsigned char digest[crypto_hash_sha256_BYTES];
    crypto_hash_sha256_final(&m_state, digest);
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * sizeof digest);
    for (const unsigned char byte : digest) {
        text += digits[byte >> 4];
        text += digits[byte & 0x0f];
    }
    return text;
}

std::string Sha256::hex(std::string_view bytes) {
    Sha256 hash;
    hash.update(bytes);
    return hash.finishHex();
}

} // namespace vantrel
