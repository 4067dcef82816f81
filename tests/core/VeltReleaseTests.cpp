#include "ReleaseTestSupport.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

using namespace vantrel;
using namespace vantrel::testing;
using Code = ReleaseError::Code;
using Kind = DecodingError::Kind;

namespace {

class VeltReleaseTest : public ::testing::Test {
protected:
    SignedArtifact::KeyPair keys = SignedArtifact::KeyPair::generate();
    std::string publicKey = keys.publicKeyText();

    // Signs the release as given and reports what verify() makes of it.
    std::optional<Code> verifyError(const VeltRelease& release) const {
        return releaseErrorOf([&] { VeltRelease::verify(artifactFor(release, keys), publicKey); });
    }
    bool accepted(const VeltRelease& release) const {
        const std::string artifact = artifactFor(release, keys);
        return VeltRelease::verify(artifact, publicKey) == release;
    }
    std::optional<Kind> decodingErrorOfJson(const std::string& json) const {
        const std::string artifact = SignedArtifact::sign("VELTR1", json, keys);
        return decodingErrorOf([&] { VeltRelease::verify(artifact, publicKey); });
    }
};

VeltRelease with(const std::function<void(VeltRelease&)>& change) {
    VeltRelease release = sampleRelease();
    change(release);
    return release;
}

} // namespace

TEST_F(VeltReleaseTest, VersionNeedsThreeNumbersWhileMinimumSystemTakesTwoOrThree) {
    EXPECT_EQ(verifyError(with([](VeltRelease& r) { r.version = "1.2"; })), Code::invalidRelease);
    EXPECT_TRUE(accepted(with([](VeltRelease& r) { r.version = "1.2.3"; })));
    EXPECT_TRUE(accepted(with([](VeltRelease& r) { r.minimumOS = "14.2"; })));
    EXPECT_TRUE(accepted(with([](VeltRelease& r) { r.minimumOS = "14.2.1"; })));
    EXPECT_EQ(verifyError(with([](VeltRelease& r) { r.minimumOS = "15"; })), Code::invalidRelease);
    for (const char* bad : {"1.2.3.4", "1..3", "v1.2.3", "1.2.3 ", "1.2.3\n", "1.2.-3", "1.2.x", "",
                            "1.2.3-beta", "\xd9\xa1.2.3" /* Arabic-Indic one */}) {
        EXPECT_EQ(verifyError(with([&](VeltRelease& r) { r.version = bad; })), Code::invalidRelease) << bad;
    }
    for (const char* bad : {"14", "14.", ".2", "14.2.1.0", "14.2\n", "14,2", "", "14.2.", "a.b"}) {
        EXPECT_EQ(verifyError(with([&](VeltRelease& r) { r.minimumOS = bad; })), Code::invalidRelease) << bad;
    }
    EXPECT_TRUE(accepted(with([](VeltRelease& r) { r.version = "0.0.0"; })));
    EXPECT_TRUE(accepted(with([](VeltRelease& r) { r.version = "10.20.300"; })));
}

TEST_F(VeltReleaseTest, UpperCaseDigestIsRejectedEvenThoughItMatches) {
    const VeltRelease upper = with([](VeltRelease& r) {
        for (char& c : r.sha256) {
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        }
    });
    ASSERT_NE(upper.sha256, sampleRelease().sha256); // the sample digest has letters
    EXPECT_EQ(verifyError(upper), Code::invalidRelease);
    EXPECT_EQ(verifyError(with([](VeltRelease& r) { r.sha256.pop_back(); })), Code::invalidRelease);
    EXPECT_EQ(verifyError(with([](VeltRelease& r) { r.sha256 += "0"; })), Code::invalidRelease);
    EXPECT_EQ(verifyError(with([](VeltRelease& r) { r.sha256[3] = 'g'; })), Code::invalidRelease);
}

TEST_F(VeltReleaseTest, BytesMustBeFromOneTo200Million) {
    EXPECT_EQ(verifyError(with([](VeltRelease& r) { r.bytes = 0; })), Code::invalidRelease);
    EXPECT_EQ(verifyError(with([](VeltRelease& r) { r.bytes = 200'000'001; })), Code::invalidRelease);
    EXPECT_EQ(verifyError(with([](VeltRelease& r) { r.bytes = -1; })), Code::invalidRelease);
    EXPECT_TRUE(accepted(with([](VeltRelease& r) { r.bytes = 200'000'000; })));
    EXPECT_TRUE(accepted(with([](VeltRelease& r) { r.bytes = 1; })));
}

