#include "VantrelCore/Sha256.h"

#include <sodium.h>

namespace vantrel {

namespace {

crypto_hash_sha256_state* state(unsigned char* storage) {
    return reinterpret_cast<crypto_hash_sha256_state*>(storage);
}

} // namespace

bool ensureSodium() {
    static const bool ready = sodium_init() >= 0;
    return ready;
}

Sha256::Sha256() {
    ensureSodium();
    static_assert(sizeof(crypto_hash_sha256_state) <= stateBytes);
    static_assert(alignof(crypto_hash_sha256_state) <= 16);
    crypto_hash_sha256_init(state(m_state));
}

void Sha256::update(std::string_view bytes) {
    if (bytes.empty()) {
        return; // the data pointer may be null, which libsodium does not accept
    }
    crypto_hash_sha256_update(state(m_state), reinterpret_cast<const unsigned char*>(bytes.data()),
                              bytes.size());
}

std::string Sha256::finishHex() {
    unsigned char digest[crypto_hash_sha256_BYTES];
    crypto_hash_sha256_final(state(m_state), digest);
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
