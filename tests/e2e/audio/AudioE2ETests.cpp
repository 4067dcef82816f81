// Plays cues through a real PulseAudio server and proves from a recording of its
// null sink what a listener would hear.
#include "AudioTestSupport.h"
#include "PulseServer.h"

#include "Vantrel/audio/ArcadeAudio.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

using namespace vantrel;
using namespace vantrel::testing;

namespace {

constexpr double rate = Chiptune::sampleRate;
// How long the tests wait for what they expect before they fail: generous, as a
// loaded machine delays the recording, never the verdict.
constexpr int deadlineMs = 15000;

// One server per test process; every test here records it.
class SoundServer : public ::testing::Environment {
public:
    void SetUp() override {
        why = server.start();
        if (why.empty()) {
            server.useInThisProcess();
        }
    }
    void TearDown() override { server.stop(); }
    PulseServer server;
    std::string why;
};
SoundServer* sound = nullptr;

class ArcadeAudioE2E : public ::testing::Test {
protected:
    void SetUp() override {
        if (!sound->why.empty()) {
            GTEST_SKIP() << "no sound server for the test: " << sound->why;
        }
        audio = std::make_unique<ArcadeAudio>();
        // These tests check what is heard, not how soon: a larger buffer (~70 ms
        // kept) keeps a busy test machine from underrunning the stream, which would
        // insert gaps. The delay with the default buffer is measured in bench/.
        audio->mixer().setBufferBytes(AudioMixer::maxBufferBytes);
        recording = std::make_unique<MonitorRecording>(sound->server);
        const std::string why = recording->start();
        ASSERT_EQ(why, "");
        // Warm up: when a stream starts on a running null sink the server mixes its
        // first milliseconds into sink time the monitor has already delivered (a
        // rewind), so they are missing from the recording though a sound card would
        // play them. The cues under test follow while the stream runs, once the
        // duck has been recorded (so nothing they do can overlap it).
        audio->play(ArcadeCue::duck);
        ASSERT_TRUE(pumpUntil([&] { return quiet(); }, deadlineMs));
        ASSERT_TRUE(waitForRecording([](const std::vector<float>& rec) { return firstSound(rec) >= 0; }))
            << "the warm-up was never recorded";
        ASSERT_TRUE(audio->mixer().isSinkRunning());
    }
    // The first index after the warm-up duck.
    static std::size_t afterWarmUp(const std::vector<float>& rec) {
        const std::ptrdiff_t onset = firstSound(rec);
        if (onset < 0) {
            return rec.size();
        }
        const std::size_t duckLength = Chiptune::samples(ArcadeCue::duck).size();
        return static_cast<std::size_t>(lastSound(rec, onset, onset + duckLength)) + 1;
    }
    // Runs the event loop until the recording so far passes `test`, reading it every
    // 50 ms (reading costs time the stream must not lose); false at the deadline.
    bool waitForRecording(const std::function<bool(const std::vector<float>&)>& test) {
        QElapsedTimer waited;
        waited.start();
        while (waited.elapsed() < deadlineMs) {
            if (test(recording->samples())) {
                return true;
            }
            pump(50);
        }
        return test(recording->samples());
    }
    // Ends the recording once everything played has reached it: the sink stops only
    // after a hold of silence longer than its buffer, so then all was played; the
    // recording has caught up once it ends in more silence than any pause a test leaves.
    std::vector<float> finish() {
        const bool caughtUp = waitForRecording([&](const std::vector<float>& rec) {
            const std::ptrdiff_t last = lastSound(rec, 0, rec.size());
            return !audio->mixer().isSinkRunning() && last >= 0 &&
                   static_cast<double>(rec.size()) - static_cast<double>(last) > trailingSilence * rate;
        });
        EXPECT_TRUE(caughtUp) << "the recording never ended in silence";
        auto rec = recording->stop();
        // A gap in the stream shows as a mismatch below; this says why.
        std::printf("the stream ran dry %d times\n", audio->mixer().underruns());
        if (const char* dump = std::getenv("VANTREL_DUMP")) {
            std::ofstream(dump, std::ios::binary)
                .write(reinterpret_cast<const char*>(rec.data()), rec.size() * 4);
        }
        return rec;
    }
    bool quiet() const {
        for (ArcadeCue cue : allArcadeCues) {
            if (WavPlayer* p = audio->cachedPlayer(cue); p && p->isPlaying()) {
                return false;
            }
        }
        return !audio->activeReward() && audio->pendingRewards().empty();
    }
    static constexpr double trailingSilence = 0.5; // seconds
    std::unique_ptr<MonitorRecording> recording;
    std::unique_ptr<ArcadeAudio> audio;
};

} // namespace

