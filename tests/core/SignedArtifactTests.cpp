#include "ReleaseTestSupport.h"

#include <gtest/gtest.h>

#include <sodium.h>

using namespace vantrel;
using namespace vantrel::testing;
using Code = ReleaseError::Code;

namespace {

class SignedArtifactTest : public ::testing::Test {
protected:
    SignedArtifact::KeyPair keys = SignedArtifact::KeyPair::generate();
    std::string publicKey = keys.publicKeyText();
    VeltRelease release = sampleRelease();
    std::string artifact = artifactFor(release, keys);

    std::optional<Code> verifyError(const std::string& text) const {
        return releaseErrorOf([&] { VeltRelease::verify(text, publicKey); });
    }

    // Signs arbitrary "PREFIX.PAYLOAD" text as it stands, so that a rejection
    // can only come from the form of the fields, never from the signature.
    std::string signedAsWritten(const std::string& head) const {
        unsigned char signature[64];
        crypto_sign_detached(signature, nullptr, reinterpret_cast<const unsigned char*>(head.data()),
                             head.size(), keys.secretKey.data());
        return head + "." + SignedArtifact::base64Url(signature, sizeof signature);
    }

    std::string payloadField() const {
        const auto first = artifact.find('.');
        return artifact.substr(first + 1, artifact.rfind('.') - first - 1);
    }
    std::string signatureField() const { return artifact.substr(artifact.rfind('.') + 1); }
};

} // namespace

TEST_F(SignedArtifactTest, AValidArtifactGivesBackTheSignedRelease) {
    EXPECT_EQ(VeltRelease::verify(artifact, publicKey), release);
    EXPECT_EQ(artifact.substr(0, 7), "VELTR1.");
    EXPECT_EQ(std::count(artifact.begin(), artifact.end(), '.'), 2);
    EXPECT_EQ(signatureField().size(), 86u); // 64 bytes, unpadded
    EXPECT_EQ(publicKey.size(), 44u);
    EXPECT_EQ(publicKey.back(), '=');
}

TEST_F(SignedArtifactTest, FourFieldsOrAnEmptyMiddleFieldAreRejected) {
    EXPECT_EQ(verifyError(artifact + ".x"), Code::invalidArtifact);
    EXPECT_EQ(verifyError(artifact + "."), Code::invalidArtifact);
    EXPECT_EQ(verifyError("VELTR1.." + signatureField()), Code::invalidArtifact);
    EXPECT_EQ(verifyError(signedAsWritten("VELTR1.")), Code::invalidArtifact);
    EXPECT_EQ(verifyError("VELTR1." + payloadField()), Code::invalidArtifact); // two fields
    EXPECT_EQ(verifyError(""), Code::invalidArtifact);
    EXPECT_EQ(verifyError("VELTR1." + payloadField() + "."), Code::invalidArtifact); // empty signature
}

TEST_F(SignedArtifactTest, OnlyTheExactPrefixIsAccepted) {
    for (const std::string prefix : {"VELTR2", "veltr1", "VELTR1 ", "", " VELTR1", "VELTR"}) {
        EXPECT_EQ(verifyError(signedAsWritten(prefix + "." + payloadField())), Code::invalidArtifact)
            << prefix;
    }
    // A generic decode with another prefix accepts its own prefix only.
    const std::string other = SignedArtifact::sign("OTHER9", release.toJson(), keys);
    EXPECT_EQ(SignedArtifact::decode<VeltRelease>(other, "OTHER9", publicKey), release);
    EXPECT_EQ(verifyError(other), Code::invalidArtifact);
}

