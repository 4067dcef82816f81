#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vantrel {

// SHA-256 over bytes fed in pieces, for archives too large to hold at once.
class Sha256 {
public:
    Sha256();
    void update(std::string_view bytes);
    // The digest as 64 lower-case hexadecimal digits. Ends the computation.
    std::string finishHex();

    static std::string hex(std::string_view bytes);

private:
    // Room for libsodium's crypto_hash_sha256_state (104 bytes in libsodium
    // 1.0.18), kept opaque so this header does not pull in <sodium.h>;
    // Sha256.cpp checks at compile time that the state fits.
    static constexpr std::size_t stateBytes = 128;
    alignas(16) unsigned char m_state[stateBytes];
};

// Makes libsodium ready; safe to call any number of times from any thread.
// Returns false only if the library cannot work on this machine.
bool ensureSodium();

} // namespace vantrel