TEST_F(VeltReleaseTest, SchemaProductAndBuildRules) {
    EXPECT_EQ(verifyError(with([](VeltRelease& r) { r.schema = 2; })), Code::invalidRelease);
    EXPECT_EQ(verifyError(with([](VeltRelease& r) { r.schema = 0; })), Code::invalidRelease);
    EXPECT_EQ(verifyError(with([](VeltRelease& r) { r.product = "Velt"; })), Code::invalidRelease);
    EXPECT_EQ(verifyError(with([](VeltRelease& r) { r.product = "velt "; })), Code::invalidRelease);
    EXPECT_EQ(verifyError(with([](VeltRelease& r) { r.product = "vantrel"; })), Code::invalidRelease);
    EXPECT_EQ(verifyError(with([](VeltRelease& r) { r.build = 0; })), Code::invalidRelease);
    EXPECT_EQ(verifyError(with([](VeltRelease& r) { r.build = -5; })), Code::invalidRelease);
    EXPECT_TRUE(accepted(with([](VeltRelease& r) { r.build = 1; })));
    EXPECT_TRUE(accepted(with([](VeltRelease& r) { r.build = INT64_MAX; })));
}

TEST_F(VeltReleaseTest, DownloadUrlMustBeHttpsWithAHostAndNoCredentials) {
    for (const char* bad : {"http://downloads.example.org/a.zip", "HTTPS://downloads.example.org/a.zip",
                            "ftp://downloads.example.org/a.zip", "https:///a.zip", "https://:443/a.zip",
                            "https://user@downloads.example.org/a.zip", "https://user:pw@example.org/a.zip",
                            "https://:pw@example.org/a.zip", "https://@example.org/a.zip", "downloads/a.zip",
                            "//example.org/a.zip", "https:a.zip"}) {
        EXPECT_EQ(verifyError(with([&](VeltRelease& r) { r.downloadURL = bad; })), Code::invalidRelease)
            << bad;
    }
    for (const char* good : {"https://example.org", "https://127.0.0.1:8443/a.zip", "https://[::1]/a.zip",
                             "https://example.org/a.zip?token=1#x"}) {
        EXPECT_TRUE(accepted(with([&](VeltRelease& r) { r.downloadURL = good; }))) << good;
    }
}

