// The mixer driven through its sink seam: an in-memory sink records every sample
// written, and a manual clock stands in for time, so nothing here waits or needs
// a sound server.
#include "RecordingAudioSink.h"

#include "Vantrel/Clock.h"
#include "Vantrel/audio/AudioMixer.h"
#include "VantrelCore/Chiptune.h"

#include <gtest/gtest.h>

#include <QThread>

#include <atomic>
#include <chrono>
#include <memory>
#include <span>

using namespace vantrel;
using namespace vantrel::testing;

namespace {

class AudioMixerTest : public ::testing::Test {
protected:
    AudioMixerTest() {
        auto owned = std::make_unique<RecordingAudioSink>();
        sink = owned.get();
        sink->keptBytes = 2048 * RecordingAudioSink::bytesPerFrame; // 46 ms
        mixer = std::make_unique<AudioMixer>(std::move(owned), clock);
    }
    // Time passes: the server plays `ms` of what it holds, then the feed timer's tick.
    void advance(int ms) {
        clock.advance(ms / 1000.0);
        sink->play(ms * RecordingAudioSink::framesPerMs);
        mixer->feed();
    }

    ManualClock clock;
    RecordingAudioSink* sink = nullptr; // owned by the mixer
    std::unique_ptr<AudioMixer> mixer;
};

} // namespace

TEST_F(AudioMixerTest, NothingStartsTheSinkUntilAVoiceSounds) {
    mixer->addVoice(std::vector<float>(100, 0.5f));
    mixer->feed();
    mixer->idleCheck();
    EXPECT_FALSE(mixer->isSinkRunning());
    EXPECT_EQ(sink->starts, 0);
    EXPECT_TRUE(sink->written.empty());
}

TEST_F(AudioMixerTest, AStartingVoiceIsWrittenAtOnceIntoTheRoomThereIs) {
    sink->roomAtStart = 512 * RecordingAudioSink::bytesPerFrame;
    auto voice = mixer->addVoice(std::vector<float>(100, 0.5f));
    mixer->setVoiceVolume(voice, 0.5f);
    mixer->startVoice(voice);
    ASSERT_TRUE(mixer->isSinkRunning());
    EXPECT_EQ(sink->askedBytes, std::vector<int>{AudioMixer::defaultBufferBytes});
    // No tick needed: all the room, the sound and then silence.
    ASSERT_EQ(sink->written.size(), 512u);
    EXPECT_FLOAT_EQ(sink->written[0], 0.25f);
    EXPECT_FLOAT_EQ(sink->written[99], 0.25f);
    EXPECT_FLOAT_EQ(sink->written[100], 0.0f);
    EXPECT_EQ(mixer->voicePosition(voice), 100u);
}

TEST_F(AudioMixerTest, VoicesAddUpAndAreClampedToFullScale) {
    auto loud = mixer->addVoice(std::vector<float>(300, 0.75f));
    auto soft = mixer->addVoice(std::vector<float>(200, -0.25f));
    auto low = mixer->addVoice(std::vector<float>(100, -0.875f));
    mixer->startVoice(loud);
    mixer->startVoice(soft);
    mixer->startVoice(low);
    EXPECT_TRUE(sink->written.empty()); // the server's buffer was full
    advance(10);                        // 440 frames of room
    ASSERT_EQ(sink->written.size(), 440u);
    EXPECT_FLOAT_EQ(sink->written[0], -0.375f); // 0.75 - 0.25 - 0.875
    EXPECT_FLOAT_EQ(sink->written[150], 0.5f);  // 0.75 - 0.25
    EXPECT_FLOAT_EQ(sink->written[250], 0.75f); // the loud one alone
    EXPECT_FLOAT_EQ(sink->written[300], 0.0f);
    EXPECT_FALSE(mixer->isVoicePlaying(loud));

    auto a = mixer->addVoice(std::vector<float>(10, 0.75f));
    auto b = mixer->addVoice(std::vector<float>(10, 0.75f));
    mixer->startVoice(a);
    mixer->startVoice(b);
    advance(1);
    EXPECT_FLOAT_EQ(sink->written[440], 1.0f); // 1.5, clamped
}

