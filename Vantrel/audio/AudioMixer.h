#pragma once

#include "Vantrel/audio/AudioSink.h"

#include <QObject>
#include <QTimer>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

class QThread;

namespace vantrel {

class Clock;

// Sums every sounding voice into one stream written to a single long-lived
// AudioSink. The mixer pushes: a short timer keeps the server's small buffer
// topped up, and a new sound is mixed and written the moment it starts, so it
// waits only behind what the server already holds. The sink (and the timer) run
// only while something sounds, plus a short hold, so a silent game wakes nothing.
// The timers only wake the mixer; every decision about time reads the clock.
//
// Two threads: voices are added, started, stopped and read on the thread that
// owns the mixer; the sink, its timers and the mixing belong to the feed thread.
// For the program that is a thread of its own, so that a busy GUI thread (a
// paint, an autopilot plan, a network reply) never delays a top-up; tests that
// step a recording sink by hand feed on the owning thread. A voice's samples
// never change once added; what the two threads share (each voice's position,
// volume and whether it plays) is read and written under one short lock.
class AudioMixer : public QObject {
    Q_OBJECT
public:
    // One sound being played: mono samples at Chiptune::sampleRate, full scale +-1.
    struct Voice {
        std::vector<float> samples; // never changed once added
        // Under the mixer's lock once added.
        std::size_t position = 0; // next sample to mix
        float volume = 1.0f;
        bool playing = false;
        std::function<void()> ended; // called when the last sample was mixed
    };

    // The latency asked of the server, in bytes of mono float: 6144 bytes is
    // 35 ms, of which a null sink keeps three quarters (26 ms) in the stream's
    // buffer and hands out as room in ~10-12 ms steps. A top-up later than the
    // ~15 ms that are left leaves a gap, so after a gap heard in a sound the next
    // start of the sink asks for half as much again, up to `maxBufferBytes`: a
    // machine that keeps missing its deadlines trades delay for unbroken sound.
    static constexpr int defaultBufferBytes = 6144;
    static constexpr int maxBufferBytes = 16384;
    // What a user's setting may ask for, in bytes: 1 KiB (6 ms) to 1 MiB (6 s).
    static constexpr int leastSettableBufferBytes = 1024;
    static constexpr int mostSettableBufferBytes = 1 << 20;
    // The sink is stopped only after this much silence. It must exceed the sink's
    // latency (buffered samples are still to be heard), and a little more spares
    // restarting the stream between the quick jumps of a run.
    static constexpr int holdMilliseconds = 1500;
    // A gap this soon after the last audible sample may still cut the sound's tail.
    static constexpr int heardGapMilliseconds = 100;

    // Where the sink is fed from.
    enum class Feeding {
        onThisThread,  // the owning thread: tests call feed() and idleCheck() themselves
        onAudioThread, // a thread of the mixer's own, started here and ended by the destructor
    };

    // The sound server through Qt, fed on an audio thread, on the steady clock.
    explicit AudioMixer(QObject* parent = nullptr);
    // `clock` must outlive the mixer, and be safe to read from the feed thread.
    AudioMixer(std::unique_ptr<AudioSink> sink, const Clock& clock, QObject* parent = nullptr);
    AudioMixer(std::unique_ptr<AudioSink> sink, const Clock& clock, Feeding feeding,
               QObject* parent = nullptr);
    ~AudioMixer() override;

    // Whether a user's setting for the buffer is taken (see leastSettableBufferBytes).
    static bool isSettableBufferBytes(int bytes);
    // Takes effect at the next start of the sink.
    void setBufferBytes(int bytes) { m_bufferBytes = bytes; }
    // What the next start asks for: the setting, grown after gaps.
    int bufferBytes() const { return m_bufferBytes; }

    // The object that lives on the feed thread: work queued to it runs between
    // top-ups (tests stall the feed with it to starve the stream).
    QObject* feedContext() const { return m_feeder; }

    std::shared_ptr<Voice> addVoice(std::vector<float> samples);
    void removeVoice(const std::shared_ptr<Voice>& voice);

    // Voice control from the owning thread: a state change, carried out by the feed thread.
    void startVoice(const std::shared_ptr<Voice>& voice);
    void stopVoice(const std::shared_ptr<Voice>& voice);
    void rewindVoice(const std::shared_ptr<Voice>& voice);
    void setVoiceVolume(const std::shared_ptr<Voice>& voice, float volume);
    bool isVoicePlaying(const std::shared_ptr<Voice>& voice) const;
    std::size_t voicePosition(const std::shared_ptr<Voice>& voice) const;

    // True while the sink is started: the mixer writes to it.
    bool isSinkRunning() const { return m_sinkRunning; }
    // How many times the sink was asked to start; how many starts failed (no sound server, no device).
    int sinkStarts() const { return m_sinkStarts; }
    int sinkFailures() const { return m_sinkFailures; }
    // How many times the server ran out of samples while the sink ran (an audible gap).
    int underruns() const { return m_underruns; }
    // Milliseconds between top-ups while the sink runs.
    int feedIntervalMilliseconds() const { return m_feedIntervalMs; }

    // Mixes the next `frames` frames of every sounding voice into `out`, clamped
    // to full scale, and moves the voices on. A voice's `ended` is called here,
    // on the feed thread, under the voices' lock.
    void mix(float* out, std::size_t frames);

    // What the timers call on the feed thread, open so that tests step them with
    // the clock: writes as much of the mix as the sink has room for; stops the
    // sink once nothing has sounded for `holdMilliseconds`.
    void feed();
    void idleCheck();

private:
    // Runs `work` on the feed thread: at once when called there, else queued.
    void onFeedThread(std::function<void()> work);
    void shutDownFeed(); // on the feed thread: timers and sink go
    void ensureSink();
    void noteGap();
    void failAllVoices();
    void armIdleStop();
    void stopSink();
    bool anyPlaying() const;
    qint64 nowMilliseconds() const;

    // Shared by both threads.
    mutable std::recursive_mutex m_voicesLock; // recursive: an `ended` may start or stop voices
    std::vector<std::shared_ptr<Voice>> m_voices;
    const Clock& m_clock;
    std::atomic<qint64> m_lastAudibleMs{0};
    std::atomic<bool> m_sinkRunning{false};
    std::atomic<int> m_sinkStarts{0};
    std::atomic<int> m_sinkFailures{0};
    std::atomic<int> m_underruns{0};
    std::atomic<int> m_feedIntervalMs{0};
    std::atomic<int> m_bufferBytes{defaultBufferBytes};

    // The feed thread's; the thread itself only with Feeding::onAudioThread.
    std::unique_ptr<QThread> m_thread;
    QObject* m_feeder = nullptr; // lives on the feed thread; the timers are its children
    std::unique_ptr<AudioSink> m_sink;
    QTimer* m_feedTimer = nullptr;
    QTimer* m_idleTimer = nullptr;
    std::vector<float> m_mix;     // scratch buffer, frames
    qint64 m_keptBytes = 0;       // the server's buffer for the running sink
    bool m_fedSinceStart = false; // the first top-up finds the buffer empty, rightly
    bool m_grewThisRun = false;
};

} // namespace vantrel
