#include "ProcessRun.h"
#include "ReleaseTestSupport.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

using namespace vantrel;
using namespace vantrel::testing;
namespace fs = std::filesystem;

namespace {

const std::string tool = VANTREL_RELEASE_PATH;

class ReleaseTool : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/vantrel-release-test-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir = pattern;
    }
    void TearDown() override { fs::remove_all(dir); }

    ProcessResult run(const std::string& arguments, const std::string& input = "") const {
        return runProcess(tool + " " + arguments, input);
    }
    std::string write(const std::string& name, const std::string& content) const {
        const std::string path = dir + "/" + name;
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }
    // Makes a key with the tool; returns the public key it printed.
    std::string keygen(const std::string& keyPath) const {
        const ProcessResult r = run("keygen --secret-key " + keyPath);
        EXPECT_EQ(r.status, 0) << r.err;
        std::string key = r.out;
        if (!key.empty() && key.back() == '\n') {
            key.pop_back();
        }
        return key;
    }

    std::string dir;
};

std::string singleLine(const std::string& text) {
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
    return text.substr(0, text.find('\n'));
}

} // namespace

TEST_F(ReleaseTool, KeygenWritesAnOwnerOnlyKeyAndPrintsThePublicKey) {
    const std::string keyPath = dir + "/release.key";
    // Even with a permissive umask the key is for its owner only.
    const ProcessResult r =
        runProcess("sh -c 'umask 000 && exec " + tool + " keygen --secret-key " + keyPath + "'", "");
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string publicKey = singleLine(r.out);
    EXPECT_EQ(publicKey.size(), 44u);
    EXPECT_EQ(publicKey.back(), '=');
    struct stat info {};
    ASSERT_EQ(stat(keyPath.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    // The file holds the secret key whose public half was printed.
    std::string stored = readWholeFile(keyPath);
    stored.pop_back();
    const auto bytes = SignedArtifact::fromBase64(stored);
    ASSERT_TRUE(bytes.has_value());
    const auto keys = SignedArtifact::KeyPair::fromSecretKey(*bytes);
    ASSERT_TRUE(keys.has_value());
    EXPECT_EQ(keys->publicKeyText(), publicKey);
    // Two keys are never the same.
    EXPECT_NE(keygen(dir + "/other.key"), publicKey);
}

TEST_F(ReleaseTool, KeygenRefusesToOverwrite) {
    const std::string keyPath = dir + "/release.key";
    keygen(keyPath);
    const std::string before = readWholeFile(keyPath);
    const ProcessResult again = run("keygen --secret-key " + keyPath);
    EXPECT_EQ(again.status, 1);
    EXPECT_NE(again.err.find("already exists"), std::string::npos) << again.err;
    EXPECT_EQ(again.out, "");
    EXPECT_EQ(readWholeFile(keyPath), before);
    // Nor through a symbolic link to some other file.
    const std::string victim = write("victim", "keep me");
    fs::create_symlink(victim, dir + "/link.key");
    EXPECT_EQ(run("keygen --secret-key " + dir + "/link.key").status, 1);
    EXPECT_EQ(readWholeFile(victim), "keep me");
    EXPECT_EQ(run("keygen --secret-key " + dir + "/no/such/dir/k").status, 1);
    EXPECT_EQ(run("keygen").status, 2);
}

TEST_F(ReleaseTool, SignThenVerifyRoundTrips) {
    const std::string keyPath = dir + "/release.key";
    const std::string publicKey = keygen(keyPath);
    const VeltRelease release = sampleRelease();
    const std::string json = write("release.json", release.toJson(2));
    const ProcessResult signing = run("sign --secret-key " + keyPath + " " + json);
    ASSERT_EQ(signing.status, 0) << signing.err;
    EXPECT_EQ(signing.err, "");
    const std::string artifact = singleLine(signing.out);
    // The application's own check accepts it and gives back the same record.
    EXPECT_EQ(VeltRelease::verify(artifact, publicKey), release);

    const std::string artifactPath = write("artifact.txt", signing.out);
    const ProcessResult checked = run("verify --public-key " + publicKey + " " + artifactPath);
    ASSERT_EQ(checked.status, 0) << checked.err;
    EXPECT_EQ(VeltRelease::fromJson(checked.out), release);
    // Standard input works for both.
    const ProcessResult piped = run("sign --secret-key " + keyPath, release.toJson());
    ASSERT_EQ(piped.status, 0) << piped.err;
    const ProcessResult pipedCheck = run("verify --public-key " + publicKey, piped.out);
    EXPECT_EQ(pipedCheck.status, 0) << pipedCheck.err;
    EXPECT_EQ(VeltRelease::fromJson(pipedCheck.out), release);
}

TEST_F(ReleaseTool, SignRefusesABrokenReleaseNamingTheRule) {
    const std::string keyPath = dir + "/release.key";
    keygen(keyPath);
    struct Case {
        std::function<void(VeltRelease&)> change;
        const char* rule;
    };
    const Case cases[] = {
        {[](VeltRelease& r) { r.schema = 2; }, "schema"},
        {[](VeltRelease& r) { r.product = "Velt"; }, "product"},
        {[](VeltRelease& r) { r.build = 0; }, "build"},
        {[](VeltRelease& r) { r.version = "1.2"; }, "version"},
        {[](VeltRelease& r) { r.minimumOS = "15"; }, "minimumOS"},
        {[](VeltRelease& r) { r.downloadURL = "http://example.org/a.zip"; },
         "downloadURL must use the https"},
        {[](VeltRelease& r) { r.downloadURL = "https:///a.zip"; }, "downloadURL must name a host"},
        {[](VeltRelease& r) { r.downloadURL = "https://me:pw@example.org/a.zip"; }, "user name or password"},
        {[](VeltRelease& r) { r.sha256[0] = 'A'; }, "sha256"},
        {[](VeltRelease& r) { r.bytes = 0; }, "bytes"},
        {[](VeltRelease& r) { r.bytes = 200'000'001; }, "bytes"},
        {[](VeltRelease& r) { r.notes.assign(10'001, 'x'); }, "notes"},
    };
    for (const Case& c : cases) {
        VeltRelease release = sampleRelease();
        c.change(release);
        const ProcessResult r = run("sign --secret-key " + keyPath, release.toJson());
        EXPECT_EQ(r.status, 1) << c.rule;
        EXPECT_EQ(r.out, "") << c.rule;
        const std::string line = singleLine(r.err);
        EXPECT_EQ(line.rfind("invalidRelease: ", 0), 0u) << line;
        EXPECT_NE(line.find(c.rule), std::string::npos) << line;
    }
}

TEST_F(ReleaseTool, SignRefusesBadJsonAndTooLongArtifacts) {
    const std::string keyPath = dir + "/release.key";
    keygen(keyPath);
    nlohmann::json missing = nlohmann::json::parse(sampleRelease().toJson());
    missing.erase("sha256");
    for (const std::string& input : {std::string("{"), missing.dump(), std::string("[]"), std::string()}) {
        const ProcessResult r = run("sign --secret-key " + keyPath, input);
        EXPECT_EQ(r.status, 1) << input;
        EXPECT_EQ(singleLine(r.err).rfind("decoding: ", 0), 0u) << r.err;
    }
    const ProcessResult r = run("sign --secret-key " + keyPath, missing.dump());
    EXPECT_NE(r.err.find("sha256"), std::string::npos) << r.err;
    // Notes within the rules whose artifact is longer than the service may carry.
    VeltRelease release = sampleRelease();
    release.notes.assign(9500, 'n');
    const ProcessResult tooLong = run("sign --secret-key " + keyPath, release.toJson());
    EXPECT_EQ(tooLong.status, 1);
    EXPECT_EQ(singleLine(tooLong.err).rfind("invalidArtifact: ", 0), 0u) << tooLong.err;
}

TEST_F(ReleaseTool, SignNeedsAGoodKeyFile) {
    const VeltRelease release = sampleRelease();
    EXPECT_EQ(run("sign --secret-key " + dir + "/none.key", release.toJson()).status, 1);
    const std::string damaged = write("damaged.key", "AAAA\n");
    const ProcessResult r = run("sign --secret-key " + damaged, release.toJson());
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("does not hold a release secret key"), std::string::npos) << r.err;
    // A key file others can read still signs, with a warning.
    const std::string keyPath = dir + "/open.key";
    keygen(keyPath);
    chmod(keyPath.c_str(), 0644);
    const ProcessResult warned = run("sign --secret-key " + keyPath, release.toJson());
    EXPECT_EQ(warned.status, 0);
    EXPECT_NE(warned.err.find("warning"), std::string::npos);
    EXPECT_EQ(run("sign", release.toJson()).status, 2);
}

TEST_F(ReleaseTool, VerifyReportsEachKindOfFailureOnOneLine) {
    const SignedArtifact::KeyPair keys = SignedArtifact::KeyPair::generate();
    const std::string publicKey = keys.publicKeyText();
    const std::string good = artifactFor(sampleRelease(), keys);

    const auto verify = [&](const std::string& key, const std::string& artifact) {
        const ProcessResult r = run("verify --public-key " + key, artifact + "\n");
        EXPECT_EQ(r.status, 1) << r.out;
        EXPECT_EQ(r.out, "");
        return singleLine(r.err);
    };
    const std::string stranger = SignedArtifact::KeyPair::generate().publicKeyText();
    EXPECT_EQ(verify(stranger, good),
              std::string("invalidArtifact: ") + ReleaseError::invalidArtifact().what());
    std::string tampered = good;
    tampered[20] = tampered[20] == 'A' ? 'B' : 'A';
    EXPECT_EQ(verify(publicKey, tampered).rfind("invalidArtifact: ", 0), 0u);
    EXPECT_EQ(verify(publicKey, "VELTR1.e30").rfind("invalidArtifact: ", 0), 0u);

    VeltRelease broken = sampleRelease();
    broken.version = "1.2";
    const std::string line = verify(publicKey, artifactFor(broken, keys));
    EXPECT_EQ(line.rfind("invalidRelease: ", 0), 0u) << line;
    EXPECT_NE(line.find("version"), std::string::npos) << line;

    nlohmann::json missing = nlohmann::json::parse(sampleRelease().toJson());
    missing.erase("build");
    const std::string decoding = verify(publicKey, SignedArtifact::sign("VELTR1", missing.dump(), keys));
    EXPECT_EQ(decoding.rfind("decoding: ", 0), 0u) << decoding;
    EXPECT_NE(decoding.find("build"), std::string::npos) << decoding;
    EXPECT_EQ(run("verify", good).status, 2);
}

TEST_F(ReleaseTool, DigestPrintsTheValuesOfAnArchive) {
    const std::string archive = sampleArchive();
    const std::string path = write("Vantrel-1.4.0.zip", archive);
    const ProcessResult r = run("digest " + path);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "sha256 " + Sha256::hex(archive) + "\nbytes " + std::to_string(archive.size()) + "\n");
    // Larger than one read buffer.
    const std::string big(300'000, 'z');
    const ProcessResult large = run("digest " + write("big.zip", big));
    EXPECT_EQ(large.out, "sha256 " + Sha256::hex(big) + "\nbytes 300000\n");
    const ProcessResult absent = run("digest " + dir + "/absent.zip");
    EXPECT_EQ(absent.status, 1);
    EXPECT_NE(absent.err.find("absent.zip"), std::string::npos);
    EXPECT_EQ(run("digest").status, 2);
}

TEST_F(ReleaseTool, UsageErrors) {
    EXPECT_EQ(run("").status, 2);
    const ProcessResult unknown = run("publish");
    EXPECT_EQ(unknown.status, 2);
    EXPECT_NE(unknown.err.find("usage"), std::string::npos);
    EXPECT_EQ(run("--help").status, 0);
}