TEST_F(AudioMixerTest, AVoiceEndsInTheFeedThatWritesItsLastSample) {
    auto voice = mixer->addVoice(std::vector<float>(1000, 0.5f));
    int ended = 0;
    voice->ended = [&] { ++ended; };
    mixer->startVoice(voice);
    advance(10); // 440 frames
    advance(10); // 880
    EXPECT_EQ(ended, 0);
    EXPECT_TRUE(mixer->isVoicePlaying(voice));
    EXPECT_EQ(mixer->voicePosition(voice), 880u);
    advance(10); // the last 120 frames and silence
    EXPECT_EQ(ended, 1);
    EXPECT_FALSE(mixer->isVoicePlaying(voice));
    EXPECT_FLOAT_EQ(sink->written[999], 0.5f);
    EXPECT_FLOAT_EQ(sink->written[1000], 0.0f);
    advance(10);
    EXPECT_EQ(ended, 1);
}

TEST_F(AudioMixerTest, AStoppedVoiceDoesNotEndAndResumesWhereItWas) {
    auto voice = mixer->addVoice(std::vector<float>(1000, 0.5f));
    int ended = 0;
    voice->ended = [&] { ++ended; };
    mixer->startVoice(voice);
    advance(10);
    mixer->stopVoice(voice);
    advance(10);
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(mixer->voicePosition(voice), 440u);
    EXPECT_FLOAT_EQ(sink->written.back(), 0.0f);
    mixer->startVoice(voice);
    advance(20);
    EXPECT_EQ(ended, 1);
    mixer->rewindVoice(voice);
    EXPECT_EQ(mixer->voicePosition(voice), 0u);
}

TEST_F(AudioMixerTest, TheSinkStopsOnlyAfterTheHoldOfSilence) {
    // The hold outlasts even the largest buffer, whose samples are still to be heard.
    const int largestLatencyMs =
        AudioMixer::maxBufferBytes /
        static_cast<int>(RecordingAudioSink::bytesPerFrame * Chiptune::sampleRate / 1000);
    EXPECT_GT(AudioMixer::holdMilliseconds, largestLatencyMs);

    auto voice = mixer->addVoice(std::vector<float>(100, 0.5f));
    mixer->startVoice(voice);
    advance(10);
    ASSERT_FALSE(mixer->isVoicePlaying(voice)); // last heard now
    for (int ms = 10; ms < AudioMixer::holdMilliseconds; ms += 10) {
        advance(10); // silence written all the while
        mixer->idleCheck();
        ASSERT_TRUE(mixer->isSinkRunning()) << ms << " ms after the sound";
    }
    advance(10);
    mixer->idleCheck();
    EXPECT_FALSE(mixer->isSinkRunning());
    EXPECT_EQ(sink->stops, 1);
    EXPECT_FALSE(sink->running);

    // The next sound starts the sink again.
    mixer->startVoice(voice);
    EXPECT_TRUE(mixer->isSinkRunning());
    EXPECT_EQ(sink->starts, 2);
}

TEST_F(AudioMixerTest, ASoundDuringTheHoldKeepsTheSinkRunning) {
    auto voice = mixer->addVoice(std::vector<float>(100, 0.5f));
    mixer->startVoice(voice);
    advance(10);
    clock.advance(1.0);
    mixer->startVoice(voice);
    advance(10);
    clock.advance(1.0); // 1 s after the second sound, 2 s after the first
    mixer->idleCheck();
    EXPECT_TRUE(mixer->isSinkRunning());
    EXPECT_EQ(sink->starts, 1);
    clock.advance(0.5);
    mixer->idleCheck();
    EXPECT_FALSE(mixer->isSinkRunning());
}

