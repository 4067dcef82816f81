#pragma once

#include "VantrelCore/SignedArtifact.h"

#include <string>

namespace vantrel::release {

// The maintainers' signing key on disk: one line, the standard base64 of
// libsodium's 64-byte Ed25519 secret key. Readable by its owner only.
class SecretKeyFile {
public:
    explicit SecretKeyFile(std::string path) : m_path(std::move(path)) {}

    // Creates the file with owner-only permissions; never replaces an existing
    // file. Returns an empty string on success, else the reason.
    std::string create(const SignedArtifact::KeyPair& keys) const;

    // Reads the key pair back. On failure returns nullopt and sets `error`.
    std::optional<SignedArtifact::KeyPair> read(std::string& error) const;

    // Whether group or others may read the file (a warning, not an error).
    bool readableByOthers() const;

private:
    std::string m_path;
};

} // namespace vantrel::release
