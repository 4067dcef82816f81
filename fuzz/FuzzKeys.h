#pragma once

#include "VantrelCore/SignedArtifact.h"

#include <sodium.h>

namespace vantrel::fuzz {

// A fixed key pair, so that the seed corpus and the fuzzer agree on which
// artifacts carry a good signature.
inline const SignedArtifact::KeyPair& keys() {
    static const SignedArtifact::KeyPair pair = [] {
        (void)sodium_init();
        unsigned char seed[32];
        for (unsigned i = 0; i < sizeof seed; ++i) {
            seed[i] = static_cast<unsigned char>(0x2a + i);
        }
        SignedArtifact::KeyPair made;
        crypto_sign_seed_keypair(made.publicKey.data(), made.secretKey.data(), seed);
        return made;
    }();
    return pair;
}

} // namespace vantrel::fuzz
