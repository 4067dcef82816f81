// vantrel-release: makes and checks the signed release artifacts that the
// update service publishes. For maintainers; the application only verifies.
#include "SecretKeyFile.h"

#include "VantrelCore/DecodingError.h"
#include "VantrelCore/ReleaseError.h"
#include "VantrelCore/Sha256.h"
#include "VantrelCore/SignedArtifact.h"
#include "VantrelCore/VeltRelease.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using namespace vantrel;
using vantrel::release::SecretKeyFile;

namespace {

const char* const usage =
    "usage: vantrel-release keygen --secret-key FILE\n"
    "       vantrel-release sign --secret-key FILE [RELEASE.json]\n"
    "       vantrel-release verify --public-key KEY [ARTIFACT]\n"
    "       vantrel-release digest FILE\n"
    "\n"
    "  keygen  makes a signing key, stores it in FILE (owner-only) and prints the public key\n"
    "  sign    checks a release record and prints its signed artifact line\n"
    "  verify  checks an artifact as the application does and prints the release as JSON\n"
    "  digest  prints the sha256 and bytes values of a release archive\n"
    "Without a file name, sign and verify read standard input.\n";

// Release records and artifacts are small; anything bigger is refused unread.
constexpr std::size_t maximumInput = 1 << 20;

int usageError(const std::string& message) {
    std::fprintf(stderr, "vantrel-release: %s\n%s", message.c_str(), usage);
    return 2;
}

int failure(const std::string& message) {
    std::fprintf(stderr, "%s\n", message.c_str());
    return 1;
}

// Reads a whole small input (a path, or standard input for "" and "-").
std::optional<std::string> readInput(const std::string& path, std::string& error) {
    FILE* file = path.empty() || path == "-" ? stdin : std::fopen(path.c_str(), "rb");
    if (!file) {
        error = "cannot read " + path + ": " + std::strerror(errno);
        return std::nullopt;
    }
    std::string text;
    char buffer[8192];
    std::size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0 && text.size() <= maximumInput) {
        text.append(buffer, n);
    }
    const bool failed = std::ferror(file);
    if (file != stdin) {
        std::fclose(file);
    }
    if (failed) {
        error = "cannot read " + (path.empty() ? std::string("standard input") : path);
        return std::nullopt;
    }
    if (text.size() > maximumInput) {
        error = "input larger than 1 MiB";
        return std::nullopt;
    }
    return text;
}

// Parses "--NAME VALUE [POSITIONAL]" as the commands take them.
struct Arguments {
    std::string option;
    std::string positional;
};

std::optional<Arguments> parseArguments(int argc, char** argv, std::string_view name, bool positionalAllowed,
                                        std::string& error) {
    Arguments args;
    bool haveOption = false;
    bool havePositional = false;
    for (int i = 2; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (arg == name && i + 1 < argc && !haveOption) {
            args.option = argv[++i];
            haveOption = true;
        } else if (positionalAllowed && !havePositional && (arg == "-" || arg.substr(0, 1) != "-")) {
            args.positional = arg;
            havePositional = true;
        } else {
            error = "unexpected argument '" + std::string(arg) + "'";
            return std::nullopt;
        }
    }
    if (!haveOption) {
        error = std::string(name) + " is required";
        return std::nullopt;
    }
    return args;
}

int keygen(int argc, char** argv) {
    std::string error;
    const auto args = parseArguments(argc, argv, "--secret-key", false, error);
    if (!args) {
        return usageError(error);
    }
    const SignedArtifact::KeyPair keys = SignedArtifact::KeyPair::generate();
    error = SecretKeyFile(args->option).create(keys);
    if (!error.empty()) {
        return failure("vantrel-release: " + error);
    }
    std::printf("%s\n", keys.publicKeyText().c_str());
    return 0;
}

