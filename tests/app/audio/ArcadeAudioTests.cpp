// The reward queue and the player cache, with the real WAV players and mixer
// writing into a recording sink: the test plays the "server" by hand, and the
// end-of-playback notices travel through the event loop as in the game.
#include "RecordingAudioSink.h"

#include "Vantrel/Clock.h"
#include "Vantrel/audio/ArcadeAudio.h"
#include "VantrelCore/Chiptune.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

using namespace vantrel;
using namespace vantrel::testing;

namespace {

class ArcadeAudioTest : public ::testing::Test {
protected:
    void SetUp() override { make(ArcadeAudio::renderCue); }
    void make(ArcadeAudio::WaveSource source) {
        auto owned = std::make_unique<RecordingAudioSink>();
        sink = owned.get();
        sink->keptBytes = AudioMixer::defaultBufferBytes;
        made = std::make_unique<ArcadeAudio>(std::move(source), std::move(owned), clock);
    }
    // The server plays `ms` milliseconds in 10 ms steps, each followed by the
    // mixer's top-up and the notices it queued.
    void playFor(int ms) {
        for (int t = 0; t < ms; t += step) {
            clock.advance(step / 1000.0);
            sink->play(step * RecordingAudioSink::framesPerMs);
            made->mixer().feed();
            QCoreApplication::processEvents();
        }
    }
    // Plays until `done` holds, for at most `limitMs` of sound; returns `done()`.
    bool playUntil(const std::function<bool()>& done, int limitMs = 5000) {
        for (int t = 0; t < limitMs && !done(); t += step) {
            playFor(step);
        }
        return done();
    }

    static constexpr int step = 10; // ms
    ManualClock clock;
    RecordingAudioSink* sink = nullptr; // owned by the mixer
    std::unique_ptr<ArcadeAudio> made;
};

std::vector<uint8_t> broken(ArcadeCue) {
    return {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'J', 'U', 'N', 'K'};
}

} // namespace

TEST_F(ArcadeAudioTest, PlayersAreMadeOnFirstUseAndCached) {
    ArcadeAudio& audio = *made;
    for (ArcadeCue cue : allArcadeCues) {
        EXPECT_EQ(audio.cachedPlayer(cue), nullptr);
    }
    audio.play(ArcadeCue::duck);
    WavPlayer* duck = audio.cachedPlayer(ArcadeCue::duck);
    ASSERT_NE(duck, nullptr);
    EXPECT_TRUE(duck->isPlaying());
    EXPECT_FLOAT_EQ(duck->volume(), 0.65f);
    EXPECT_EQ(duck->sampleCount(), Chiptune::samples(ArcadeCue::duck).size());
    audio.play(ArcadeCue::duck);
    EXPECT_EQ(audio.cachedPlayer(ArcadeCue::duck), duck);
    EXPECT_EQ(audio.cachedPlayer(ArcadeCue::jump), nullptr);
    ASSERT_TRUE(playUntil([&] { return !duck->isPlaying(); }));
}

TEST_F(ArcadeAudioTest, ACueIsWrittenWholeAtItsVolume) {
    made->play(ArcadeCue::jump);
    WavPlayer* jump = made->cachedPlayer(ArcadeCue::jump);
    ASSERT_NE(jump, nullptr);
    ASSERT_TRUE(playUntil([&] { return !jump->isPlaying(); }));
    const std::vector<float> cue = WavPlayer::decode(Chiptune::waveData(ArcadeCue::jump)).samples;
    ASSERT_GT(sink->written.size(), cue.size());
    for (std::size_t i = 0; i < cue.size(); ++i) {
        ASSERT_NEAR(sink->written[i], cue[i] * ArcadeAudio::volume, 1e-6f) << i;
    }
    EXPECT_EQ(sink->written[cue.size()], 0.0f); // then silence
    EXPECT_EQ(made->mixer().underruns(), 0);
}

TEST_F(ArcadeAudioTest, JumpNeverMakesACrashPlayerButStopsACachedOne) {
    ArcadeAudio& audio = *made;
    audio.play(ArcadeCue::jump);
    EXPECT_EQ(audio.cachedPlayer(ArcadeCue::crash), nullptr);
    audio.play(ArcadeCue::crash);
    WavPlayer* crash = audio.cachedPlayer(ArcadeCue::crash);
    ASSERT_NE(crash, nullptr);
    ASSERT_TRUE(playUntil([&] { return crash->position() > 0; }));
    EXPECT_TRUE(crash->isPlaying());
    audio.play(ArcadeCue::jump);
    EXPECT_FALSE(crash->isPlaying());
    EXPECT_TRUE(audio.cachedPlayer(ArcadeCue::jump)->isPlaying());
}

