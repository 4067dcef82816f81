// Writes the fuzzer's seed corpus into a folder: valid artifacts, their JSON
// payloads, and near misses of each rule, all with the fixed key pair.
#include "FuzzKeys.h"

#include "VantrelCore/Sha256.h"
#include "VantrelCore/VeltRelease.h"

#include <fstream>
#include <functional>
#include <string>
#include <vector>

using namespace vantrel;

int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    const std::string folder = argv[1];
    VeltRelease base;
    base.schema = 1;
    base.product = "velt";
    base.version = "1.4.0";
    base.build = 42;
    base.minimumOS = "6.1";
    base.downloadURL = "https://downloads.example.org/vantrel/Vantrel-1.4.0.zip";
    base.sha256 = Sha256::hex("x");
    base.bytes = 1;
    base.notes = "Faster cacti.";

    const std::vector<std::function<void(VeltRelease&)>> changes = {
        [](VeltRelease&) {},
        [](VeltRelease& r) { r.schema = 2; },
        [](VeltRelease& r) { r.product = "Velt"; },
        [](VeltRelease& r) { r.build = 0; },
        [](VeltRelease& r) { r.version = "1.2"; },
        [](VeltRelease& r) { r.minimumOS = "15"; },
        [](VeltRelease& r) { r.minimumOS = "14.2.1"; },
        [](VeltRelease& r) { r.downloadURL = "http://h/a.zip"; },
        [](VeltRelease& r) { r.downloadURL = "https://u:p@h/a.zip"; },
        [](VeltRelease& r) { r.downloadURL = "https:///a.zip"; },
        [](VeltRelease& r) { r.sha256[0] = 'A'; },
        [](VeltRelease& r) { r.bytes = 200'000'001; },
        [](VeltRelease& r) { r.notes = std::string(3000, 'n') + "\xc3\xa9"; },
    };
    int index = 0;
    auto write = [&](char mode, const std::string& body) {
        std::ofstream(folder + "/seed-" + std::to_string(index++), std::ios::binary) << mode << body;
    };
    const std::string publicKey = fuzz::keys().publicKeyText();
    for (const auto& change : changes) {
        VeltRelease release = base;
        change(release);
        const std::string json = release.toJson();
        const std::string artifact = SignedArtifact::sign(VeltRelease::artifactPrefix, json, fuzz::keys());
        write('\0', artifact);
        write('\1', json);
        write('\2', publicKey + artifact);
    }
    write('\1', "{\"schema\":1}");
    write('\1', "[1,2,3]");
    write('\0', "VELTR1..");
    return 0;
}
