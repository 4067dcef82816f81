#include "ProcessRun.h"

#include "VantrelCore/ArcadeCue.h"
#include "VantrelCore/Chiptune.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

using vantrel::testing::ProcessResult;
using vantrel::testing::readWholeFile;
using vantrel::testing::runProcess;
namespace fs = std::filesystem;

namespace {

const std::string sim = VANTREL_SIM_PATH;

std::string bytesOf(const std::vector<uint8_t>& v) {
    return std::string(v.begin(), v.end());
}

// A fresh folder per test, removed afterwards.
class WavCli : public ::testing::Test {
protected:
    void SetUp() override {
        char name[] = "/tmp/vantrel-wav-test-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        dir = name;
    }
    void TearDown() override {
        std::error_code ignored;
        fs::remove_all(dir, ignored);
    }
    std::vector<std::string> entries(const fs::path& folder) const {
        std::vector<std::string> names;
        for (const auto& e : fs::directory_iterator(folder)) {
            names.push_back(e.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    fs::path dir;
};

bool haveSoxi() {
    return std::system("command -v soxi >/dev/null 2>&1") == 0;
}

std::string trimmed(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) {
        text.pop_back();
    }
    return text;
}

} // namespace

TEST_F(WavCli, WritesEachCueToAFile) {
    for (vantrel::ArcadeCue cue : vantrel::allArcadeCues) {
        const std::string name = std::string(toString(cue));
        const fs::path file = dir / (name + ".wav");
        const ProcessResult r = runProcess(sim + " wav " + name + " -o " + file.string(), "");
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(r.err, "");
        EXPECT_EQ(readWholeFile(file), bytesOf(vantrel::Chiptune::waveData(cue))) << name;
    }
    // Nothing but the five files: no temporary left behind.
    EXPECT_EQ(entries(dir),
              (std::vector<std::string>{"crash.wav", "duck.wav", "jump.wav", "milestone.wav", "record.wav"}));
}

TEST_F(WavCli, WritesToStandardOutputWithoutOption) {
    const ProcessResult r = runProcess(sim + " wav record", "");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, bytesOf(vantrel::Chiptune::waveData(vantrel::ArcadeCue::record)));
    EXPECT_EQ(r.out.size(), 44u + 2 * 32635);
    const ProcessResult before = runProcess(sim + " wav -o " + (dir / "d.wav").string() + " duck", "");
    ASSERT_EQ(before.status, 0) << before.err; // the option may come first
    EXPECT_EQ(readWholeFile(dir / "d.wav"), bytesOf(vantrel::Chiptune::waveData(vantrel::ArcadeCue::duck)));
}

TEST_F(WavCli, SoxReadsTheFilesAsMono16Bit44100) {
    if (!haveSoxi()) {
        GTEST_SKIP() << "soxi (Debian package sox) is not installed";
    }
    const std::pair<const char*, long> cues[] = {
        {"jump", 4191}, {"duck", 3089}, {"milestone", 13672}, {"record", 32635}, {"crash", 14554}};
    for (const auto& [name, count] : cues) {
        const fs::path file = dir / (std::string(name) + ".wav");
        ASSERT_EQ(runProcess(sim + " wav " + name + " -o " + file.string(), "").status, 0);
        auto soxi = [&](const char* flag) {
            const ProcessResult r = runProcess("soxi " + std::string(flag) + " " + file.string(), "");
            EXPECT_EQ(r.status, 0) << r.err;
            return trimmed(r.out);
        };
        EXPECT_EQ(soxi("-r"), "44100") << name;
        EXPECT_EQ(soxi("-c"), "1") << name;
        EXPECT_EQ(soxi("-b"), "16") << name;
        EXPECT_EQ(soxi("-e"), "Signed Integer PCM") << name;
        EXPECT_EQ(soxi("-s"), std::to_string(count)) << name;
    }
    // sox decodes the samples back: the jump's peak is its 0.13 gain times the waveform's ~0.61.
    const ProcessResult stat = runProcess("sox " + (dir / "jump.wav").string() + " -n stat", "");
    ASSERT_EQ(stat.status, 0) << stat.err;
    const std::size_t at = stat.err.find("Maximum amplitude:");
    ASSERT_NE(at, std::string::npos) << stat.err;
    const double peak = std::stod(stat.err.substr(at + 18));
    EXPECT_GT(peak, 0.06);
    EXPECT_LT(peak, 0.13);
}

TEST_F(WavCli, UnknownCueListsTheFiveNames) {
    const fs::path file = dir / "x.wav";
    for (const std::string cue : {"bark", "JUMP", "", "jump2"}) {
        const ProcessResult r = runProcess(sim + " wav '" + cue + "' -o " + file.string(), "");
        EXPECT_EQ(r.status, 2) << cue;
        EXPECT_EQ(r.out, "");
        for (const char* name : {"jump", "duck", "milestone", "record", "crash"}) {
            EXPECT_NE(r.err.find(name), std::string::npos) << cue << ": " << r.err;
        }
        EXPECT_NE(r.err.find("'" + cue + "'"), std::string::npos) << r.err;
    }
    EXPECT_FALSE(fs::exists(file));
    EXPECT_TRUE(entries(dir).empty());
}

TEST_F(WavCli, BadArgumentsAreUsageErrors) {
    for (const std::string args : {"", "jump -o", "jump duck", "jump -o a -o b"}) {
        const ProcessResult r = runProcess(sim + " wav " + args, "");
        EXPECT_EQ(r.status, 2) << args;
        EXPECT_EQ(r.out, "") << args;
        EXPECT_NE(r.err.find("usage"), std::string::npos) << args << ": " << r.err;
    }
}

TEST_F(WavCli, UnwritableOutputFailsCleanly) {
    // A folder that does not exist.
    const fs::path missing = dir / "no-such-folder" / "out.wav";
    ProcessResult r = runProcess(sim + " wav jump -o " + missing.string(), "");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_NE(r.err.find("cannot write"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find(missing.string()), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("No such file or directory"), std::string::npos) << r.err;

    // A folder in the way of the file: it stays as it was, and no temporary is left.
    fs::create_directory(dir / "taken.wav");
    { std::ofstream(dir / "taken.wav" / "keep") << "keep"; }
    r = runProcess(sim + " wav crash -o " + (dir / "taken.wav").string(), "");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("Is a directory"), std::string::npos) << r.err;
    EXPECT_EQ(entries(dir), std::vector<std::string>{"taken.wav"});
    EXPECT_EQ(readWholeFile(dir / "taken.wav" / "keep"), "keep");

    // A device that accepts no bytes: written in place (never replaced), and the failure reported.
    r = runProcess(sim + " wav milestone -o /dev/full", "");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("No space left"), std::string::npos) << r.err;
    EXPECT_TRUE(fs::is_character_file("/dev/full"));