TEST_F(ArcadeAudioTest, ASecondJumpRestartsTheFirst) {
    ArcadeAudio& audio = *made;
    audio.play(ArcadeCue::jump);
    WavPlayer* jump = audio.cachedPlayer(ArcadeCue::jump);
    ASSERT_TRUE(playUntil([&] { return jump->position() > 0; }));
    ASSERT_TRUE(jump->isPlaying());
    audio.play(ArcadeCue::jump);
    EXPECT_EQ(jump->position(), 0u); // from the top, not a second layer
    EXPECT_TRUE(jump->isPlaying());
    int finishes = 0;
    QObject::connect(jump, &WavPlayer::finished, [&] { ++finishes; });
    ASSERT_TRUE(playUntil([&] { return finishes > 0; }));
    playFor(100);
    EXPECT_EQ(finishes, 1);
}

TEST_F(ArcadeAudioTest, RewardsQueueAndPlayInTurn) {
    ArcadeAudio& audio = *made;
    audio.play(ArcadeCue::milestone);
    audio.play(ArcadeCue::record);
    WavPlayer* milestone = audio.cachedPlayer(ArcadeCue::milestone);
    ASSERT_NE(milestone, nullptr);
    EXPECT_EQ(audio.activeReward(), milestone);
    EXPECT_EQ(audio.pendingRewards(), std::vector<ArcadeCue>{ArcadeCue::record});
    EXPECT_EQ(audio.cachedPlayer(ArcadeCue::record), nullptr); // made only when its turn comes

    // Record what sounds at each moment: the two must never play together.
    bool overlapped = false;
    bool recordStartedAfterMilestone = false;
    ASSERT_TRUE(playUntil(
        [&] {
            WavPlayer* record = audio.cachedPlayer(ArcadeCue::record);
            if (record && record->isPlaying()) {
                overlapped = overlapped || milestone->isPlaying();
                recordStartedAfterMilestone = !milestone->isPlaying() && milestone->position() > 0;
                return true;
            }
            return false;
        },
        5000));
    EXPECT_FALSE(overlapped);
    EXPECT_TRUE(recordStartedAfterMilestone);
    EXPECT_EQ(milestone->position(), milestone->sampleCount()); // the milestone was played out whole
    EXPECT_EQ(audio.activeReward(), audio.cachedPlayer(ArcadeCue::record));
    EXPECT_TRUE(audio.pendingRewards().empty());
    ASSERT_TRUE(playUntil([&] { return audio.activeReward() == nullptr; }));
}

TEST_F(ArcadeAudioTest, ActionsDoNotWaitForRewards) {
    ArcadeAudio& audio = *made;
    audio.play(ArcadeCue::record);
    audio.play(ArcadeCue::jump);
    audio.play(ArcadeCue::duck);
    EXPECT_TRUE(audio.cachedPlayer(ArcadeCue::record)->isPlaying());
    EXPECT_TRUE(audio.cachedPlayer(ArcadeCue::jump)->isPlaying());
    EXPECT_TRUE(audio.cachedPlayer(ArcadeCue::duck)->isPlaying());
    EXPECT_TRUE(audio.pendingRewards().empty());
}

TEST_F(ArcadeAudioTest, StopAllSilencesAndForgetsTheQueue) {
    ArcadeAudio& audio = *made;
    audio.play(ArcadeCue::milestone);
    audio.play(ArcadeCue::record);
    audio.play(ArcadeCue::crash);
    WavPlayer* milestone = audio.cachedPlayer(ArcadeCue::milestone);
    ASSERT_TRUE(playUntil([&] { return milestone->position() > 0; }));
    audio.stopAll();
    EXPECT_EQ(audio.activeReward(), nullptr);
    EXPECT_TRUE(audio.pendingRewards().empty());
    EXPECT_FALSE(milestone->isPlaying());
    EXPECT_EQ(milestone->position(), 0u);
    EXPECT_FALSE(audio.cachedPlayer(ArcadeCue::crash)->isPlaying());
    // Whatever notices were on their way start nothing.
    playFor(600);
    EXPECT_EQ(audio.cachedPlayer(ArcadeCue::record), nullptr);
    EXPECT_EQ(audio.activeReward(), nullptr);
    EXPECT_FALSE(milestone->isPlaying());
}

TEST_F(ArcadeAudioTest, ALateNoticeForARestartedRewardIsIgnored) {
    ArcadeAudio& audio = *made;
    audio.play(ArcadeCue::milestone);
    WavPlayer* milestone = audio.cachedPlayer(ArcadeCue::milestone);
    // The moment the end notice is delivered, and before the audio object's own
    // (queued) handling of it runs, the game restarts the milestone.
    bool restarted = false;
    QObject::connect(
        milestone, &WavPlayer::finished, milestone,
        [&] {
            if (!restarted) {
                restarted = true;
                audio.stopAll();
                audio.play(ArcadeCue::milestone);
                audio.play(ArcadeCue::record);
            }
        },
        Qt::DirectConnection);
    ASSERT_TRUE(playUntil([&] { return restarted; }));
    playFor(30); // the stale notice has been handled by now
    EXPECT_TRUE(milestone->isPlaying());
    EXPECT_EQ(audio.activeReward(), milestone);
    EXPECT_EQ(audio.pendingRewards(), std::vector<ArcadeCue>{ArcadeCue::record});
    ASSERT_TRUE(playUntil([&] { return audio.activeReward() == audio.cachedPlayer(ArcadeCue::record); }));
}