TEST_F(VeltReleaseTest, NotesAreLimitedTo10000Characters) {
    // An artifact can carry about 8,900 bytes of JSON, so the notes limit is
    // reached only by records checked before signing; check the rule directly.
    VeltRelease release = sampleRelease();
    release.notes.assign(10'000, 'x');
    EXPECT_EQ(release.brokenRule(), std::nullopt);
    release.notes += 'x';
    EXPECT_EQ(release.brokenRule(), "notes must be at most 10000 characters");
    // Characters, not bytes: 10,000 two-byte characters are fine.
    release.notes.clear();
    for (int i = 0; i < 10'000; ++i) {
        release.notes += "\xc3\xa9";
    }
    EXPECT_EQ(release.brokenRule(), std::nullopt);
    release.notes += "\xe2\x82\xac";
    EXPECT_NE(release.brokenRule(), std::nullopt);
    EXPECT_TRUE(accepted(with([](VeltRelease& r) { r.notes.assign(8000, 'n'); })));
    EXPECT_TRUE(accepted(with([](VeltRelease& r) { r.notes.clear(); })));
}

TEST_F(VeltReleaseTest, RulesAreCheckedInOrderAndTheFirstBrokenOneIsNamed) {
    VeltRelease release = sampleRelease();
    release.notes.assign(10'001, 'x');
    EXPECT_EQ(release.brokenRule(), "notes must be at most 10000 characters");
    release.bytes = 0;
    EXPECT_EQ(release.brokenRule(), "bytes must be from 1 to 200000000");
    release.sha256 = "x";
    EXPECT_EQ(release.brokenRule(), "sha256 must be 64 lower-case hexadecimal digits");
    release.downloadURL = "https://u@h/";
    EXPECT_EQ(release.brokenRule(), "downloadURL must not carry a user name or password");
    release.downloadURL = "https:///";
    EXPECT_EQ(release.brokenRule(), "downloadURL must name a host");
    release.downloadURL = "http://h/";
    EXPECT_EQ(release.brokenRule(), "downloadURL must use the https scheme");
    release.minimumOS = "15";
    EXPECT_NE(release.brokenRule()->find("minimumOS"), std::string::npos);
    release.version = "1.2";
    EXPECT_NE(release.brokenRule()->find("version"), std::string::npos);
    release.build = 0;
    EXPECT_EQ(release.brokenRule(), "build must be at least 1");
    release.product = "x";
    EXPECT_EQ(release.brokenRule(), "product must be \"velt\"");
    release.schema = 3;
    EXPECT_EQ(release.brokenRule(), "schema must be 1");
    release.notes = "short enough to sign";
    EXPECT_EQ(verifyError(release), Code::invalidRelease);
}

TEST_F(VeltReleaseTest, IsCompatibleComparesWithTheRunningSystem) {
    const SystemVersion sonoma{14, 0, 0};
    auto compatible = [&](const std::string& minimum) {
        VeltRelease release = sampleRelease();
        release.minimumOS = minimum;
        return release.isCompatible(sonoma);
    };
    EXPECT_TRUE(compatible("14.0"));
    EXPECT_FALSE(compatible("14.0.1"));
    EXPECT_TRUE(compatible("13.6"));
    EXPECT_TRUE(compatible("14.0.0"));
    EXPECT_FALSE(compatible("14.1"));
    EXPECT_FALSE(compatible("15.0"));
    EXPECT_TRUE(compatible("13.99.99"));
    // "15" alone never gets this far: the pattern rejects it first.
    EXPECT_EQ(verifyError(with([](VeltRelease& r) { r.minimumOS = "15"; })), Code::invalidRelease);
    // Numbers compare as numbers, not as text.
    VeltRelease release = sampleRelease();
    release.minimumOS = "6.10";
    EXPECT_TRUE(release.isCompatible({6, 10, 0}));
    EXPECT_FALSE(release.isCompatible({6, 9, 99}));
    EXPECT_TRUE(release.isCompatible({7, 0, 0}));
    // A component too large for an integer is skipped, like any non-number.
    release.minimumOS = "6.99999999999999999999.3";
    EXPECT_TRUE(release.isCompatible({6, 3, 0}));
    EXPECT_FALSE(release.isCompatible({6, 2, 9}));
}

TEST_F(VeltReleaseTest, DownloadsAreCheckedBySizeAndDigest) {
    const VeltRelease release = sampleRelease();
    std::string archive = sampleArchive();
    EXPECT_NO_THROW(release.verifyDownload(archive));
    // One bit different, same size.
    archive[archive.size() / 2] ^= 0x01;
    EXPECT_EQ(releaseErrorOf([&] { release.verifyDownload(archive); }), Code::invalidRelease);
    archive = sampleArchive();
    EXPECT_EQ(releaseErrorOf([&] { release.verifyDownload(archive + "x"); }), Code::invalidRelease);
    EXPECT_EQ(releaseErrorOf([&] { release.verifyDownload(archive.substr(1)); }), Code::invalidRelease);
    EXPECT_EQ(releaseErrorOf([&] { release.verifyDownload(""); }), Code::invalidRelease);
    // The digest is compared as text: an upper-case digest never matches.
    VeltRelease upper = release;
    for (char& c : upper.sha256) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    EXPECT_EQ(releaseErrorOf([&] { upper.verifyDownload(archive); }), Code::invalidRelease);
}

TEST(Sha256, MatchesKnownDigests) {
    EXPECT_EQ(Sha256::hex(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(Sha256::hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    Sha256 pieces;
    pieces.update("a");
    pieces.update("bc");
    EXPECT_EQ(pieces.finishHex(), Sha256::hex("abc"));
}

TEST_F(VeltReleaseTest, EveryKeyIsRequiredWithItsType) {
    const nlohmann::json good = nlohmann::json::parse(sampleRelease().toJson());
    EXPECT_EQ(decodingErrorOfJson(good.dump()), std::nullopt);
    for (const char* key :
         {"schema", "product", "version", "build", "minimumOS", "downloadURL", "sha256", "bytes", "notes"}) {
        nlohmann::json missing = good;
        missing.erase(key);
        EXPECT_EQ(decodingErrorOfJson(missing.dump()), Kind::keyNotFound) << key;
        nlohmann::json null = good;
        null[key] = nullptr;
        EXPECT_EQ(decodingErrorOfJson(null.dump()), Kind::valueNotFound) << key;
        nlohmann::json wrong = good;
        wrong[key] = good[key].is_string() ? nlohmann::json(1) : nlohmann::json("1");
        EXPECT_EQ(decodingErrorOfJson(wrong.dump()), Kind::typeMismatch) << key;
        nlohmann::json array = good;
        array[key] = nlohmann::json::array();
        EXPECT_EQ(decodingErrorOfJson(array.dump()), Kind::typeMismatch) << key;
    }
    nlohmann::json fraction = good;
    fraction["build"] = 42.5;
    EXPECT_EQ(decodingErrorOfJson(fraction.dump()), Kind::typeMismatch);
    nlohmann::json boolean = good;
    boolean["bytes"] = true;
    EXPECT_EQ(decodingErrorOfJson(boolean.dump()), Kind::typeMismatch);
    // Keys are matched exactly: no case or snake-case conversion.
    nlohmann::json renamed = good;
    renamed.erase("minimumOS");
    renamed["minimum_os"] = "14.2";
    EXPECT_EQ(decodingErrorOfJson(renamed.dump()), Kind::keyNotFound);
    // Unknown keys are ignored.
    nlohmann::json extra = good;
    extra["channel"] = "beta";
    EXPECT_EQ(decodingErrorOfJson(extra.dump()), std::nullopt);
}

TEST_F(VeltReleaseTest, MalformedPayloadsAreDecodingErrors) {
    EXPECT_EQ(decodingErrorOfJson("not json"), Kind::dataCorrupted);
    EXPECT_EQ(decodingErrorOfJson("{\"schema\": 1,"), Kind::dataCorrupted);
    EXPECT_EQ(decodingErrorOfJson("[1,2]"), Kind::typeMismatch);
    EXPECT_EQ(decodingErrorOfJson("\"text\""), Kind::typeMismatch);
    EXPECT_EQ(decodingErrorOfJson("null"), Kind::typeMismatch);
    EXPECT_EQ(decodingErrorOfJson(sampleRelease().toJson() + " x"), Kind::dataCorrupted);
    std::string badUtf8 = sampleRelease().toJson();
    badUtf8.replace(badUtf8.find("Faster"), 1, "\xff");
    EXPECT_EQ(decodingErrorOfJson(badUtf8), Kind::dataCorrupted);
    // Numbers that do not fit a 64-bit integer.
    nlohmann::json huge = nlohmann::json::parse(sampleRelease().toJson());
    huge["build"] = UINT64_MAX;
    EXPECT_EQ(decodingErrorOfJson(huge.dump()), Kind::dataCorrupted);
    std::string bigger = sampleRelease().toJson();
    bigger.replace(bigger.find("\"build\":42"), 10, "\"build\":123456789012345678901234567890");
    EXPECT_EQ(decodingErrorOfJson(bigger), Kind::typeMismatch);
    // Beyond the range of a double: the parser refuses the number itself.
    std::string overflowing = sampleRelease().toJson();
    overflowing.replace(overflowing.find("\"build\":42"), 10, "\"build\":1e999");
    EXPECT_EQ(decodingErrorOfJson(overflowing), Kind::dataCorrupted);
    EXPECT_EQ(decodingErrorOfJson("{\"x\": -1e400}"), Kind::dataCorrupted);
    // A downloadURL that is not a URL at all fails decoding, not a rule.
    for (const char* text :
         {"", "https://exa mple.org/a.zip", "https://example.org:port/", "https://h/%zz"}) {
        nlohmann::json url = nlohmann::json::parse(sampleRelease().toJson());
        url["downloadURL"] = text;
        EXPECT_EQ(decodingErrorOfJson(url.dump()), Kind::dataCorrupted) << text;
    }
}

TEST(ReleaseErrors, DescriptionsAreTheUserFacingTexts) {
    EXPECT_STREQ(ReleaseError::invalidRelease().what(),
                 "This update could not be verified. Please try again later.");
    EXPECT_NE(std::string(ReleaseError::configurationMissing().what())
                  .find("not been connected to the update service"),
              std::string::npos);
    EXPECT_GT(std::string(ReleaseError::invalidArtifact().what()).size(), 20u);
    EXPECT_EQ(toString(ReleaseError::Code::invalidArtifact), "invalidArtifact");
    EXPECT_STREQ(DecodingError(Kind::keyNotFound, "x").what(),
                 "The data couldn’t be read because it is missing.");
    EXPECT_STREQ(DecodingError(Kind::typeMismatch, "x").what(),
                 "The data couldn’t be read because it isn’t in the correct format.");
}

TEST(ReleaseJson, KeysAreWrittenInFieldOrderAndReadBack) {
    const VeltRelease release = sampleRelease();
    const std::string json = release.toJson();
    std::size_t at = 0;
    for (const char* key :
         {"schema", "product", "version", "build", "minimumOS", "downloadURL", "sha256", "bytes", "notes"}) {
        const std::size_t found = json.find(std::string("\"") + key + "\":");
        ASSERT_NE(found, std::string::npos) << key;
        EXPECT_GE(found, at) << key;
        at = found;
    }
    EXPECT_EQ(VeltRelease::fromJson(json), release);
}