TEST_F(ArcadeAudioE2E, EachCueIsHeardWholeAtItsLength) {
    for (ArcadeCue cue : allArcadeCues) {
        audio->play(cue);
        ASSERT_TRUE(pumpUntil([&] { return quiet(); }, deadlineMs)) << toString(cue);
        pump(150); // a pause in the stream between cues, so each is found alone
    }
    const std::vector<float> rec = finish();
    ASSERT_GT(rec.size(), static_cast<std::size_t>(Chiptune::sampleRate));
    std::size_t cursor = afterWarmUp(rec);
    for (ArcadeCue cue : allArcadeCues) {
        SCOPED_TRACE(std::string(toString(cue)));
        const std::vector<float> want = expectedSound(cue, ArcadeAudio::volume);
        const std::ptrdiff_t onset = firstSound(rec, cursor);
        ASSERT_GE(onset, 0);
        const std::ptrdiff_t wantFirst = firstSound(want);
        const auto start = static_cast<std::size_t>(onset - wantFirst);
        // The recording holds the cue sample for sample, at volume 0.65, and nothing else meanwhile.
        EXPECT_LT(mismatch(rec, start, want, want.size()), 1e-4f);
        const std::ptrdiff_t heardEnd =
            lastSound(rec, start, start + want.size() + Chiptune::sampleRate / 10);
        const double heardSeconds = (heardEnd - onset + 1) / rate;
        const double wantSeconds = (lastSound(want, 0, want.size()) - wantFirst + 1) / rate;
        EXPECT_NEAR(heardSeconds, wantSeconds, 0.003);
        std::printf("%-9s heard %.4f s (rendered %.4f s)\n", std::string(toString(cue)).c_str(), heardSeconds,
                    wantSeconds);
        cursor = start + want.size();
    }
    EXPECT_EQ(firstSound(rec, cursor), -1); // nothing after the last cue
}

TEST_F(ArcadeAudioE2E, RewardsRaisedTogetherPlayOneAfterTheOther) {
    audio->play(ArcadeCue::milestone);
    audio->play(ArcadeCue::record);
    ASSERT_TRUE(pumpUntil([&] { return quiet(); }, deadlineMs));
    const std::vector<float> rec = finish();

    const std::vector<float> milestone = expectedSound(ArcadeCue::milestone, ArcadeAudio::volume);
    const std::vector<float> record = expectedSound(ArcadeCue::record, ArcadeAudio::volume);
    const std::ptrdiff_t onset = firstSound(rec, afterWarmUp(rec));
    ASSERT_GE(onset, 0);
    const auto mStart = static_cast<std::size_t>(onset - firstSound(milestone));
    // The milestone alone, whole: a record on top would show as a mismatch.
    EXPECT_LT(mismatch(rec, mStart, milestone, milestone.size()), 1e-4f);
    const std::size_t mEnd = static_cast<std::size_t>(lastSound(rec, mStart, mStart + milestone.size())) + 1;

    const std::ptrdiff_t rOnset = firstSound(rec, mEnd);
    ASSERT_GE(rOnset, 0);
    const auto rStart = static_cast<std::size_t>(rOnset - firstSound(record));
    EXPECT_GE(rStart + 1, mEnd); // starts only where the milestone has ended
    EXPECT_LT(mismatch(rec, rStart, record, record.size()), 1e-4f);
    const double gap = (static_cast<double>(rOnset) - static_cast<double>(mEnd)) / rate;
    std::printf("milestone ends, record begins %.1f ms later\n", gap * 1000);
    EXPECT_LT(gap, 0.1); // and follows promptly
    EXPECT_EQ(firstSound(rec, rStart + record.size()), -1);
}

TEST_F(ArcadeAudioE2E, StopAllSilencesAtOnce) {
    audio->play(ArcadeCue::record);
    audio->play(ArcadeCue::milestone); // queued behind the record, then forgotten
    audio->play(ArcadeCue::duck);
    WavPlayer* recordPlayer = audio->cachedPlayer(ArcadeCue::record);
    ASSERT_NE(recordPlayer, nullptr);
    const std::vector<float> record = expectedSound(ArcadeCue::record, ArcadeAudio::volume);
    // Stopped a quarter of the way through the record (740 ms).
    ASSERT_TRUE(pumpUntil([&] { return recordPlayer->position() >= record.size() / 4; }, deadlineMs));
    // The audio thread mixes on meanwhile: what it handed over is known once the record stops.
    recordPlayer->stop();
    const std::size_t handedOver = recordPlayer->position();
    ASSERT_LT(handedOver, record.size() / 2);
    audio->stopAll();
    EXPECT_TRUE(quiet());
    const std::vector<float> rec = finish();
    // Whatever notices were on their way started nothing.
    EXPECT_TRUE(quiet());
    EXPECT_EQ(audio->cachedPlayer(ArcadeCue::milestone), nullptr);

    const std::ptrdiff_t onset = firstSound(rec, afterWarmUp(rec));
    ASSERT_GE(onset, 0);
    const std::ptrdiff_t start = onset - firstSound(record);
    ASSERT_GE(start, 0);
    // What the mixer had handed to the server is heard, and not a sample more: the
    // rest of the record and the queued milestone never reach the stream.
    const std::ptrdiff_t end = lastSound(rec, 0, rec.size());
    const std::ptrdiff_t wantEnd = start + lastSound(record, 0, handedOver);
    std::printf("stopAll after %zu samples of the record; heard up to sample %td (want %td)\n", handedOver,
                end - start, wantEnd - start);
    EXPECT_EQ(end, wantEnd);
}