int sign(int argc, char** argv) {
    std::string error;
    const auto args = parseArguments(argc, argv, "--secret-key", true, error);
    if (!args) {
        return usageError(error);
    }
    const SecretKeyFile keyFile(args->option);
    const auto keys = keyFile.read(error);
    if (!keys) {
        return failure("vantrel-release: " + error);
    }
    if (keyFile.readableByOthers()) {
        std::fprintf(stderr, "vantrel-release: warning: %s can be read by other users (chmod 600 it)\n",
                     args->option.c_str());
    }
    const auto json = readInput(args->positional, error);
    if (!json) {
        return failure("vantrel-release: " + error);
    }
    VeltRelease release;
    try {
        release = VeltRelease::fromJson(*json);
    } catch (const DecodingError& decoding) {
        return failure("decoding: " + decoding.detail());
    }
    if (const auto rule = release.brokenRule()) {
        return failure("invalidRelease: " + *rule);
    }
    const std::string artifact = SignedArtifact::sign(VeltRelease::artifactPrefix, release.toJson(), *keys);
    if (artifact.size() > SignedArtifact::maximumLength) {
        return failure("invalidArtifact: the artifact would be " + std::to_string(artifact.size()) +
                       " bytes, more than 12000; shorten the notes");
    }
    // What we print must pass exactly the check the application makes.
    try {
        VeltRelease::verify(artifact, keys->publicKeyText());
    } catch (const std::exception& check) {
        return failure(std::string("vantrel-release: the signed artifact does not verify: ") + check.what());
    }
    std::printf("%s\n", artifact.c_str());
    return 0;
}

int verify(int argc, char** argv) {
    std::string error;
    const auto args = parseArguments(argc, argv, "--public-key", true, error);
    if (!args) {
        return usageError(error);
    }
    auto text = readInput(args->positional, error);
    if (!text) {
        return failure("vantrel-release: " + error);
    }
    // A file or a pipe usually ends the line; the artifact itself never holds one.
    if (!text->empty() && text->back() == '\n') {
        text->pop_back();
        if (!text->empty() && text->back() == '\r') {
            text->pop_back();
        }
    }
    VeltRelease release;
    try {
        release = SignedArtifact::decode<VeltRelease>(*text, VeltRelease::artifactPrefix, args->option);
    } catch (const ReleaseError& invalid) {
        return failure(std::string(toString(invalid.code())) + ": " + invalid.what());
    } catch (const DecodingError& decoding) {
        return failure("decoding: " + decoding.detail());
    }
    if (const auto rule = release.brokenRule()) {
        return failure("invalidRelease: " + *rule);
    }
    std::printf("%s\n", release.toJson(2).c_str());
    return 0;
}

int digest(int argc, char** argv) {
    if (argc != 3) {
        return usageError("digest takes one file");
    }
    FILE* file = std::fopen(argv[2], "rb");
    if (!file) {
        return failure(std::string("vantrel-release: cannot read ") + argv[2] + ": " + std::strerror(errno));
    }
    Sha256 hash;
    std::vector<char> buffer(1 << 16);
    uint64_t bytes = 0;
    std::size_t n = 0;
    while ((n = std::fread(buffer.data(), 1, buffer.size(), file)) > 0) {
        hash.update(std::string_view(buffer.data(), n));
        bytes += n;
    }
    const bool failed = std::ferror(file);
    std::fclose(file);
    if (failed) {
        return failure(std::string("vantrel-release: cannot read ") + argv[2]);
    }
    std::printf("sha256 %s\nbytes %llu\n", hash.finishHex().c_str(), static_cast<unsigned long long>(bytes));
    if (bytes < 1 || bytes > static_cast<uint64_t>(VeltRelease::maximumBytes)) {
        std::fprintf(stderr,
                     "vantrel-release: warning: a release archive must be from 1 to 200000000 bytes\n");
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        return usageError("missing command");
    }
    if (!ensureSodium()) {
        return failure("vantrel-release: libsodium cannot start on this machine");
    }
    const std::string_view command = argv[1];
    if (command == "--help" || command == "-h" || command == "help") {
        std::fputs(usage, stdout);
        return 0;
    }
    if (command == "keygen") {
        return keygen(argc, argv);
    }
    if (command == "sign") {
        return sign(argc, argv);
    }
    if (command == "verify") {
        return verify(argc, argv);
    }
    if (command == "digest") {
        return digest(argc, argv);
    }
    return usageError("unknown command '" + std::string(command) + "'");
}