TEST_F(SignedArtifactTest, PlusSlashAndPaddingAreRejectedEvenWhenSigned) {
    // The payload written with the standard alphabet and padding: same bytes,
    // signed as written, still refused because only base64url is accepted.
    std::string json = release.toJson();
    // Make sure the encoding needs padding and holds both "-" and "_".
    for (int i = 0; json.size() % 3 == 0 || payloadField().find_first_of("-_") == std::string::npos; ++i) {
        ASSERT_LT(i, 100);
        release.notes += "?>~"[i % 3];
        json = release.toJson();
        artifact = artifactFor(release, keys);
    }
    const std::string standard =
        SignedArtifact::base64(reinterpret_cast<const unsigned char*>(json.data()), json.size());
    ASSERT_NE(standard.find_first_of("+/"), std::string::npos);
    ASSERT_EQ(standard.back(), '=');
    EXPECT_EQ(verifyError(signedAsWritten("VELTR1." + standard)), Code::invalidArtifact);
    std::string unpaddedStandard = standard;
    while (unpaddedStandard.back() == '=') {
        unpaddedStandard.pop_back();
    }
    EXPECT_EQ(verifyError(signedAsWritten("VELTR1." + unpaddedStandard)), Code::invalidArtifact);
    EXPECT_EQ(verifyError(signedAsWritten("VELTR1." + payloadField() + "=")), Code::invalidArtifact);
    EXPECT_EQ(verifyError(signedAsWritten("VELTR1." + payloadField() + "==")), Code::invalidArtifact);

    // The signature field in the standard alphabet or padded.
    const std::string head = "VELTR1." + payloadField();
    unsigned char signature[64];
    crypto_sign_detached(signature, nullptr, reinterpret_cast<const unsigned char*>(head.data()), head.size(),
                         keys.secretKey.data());
    const std::string standardSignature = SignedArtifact::base64(signature, sizeof signature);
    EXPECT_EQ(verifyError(head + "." + standardSignature), Code::invalidArtifact); // ends in "=="
    std::string bare = standardSignature.substr(0, 86);
    EXPECT_EQ(verifyError(head + "." + bare + (bare.find_first_of("+/") == std::string::npos ? "+" : "")),
              Code::invalidArtifact);
    EXPECT_EQ(verifyError(head + "." + SignedArtifact::base64Url(signature, sizeof signature)), std::nullopt);
}

TEST_F(SignedArtifactTest, ASignatureOverTheDecodedJsonDoesNotVerify) {
    const std::string json = release.toJson();
    unsigned char signature[64];
    crypto_sign_detached(signature, nullptr, reinterpret_cast<const unsigned char*>(json.data()), json.size(),
                         keys.secretKey.data());
    const std::string wrong = "VELTR1." + payloadField() + "." + SignedArtifact::base64Url(signature, 64);
    EXPECT_EQ(verifyError(wrong), Code::invalidArtifact);
    // And the signed bytes really are the json; the key works on them.
    EXPECT_EQ(crypto_sign_verify_detached(signature, reinterpret_cast<const unsigned char*>(json.data()),
                                          json.size(), keys.publicKey.data()),
              0);
}

TEST_F(SignedArtifactTest, PublicKeysOf31Or33BytesAreRejectedBeforeTheSignature) {
    // The 33-byte key starts with the real key, so a lax decoder that kept the
    // first 32 bytes would accept the artifact.
    std::vector<unsigned char> longer(keys.publicKey.begin(), keys.publicKey.end());
    longer.push_back(0);
    const std::string key33 = SignedArtifact::base64(longer.data(), longer.size());
    const std::string key31 = SignedArtifact::base64(keys.publicKey.data(), 31);
    EXPECT_EQ(key33.size(), 44u);
    EXPECT_EQ(key31.size(), 44u);
    for (const std::string& key : {key33, key31}) {
        EXPECT_EQ(releaseErrorOf([&] { VeltRelease::verify(artifact, key); }), Code::invalidArtifact) << key;
    }
}