TEST_F(ArcadeAudioTest, ACueWhosePlayerCannotBeMadeIsSilentAlone) {
    int requests = 0;
    make([&](ArcadeCue cue) {
        ++requests;
        return cue == ArcadeCue::milestone ? broken(cue) : Chiptune::waveData(cue);
    });
    ArcadeAudio& audio = *made;
    audio.play(ArcadeCue::milestone);
    audio.play(ArcadeCue::record);
    EXPECT_EQ(audio.cachedPlayer(ArcadeCue::milestone), nullptr);
    ASSERT_NE(audio.cachedPlayer(ArcadeCue::record), nullptr);
    EXPECT_EQ(audio.activeReward(), audio.cachedPlayer(ArcadeCue::record)); // skipped straight to the record
    audio.play(ArcadeCue::jump);
    EXPECT_TRUE(audio.cachedPlayer(ArcadeCue::jump)->isPlaying());
    EXPECT_EQ(requests, 3);
    audio.play(ArcadeCue::milestone); // waits for the record, then is tried again
    EXPECT_EQ(requests, 3);
    EXPECT_EQ(audio.pendingRewards(), std::vector<ArcadeCue>{ArcadeCue::milestone});
    ASSERT_TRUE(playUntil([&] { return audio.activeReward() == nullptr; }));
    EXPECT_EQ(requests, 4); // not remembered as failed
    EXPECT_TRUE(audio.pendingRewards().empty());
}

TEST(WavPlayerDecode, ReadsTheChiptuneImage) {
    const auto wav = Chiptune::waveData(ArcadeCue::crash);
    const auto decoded = WavPlayer::decode(wav);
    ASSERT_TRUE(decoded.error.isEmpty()) << decoded.error.toStdString();
    const auto samples = Chiptune::samples(ArcadeCue::crash);
    ASSERT_EQ(decoded.samples.size(), samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
        ASSERT_NEAR(decoded.samples[i], samples[i], 1.0 / 32767) << i;
    }
}

TEST(WavPlayerDecode, SkipsUnknownChunksAndMixesStereoDown) {
    // RIFF, fmt (stereo), an odd-sized LIST chunk with its pad byte, then two frames.
    std::vector<uint8_t> wav = {'R', 'I', 'F',  'F',  0,    0,    0,    0,    'W',  'A',  'V', 'E',  'f',
                                'm', 't', ' ',  16,   0,    0,    0,    1,    0,    2,    0,   0x44, 0xac,
                                0,   0,   0x10, 0xb1, 2,    0,    4,    0,    16,   0,    'L', 'I',  'S',
                                'T', 3,   0,    0,    0,    'a',  'b',  'c',  0,    'd',  'a', 't',  'a',
                                8,   0,   0,    0,    0xff, 0x7f, 0xff, 0x7f, 0x01, 0x80, 0,   0};
    const auto decoded = WavPlayer::decode(wav);
    ASSERT_TRUE(decoded.error.isEmpty()) << decoded.error.toStdString();
    ASSERT_EQ(decoded.samples.size(), 2u);
    EXPECT_FLOAT_EQ(decoded.samples[0], 1.0f);
    EXPECT_FLOAT_EQ(decoded.samples[1], -0.5f);
}

TEST(WavPlayerDecode, RefusesWhatItCannotPlay) {
    auto withByte = [](std::size_t at, uint8_t value) {
        auto wav = Chiptune::waveData(ArcadeCue::jump);
        wav[at] = value;
        return wav;
    };
    const std::vector<std::pair<std::vector<uint8_t>, const char*>> cases = {
        {{}, "empty"},
        {broken(ArcadeCue::jump), "junk"},
        {withByte(20, 3), "float format"},
        {withByte(34, 8), "8-bit"},
        {withByte(22, 6), "six channels"},
        {withByte(25, 0x7d), "32 kHz"},
        {withByte(43, 0x40), "data longer than the file"},
        {withByte(36, 'x'), "no data chunk"},
    };
    for (const auto& [wav, name] : cases) {
        EXPECT_FALSE(WavPlayer::decode(wav).error.isEmpty()) << name;
    }
    AudioMixer mixer;
    QString why;
    EXPECT_EQ(WavPlayer::create(broken(ArcadeCue::jump), mixer, &why), nullptr);
    EXPECT_FALSE(why.isEmpty());
}