TEST_F(AudioMixerTest, AGapHeardInASoundGrowsTheNextStartsBufferUpToTheCeiling) {
    auto voice = mixer->addVoice(std::vector<float>(Chiptune::sampleRate, 0.5f)); // 1 s
    int expected = AudioMixer::defaultBufferBytes;
    for (int run = 0; run < 5; ++run) {
        SCOPED_TRACE(run);
        mixer->rewindVoice(voice);
        mixer->startVoice(voice);
        ASSERT_EQ(sink->askedBytes.back(), expected);
        const int gaps = mixer->underruns();
        emit sink->starved();
        emit sink->starved(); // one gap seen twice grows once
        EXPECT_EQ(mixer->underruns(), gaps + 2);
        expected = std::min(expected * 3 / 2, AudioMixer::maxBufferBytes);
        EXPECT_EQ(mixer->bufferBytes(), expected);
        mixer->stopVoice(voice);
        clock.advance(AudioMixer::holdMilliseconds / 1000.0);
        mixer->idleCheck();
        ASSERT_FALSE(mixer->isSinkRunning());
    }
    EXPECT_EQ(mixer->bufferBytes(), AudioMixer::maxBufferBytes);
}

TEST_F(AudioMixerTest, ATopUpThatFindsTheServerEmptyIsAGap) {
    auto voice = mixer->addVoice(std::vector<float>(Chiptune::sampleRate, 0.5f));
    mixer->startVoice(voice);
    advance(10);
    EXPECT_EQ(mixer->underruns(), 0);
    advance(100); // a tick 100 ms late: the 46 ms kept have all been played
    EXPECT_EQ(mixer->underruns(), 1);
    EXPECT_EQ(mixer->bufferBytes(), AudioMixer::defaultBufferBytes * 3 / 2);
}

TEST_F(AudioMixerTest, AGapInTheSilenceAfterASoundChangesNothing) {
    auto voice = mixer->addVoice(std::vector<float>(100, 0.5f));
    mixer->startVoice(voice);
    advance(10);
    clock.advance(AudioMixer::heardGapMilliseconds / 1000.0);
    emit sink->starved();
    EXPECT_EQ(mixer->underruns(), 1);
    EXPECT_EQ(mixer->bufferBytes(), AudioMixer::defaultBufferBytes);

    // Sooner, it may have cut the sound's tail.
    mixer->startVoice(voice);
    advance(10);
    clock.advance((AudioMixer::heardGapMilliseconds - 10) / 1000.0);
    emit sink->starved();
    EXPECT_EQ(mixer->bufferBytes(), AudioMixer::defaultBufferBytes * 3 / 2);
}

TEST_F(AudioMixerTest, TopUpsComeFourTimesPerBufferTheServerKeeps) {
    sink->keptBytes = AudioMixer::defaultBufferBytes; // 34 ms
    auto voice = mixer->addVoice(std::vector<float>(100, 0.5f));
    mixer->startVoice(voice);
    EXPECT_EQ(mixer->feedIntervalMilliseconds(), 8);
}

TEST_F(AudioMixerTest, WithoutAServerVoicesEndAtOnce) {
    sink->startSucceeds = false;
    auto voice = mixer->addVoice(std::vector<float>(100, 0.5f));
    int ended = 0;
    voice->ended = [&] { ++ended; };
    mixer->startVoice(voice);
    EXPECT_EQ(ended, 1);
    EXPECT_FALSE(mixer->isVoicePlaying(voice));
    EXPECT_FALSE(mixer->isSinkRunning());
    EXPECT_EQ(mixer->sinkFailures(), 1);
    EXPECT_TRUE(sink->written.empty());

    sink->startSucceeds = true; // a server came up: the next sound is heard
    mixer->startVoice(voice);
    EXPECT_TRUE(mixer->isSinkRunning());
    EXPECT_EQ(mixer->sinkStarts(), 2);
}

TEST_F(AudioMixerTest, ALostServerEndsTheSoundingVoices) {
    auto voice = mixer->addVoice(std::vector<float>(Chiptune::sampleRate, 0.5f));
    int ended = 0;
    voice->ended = [&] { ++ended; };
    mixer->startVoice(voice);
    emit sink->lost();
    EXPECT_EQ(ended, 1);
    EXPECT_FALSE(mixer->isSinkRunning());
    EXPECT_EQ(sink->stops, 1);
}