TEST_F(SignedArtifactTest, PublicKeyTextMustBeStandardPaddedBase64) {
    std::string unpadded = publicKey;
    unpadded.pop_back();
    std::string urlSafe = SignedArtifact::base64Url(keys.publicKey.data(), 32);
    for (const std::string& key : {unpadded, urlSafe, publicKey + "\n", " " + publicKey, std::string(),
                                   std::string("not a key at all!!!!!!!!!!!!!!!!!!!!!!!!!!!!")}) {
        EXPECT_EQ(releaseErrorOf([&] { VeltRelease::verify(artifact, key); }), Code::invalidArtifact) << key;
    }
    // Another valid key of the right size: the signature does not verify.
    const std::string stranger = SignedArtifact::KeyPair::generate().publicKeyText();
    EXPECT_EQ(releaseErrorOf([&] { VeltRelease::verify(artifact, stranger); }), Code::invalidArtifact);
    // A key that is 32 bytes but not a usable curve point.
    const std::string zeros(43, 'A');
    EXPECT_EQ(releaseErrorOf([&] { VeltRelease::verify(artifact, zeros + "="); }), Code::invalidArtifact);
}

TEST_F(SignedArtifactTest, AnyChangedCharacterBreaksTheSignature) {
    for (std::size_t i = 0; i < artifact.size(); i += 7) {
        std::string changed = artifact;
        changed[i] = changed[i] == 'A' ? 'B' : 'A';
        if (changed[i] == artifact[i] || artifact[i] == '.') {
            continue;
        }
        EXPECT_EQ(verifyError(changed), Code::invalidArtifact) << "at " << i;
    }
}

TEST_F(SignedArtifactTest, ArtifactsLongerThan12000BytesAreRejected) {
    VeltRelease big = release;
    // Find a notes length that lands on the limit exactly.
    std::string exact;
    for (std::size_t n = 8000; n < 9500 && exact.empty(); ++n) {
        big.notes.assign(n, 'n');
        const std::string candidate = artifactFor(big, keys);
        if (candidate.size() == SignedArtifact::maximumLength) {
            exact = candidate;
        }
    }
    ASSERT_EQ(exact.size(), 12000u);
    EXPECT_EQ(VeltRelease::verify(exact, publicKey).notes.size(), big.notes.size());
    big.notes += "nn";
    const std::string over = artifactFor(big, keys);
    ASSERT_GT(over.size(), 12000u);
    EXPECT_EQ(verifyError(over), Code::invalidArtifact);
}

TEST_F(SignedArtifactTest, NonAsciiAndControlBytesAreRejected) {
    std::string withNul = artifact;
    withNul.insert(10, 1, '\0');
    EXPECT_EQ(verifyError(withNul), Code::invalidArtifact);
    EXPECT_EQ(verifyError(artifact + "\n"), Code::invalidArtifact);
    EXPECT_EQ(verifyError("VELTR1.\xc3\xa9." + signatureField()), Code::invalidArtifact);
}

TEST_F(SignedArtifactTest, Base64HelpersRoundTripAndRefuseNonCanonicalText) {
    for (std::size_t n = 0; n < 70; ++n) {
        std::vector<unsigned char> bytes(n);
        if (n > 0) {
            randombytes_buf(bytes.data(), n);
        }
        const std::string url = SignedArtifact::base64Url(bytes.data(), n);
        EXPECT_EQ(url.find_first_of("+/="), std::string::npos);
        if (n > 0) {
            EXPECT_EQ(SignedArtifact::fromBase64Url(url), bytes);
        }
        EXPECT_EQ(SignedArtifact::fromBase64(SignedArtifact::base64(bytes.data(), n)), bytes);
    }
    EXPECT_EQ(SignedArtifact::fromBase64Url(""), std::nullopt);
    EXPECT_EQ(SignedArtifact::fromBase64Url("A"), std::nullopt);  // no length leaves one character over
    EXPECT_EQ(SignedArtifact::fromBase64Url("AB"), std::nullopt); // bits left over that are not zero
    EXPECT_EQ(SignedArtifact::fromBase64Url("AA").value().size(), 1u);
    EXPECT_EQ(SignedArtifact::fromBase64("AA"), std::nullopt); // standard base64 needs its padding
    EXPECT_EQ(SignedArtifact::fromBase64("AA==").value().size(), 1u);
    EXPECT_EQ(SignedArtifact::fromBase64(std::string_view()).value().size(), 0u);
    EXPECT_EQ(SignedArtifact::base64(nullptr, 0), "");
    EXPECT_EQ(Sha256::hex(std::string_view()), Sha256::hex(""));
}