    // Standard output that cannot take the bytes.
    r = runProcess("sh -c '" + sim + " wav jump > /dev/full'", "");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("standard output"), std::string::npos) << r.err;
}

TEST_F(WavCli, ReplacesAnExistingFileWhole) {
    const fs::path file = dir / "out.wav";
    { std::ofstream(file) << std::string(200000, 'x'); }
    const ProcessResult r = runProcess(sim + " wav duck -o " + file.string(), "");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(readWholeFile(file), bytesOf(vantrel::Chiptune::waveData(vantrel::ArcadeCue::duck)));
    // Through a symbolic link the target is replaced and the link kept.
    fs::create_symlink(file, dir / "link.wav");
    ASSERT_EQ(runProcess(sim + " wav jump -o " + (dir / "link.wav").string(), "").status, 0);
    EXPECT_TRUE(fs::is_symlink(dir / "link.wav"));
    EXPECT_EQ(readWholeFile(file), bytesOf(vantrel::Chiptune::waveData(vantrel::ArcadeCue::jump)));
    EXPECT_EQ(entries(dir), (std::vector<std::string>{"link.wav", "out.wav"}));
    // A new file gets the usual permissions, not the temporary file's private ones.
    const auto perms = fs::status(file).permissions();
    EXPECT_NE(perms & fs::perms::others_read, fs::perms::none);
}