namespace {

// The longest run of silent samples in s[from, to).
std::size_t longestSilence(const std::vector<float>& s, std::size_t from, std::size_t to) {
    std::size_t longest = 0;
    std::size_t run = 0;
    for (std::size_t i = from; i < std::min(to, s.size()); ++i) {
        run = std::fabs(s[i]) > silenceLevel ? 0 : run + 1;
        longest = std::max(longest, run);
    }
    return longest;
}

} // namespace

// The main thread paints, plans and answers the network; a stall there of 100 ms,
// far longer than the default buffer lasts, must not reach the stream.
// The fixture's largest buffer (~70 ms kept), which the program grows to on a
// machine that misses its deadlines, spares the audio thread a loaded machine's
// own stalls; the 100 ms stall is still longer than all of it.
TEST_F(ArcadeAudioE2E, AGuiThreadBlockedInTheMiddleOfACueLeavesNoGap) {
    pump(200);
    const int gapsBefore = audio->mixer().underruns();
    audio->play(ArcadeCue::record);
    WavPlayer* recordPlayer = audio->cachedPlayer(ArcadeCue::record);
    ASSERT_NE(recordPlayer, nullptr);
    const std::vector<float> record = expectedSound(ArcadeCue::record, ArcadeAudio::volume);
    ASSERT_TRUE(pumpUntil([&] { return recordPlayer->position() >= record.size() / 3; }, deadlineMs));
    ASSERT_LT(recordPlayer->position(), record.size() / 2);
    QThread::msleep(100); // the GUI thread busy: no events, no timers
    ASSERT_TRUE(pumpUntil([&] { return quiet(); }, deadlineMs));
    const int gapsInTheCue = audio->mixer().underruns() - gapsBefore;
    const std::vector<float> rec = finish();

    const std::ptrdiff_t onset = firstSound(rec, afterWarmUp(rec));
    ASSERT_GE(onset, 0);
    const std::ptrdiff_t wantFirst = firstSound(record);
    const auto start = static_cast<std::size_t>(onset - wantFirst);
    const std::ptrdiff_t heardEnd = lastSound(rec, start, start + record.size() + Chiptune::sampleRate / 2);
    const double heardMs = (heardEnd - onset + 1) / rate * 1000;
    const double wantMs = (lastSound(record, 0, record.size()) - wantFirst + 1) / rate * 1000;
    const double silentMs = longestSilence(rec, onset, heardEnd) / rate * 1000;
    const double wantSilentMs = longestSilence(record, wantFirst, record.size()) / rate * 1000;
    std::printf("record heard %.1f ms (rendered %.1f ms); longest silence inside %.1f ms (rendered %.1f ms); "
                "%d underruns during it\n",
                heardMs, wantMs, silentMs, wantSilentMs, gapsInTheCue);
    // A gap shows three ways: a longer sound, a silence the cue does not have, a mismatch after it.
    EXPECT_NEAR(heardMs, wantMs, 3.0);
    EXPECT_LE(silentMs, wantSilentMs + 1.0);
    EXPECT_LT(mismatch(rec, start, record, record.size()), 1e-4f);
    EXPECT_EQ(gapsInTheCue, 0);
}

namespace {

// Context switches so far of this process's thread named `name`; -1 when there is none.
long contextSwitches(const std::string& name) {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string comm;
        std::getline(std::ifstream(task.path() / "comm"), comm);
        if (comm != name) {
            continue;
        }
        std::ifstream status(task.path() / "status");
        long total = 0;
        for (std::string line; std::getline(status, line);) {
            if (line.find("ctxt_switches:") != std::string::npos) {
                total += std::stol(line.substr(line.find(':') + 1));
            }
        }
        return total;
    }
    return -1;
}

} // namespace