TEST(AudioMixerSetting, TakesOnlyABufferItCanUse) {
    EXPECT_FALSE(AudioMixer::isSettableBufferBytes(0));
    EXPECT_FALSE(AudioMixer::isSettableBufferBytes(1023));
    EXPECT_TRUE(AudioMixer::isSettableBufferBytes(1024));
    EXPECT_TRUE(AudioMixer::isSettableBufferBytes(AudioMixer::maxBufferBytes));
    EXPECT_TRUE(AudioMixer::isSettableBufferBytes(1 << 20));
    EXPECT_FALSE(AudioMixer::isSettableBufferBytes((1 << 20) + 1));
}

namespace {

// A server that plays in real time: room appears as the steady clock moves on.
// Used only on the feed thread (it is moved there with the mixer's sink); the
// test reads what it saw through atomics.
class PacedSink final : public AudioSink {
public:
    bool start(int bufferBytes) override {
        kept = bufferBytes;
        held = 0;
        fed = false;
        last = std::chrono::steady_clock::now();
        running = true;
        return true;
    }
    void stop() override { running = false; }
    qint64 bytesFree() const override {
        playUntilNow();
        return running ? kept - held : 0;
    }
    qint64 bufferSize() const override { return running ? kept : 0; }
    void write(std::span<const float> samples) override {
        playUntilNow();
        held += static_cast<qint64>(samples.size_bytes());
        fed = true;
        writtenFrames += static_cast<long>(samples.size());
    }

    std::atomic<long> writtenFrames{0};
    mutable std::atomic<int> dryWhileRunning{0}; // times the server found nothing to play

private:
    void playUntilNow() const {
        const auto now = std::chrono::steady_clock::now();
        const auto us = std::chrono::duration_cast<std::chrono::microseconds>(now - last).count();
        const qint64 played = us * Chiptune::sampleRate / 1000000 * RecordingAudioSink::bytesPerFrame;
        if (played <= 0) {
            return;
        }
        last = now;
        if (running && fed && played > held) {
            ++dryWhileRunning;
        }
        held = std::max<qint64>(0, held - played);
    }
    qint64 kept = 0;
    mutable qint64 held = 0;
    mutable std::chrono::steady_clock::time_point last;
    bool running = false;
    bool fed = false;
};

} // namespace

// The program's mixer feeds from a thread of its own: an owning (GUI) thread
// that neither returns to its event loop nor calls the mixer for 100 ms, far
// longer than the buffer lasts, leaves the voice sounding without a break.
TEST(AudioMixerOnAudioThread, FeedsWhileTheOwningThreadIsBusy) {
    auto owned = std::make_unique<PacedSink>();
    PacedSink* sink = owned.get();
    SteadyClock clock;
    {
        AudioMixer mixer(std::move(owned), clock, AudioMixer::Feeding::onAudioThread);
        ASSERT_NE(mixer.feedContext()->thread(), QThread::currentThread());
        // The largest buffer (93 ms) spares the feed thread a loaded machine's stalls; still under 100 ms.
        mixer.setBufferBytes(AudioMixer::maxBufferBytes);
        auto voice = mixer.addVoice(std::vector<float>(Chiptune::sampleRate, 0.5f)); // 1 s
        mixer.startVoice(voice);
        const auto started = std::chrono::steady_clock::now();
        while (sink->writtenFrames == 0 &&
               std::chrono::steady_clock::now() - started < std::chrono::seconds(5)) {
            QThread::msleep(1);
        }
        ASSERT_GT(sink->writtenFrames, 0) << "the feed thread never wrote";
        const std::size_t before = mixer.voicePosition(voice);
        QThread::msleep(100); // busy: no event loop, no calls
        const std::size_t after = mixer.voicePosition(voice);
        EXPECT_GE(after - before, static_cast<std::size_t>(Chiptune::sampleRate / 20))
            << "under 50 ms mixed in 100";
        EXPECT_TRUE(mixer.isVoicePlaying(voice));
        EXPECT_EQ(sink->dryWhileRunning, 0);
        EXPECT_TRUE(mixer.isSinkRunning());
        EXPECT_EQ(mixer.underruns(), 0);
        mixer.stopVoice(voice);
    } // the destructor ends the thread, the sink with it
}
