#pragma once

#include <exception>
#include <string_view>

namespace vantrel {

// Why a release could not be trusted. what() is the text shown to the user.
class ReleaseError : public std::exception {
public:
    enum class Code {
        invalidArtifact,      // malformed artifact, unusable key or bad signature
        invalidRelease,       // a field rule failed, or a download failed its size or digest test
        configurationMissing, // this build has no service origin or release public key
    };

    explicit ReleaseError(Code code) noexcept : m_code(code) {}

    static ReleaseError invalidArtifact() noexcept { return ReleaseError(Code::invalidArtifact); }
    static ReleaseError invalidRelease() noexcept { return ReleaseError(Code::invalidRelease); }
    static ReleaseError configurationMissing() noexcept { return ReleaseError(Code::configurationMissing); }

    Code code() const noexcept { return m_code; }
    const char* what() const noexcept override;

    friend bool operator==(const ReleaseError& a, const ReleaseError& b) noexcept {
        return a.m_code == b.m_code;
    }

private:
    Code m_code;
};

// The case's name ("invalidArtifact"), for tools and logs of tests.
std::string_view toString(ReleaseError::Code code);

} // namespace vantrel