// Silence costs nothing: once the sink has stopped after the hold, the audio
// thread sleeps in its event loop until the next sound.
TEST_F(ArcadeAudioE2E, AfterTheHoldTheAudioThreadSleeps) {
    audio->play(ArcadeCue::jump);
    ASSERT_TRUE(pumpUntil([&] { return quiet(); }, deadlineMs));
    ASSERT_TRUE(pumpUntil([&] { return !audio->mixer().isSinkRunning(); }, deadlineMs));
    pump(100); // the stop's own work settles
    const long before = contextSwitches("vantrel-audio");
    ASSERT_GE(before, 0) << "no audio thread";
    pump(1000);
    const long after = contextSwitches("vantrel-audio");
    std::printf("the audio thread ran %ld times in a silent second\n", after - before);
    EXPECT_EQ(after, before);
    // And it still answers: the next sound is heard.
    audio->play(ArcadeCue::jump);
    ASSERT_TRUE(pumpUntil([&] { return audio->mixer().isSinkRunning(); }, deadlineMs));
    finish();
}

// A stream starved while a sound plays is a gap a listener hears: the next start
// of the sink asks the server for more room. Starved in the silence after a
// sound, it is not heard and changes nothing.
class AudioMixerStarved : public ::testing::Test {
protected:
    void SetUp() override {
        if (!sound->why.empty()) {
            GTEST_SKIP() << "no sound server for the test: " << sound->why;
        }
        recording = std::make_unique<MonitorRecording>(sound->server, 2);
        ASSERT_EQ(recording->start(), "");
        mixer.setBufferBytes(AudioMixer::defaultBufferBytes);
        // An idle null sink sleeps up to 2 s between renders and notices the
        // recording's short latency only when it wakes: until then a new stream
        // would not be played at all, let alone starved.
        pump(2200);
        voice = mixer.addVoice(std::vector<float>(Chiptune::sampleRate / 2, 0.25f)); // half a second
    }
    // Keeps the audio thread, and with it every top-up, away for far longer than the buffer lasts.
    void starve() {
        QMetaObject::invokeMethod(mixer.feedContext(), [] { QThread::msleep(250); });
    }
    // The sink starts on the audio thread, a moment after the voice.
    void startVoice() {
        mixer.startVoice(voice);
        ASSERT_TRUE(pumpUntil([&] { return mixer.isSinkRunning(); }, 2000)) << "the sink never started";
    }
    std::unique_ptr<MonitorRecording> recording;
    AudioMixer mixer;
    std::shared_ptr<AudioMixer::Voice> voice;
};

TEST_F(AudioMixerStarved, DuringASoundTheNextStartAsksForMore) {
    startVoice();
    pump(60);
    starve();
    ASSERT_TRUE(pumpUntil([&] { return mixer.underruns() > 0; }, 2000)) << "the stream never ran dry";
    EXPECT_EQ(mixer.bufferBytes(), AudioMixer::defaultBufferBytes * 3 / 2);
    // It keeps growing with every heard gap, but never past the ceiling.
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(pumpUntil([&] { return !mixer.isSinkRunning(); }, 5000));
        const int before = mixer.underruns();
        startVoice();
        pump(60);
        starve();
        ASSERT_TRUE(pumpUntil([&] { return mixer.underruns() > before; }, 2000));
    }
    EXPECT_EQ(mixer.bufferBytes(), AudioMixer::maxBufferBytes);
}

TEST_F(AudioMixerStarved, InTheSilenceAfterASoundNothingChanges) {
    voice = mixer.addVoice(std::vector<float>(Chiptune::sampleRate / 100, 0.25f)); // 10 ms
    // A busy machine may starve the stream during the click itself, which is heard
    // and grows the buffer: then try again with a fresh start of the sink.
    for (int attempt = 0; attempt < 3; ++attempt) {
        ASSERT_TRUE(pumpUntil([&] { return !mixer.isSinkRunning(); }, 5000));
        const int before = mixer.bufferBytes();
        startVoice();
        ASSERT_TRUE(pumpUntil([&] { return !mixer.isVoicePlaying(voice); }, 2000));
        pump(300); // the sink holds on, writing silence
        ASSERT_TRUE(mixer.isSinkRunning());
        if (mixer.bufferBytes() != before) {
            std::printf("attempt %d: the stream ran dry during the click\n", attempt);
            continue;
        }
        const int gaps = mixer.underruns();
        starve();
        ASSERT_TRUE(pumpUntil([&] { return mixer.underruns() > gaps; }, 2000)) << "the stream never ran dry";
        EXPECT_EQ(mixer.bufferBytes(), before);
        return;
    }
    FAIL() << "the stream ran dry during the click in every attempt";
}

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    sound = new SoundServer;
    ::testing::AddGlobalTestEnvironment(sound);
    return RUN_ALL_TESTS();
}
