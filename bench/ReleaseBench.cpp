// Checking release artifacts: the work an update check does once it has the
// service's answer, and the digest of a downloaded archive.
#include "VantrelCore/Sha256.h"
#include "VantrelCore/SignedArtifact.h"
#include "VantrelCore/VeltRelease.h"

#include <benchmark/benchmark.h>

using namespace vantrel;

namespace {

// A typical release: a few lines of notes, about 600 bytes of artifact.
VeltRelease typicalRelease() {
    VeltRelease release;
    release.schema = 1;
    release.product = "velt";
    release.version = "1.4.0";
    release.build = 43;
    release.minimumOS = "6.1";
    release.downloadURL = "https://downloads.example.org/vantrel/Vantrel-1.4.0.zip";
    release.sha256 = Sha256::hex("archive");
    release.bytes = 4'812'345;
    release.notes = "Faster cacti on long runs.\nA new pterodactyl that flies lower.\n"
                    "The best score is kept when the panel closes mid-run.";
    return release;
}

struct Signed {
    SignedArtifact::KeyPair keys = SignedArtifact::KeyPair::generate();
    std::string publicKey = keys.publicKeyText();
    std::string artifact = SignedArtifact::sign(VeltRelease::artifactPrefix, typicalRelease().toJson(), keys);
};

void BM_VerifyTypicalArtifact(benchmark::State& state) {
    const Signed input;
    for (auto _ : state) {
        VeltRelease release = VeltRelease::verify(input.artifact, input.publicKey);
        benchmark::DoNotOptimize(release);
    }
    state.counters["artifact_bytes"] = static_cast<double>(input.artifact.size());
}
BENCHMARK(BM_VerifyTypicalArtifact)->Unit(benchmark::kMicrosecond);

// The signature check alone (base64url decoding and Ed25519), without JSON.
void BM_OpenPayload(benchmark::State& state) {
    const Signed input;
    for (auto _ : state) {
        std::string payload =
            SignedArtifact::openPayload(input.artifact, VeltRelease::artifactPrefix, input.publicKey);
        benchmark::DoNotOptimize(payload);
    }
}
BENCHMARK(BM_OpenPayload)->Unit(benchmark::kMicrosecond);

// A forged artifact is refused at the same cost as a good one is accepted.
void BM_RejectTamperedArtifact(benchmark::State& state) {
    Signed input;
    input.artifact[20] = input.artifact[20] == 'A' ? 'B' : 'A';
    for (auto _ : state) {
        try {
            VeltRelease::verify(input.artifact, input.publicKey);
        } catch (const std::exception& error) {
            benchmark::DoNotOptimize(error.what());
        }
    }
}
BENCHMARK(BM_RejectTamperedArtifact)->Unit(benchmark::kMicrosecond);

// The size and digest check of a downloaded archive, per megabyte.
void BM_VerifyDownload(benchmark::State& state) {
    const std::string archive(static_cast<std::size_t>(state.range(0)) << 20, 'z');
    VeltRelease release = typicalRelease();
    release.bytes = static_cast<int64_t>(archive.size());
    release.sha256 = Sha256::hex(archive);
    for (auto _ : state) {
        release.verifyDownload(archive);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(archive.size()));
}
BENCHMARK(BM_VerifyDownload)->Arg(1)->Arg(16)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
