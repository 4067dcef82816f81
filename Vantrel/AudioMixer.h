#pragma once

#include <QAudioFormat>
#include <QIODevice>
#include <QMutex>
#include <QTimer>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

class QAudioSink;

namespace vantrel {

// Sums every sounding voice into one stream that a single long-lived QAudioSink
// pulls from. The sink runs only while something sounds, plus a short hold, so
// a silent game wakes nothing. Voices are changed on the main thread; the sink
// may pull from another thread, so voice state is guarded by a mutex.
class AudioMixer : public QIODevice {
    Q_OBJECT
public:
    // One sound being played: mono samples at `sampleRate`, full scale +-1.
    struct Voice {
        std::vector<float> samples;
        std::size_t position = 0; // next sample to mix
        float volume = 1.0f;
        bool playing = false;
        std::function<void()> ended; // called under the mixer's lock when the last sample was pulled
    };

    static constexpr int sampleRate = 44100;
    static constexpr int channels = 1;
    // Qt 6.4's PulseAudio sink pulls 20 ms (3528 bytes of mono float) per tick of
    // its timer, and only when the server's buffer has that much room. The server
    // keeps part of the requested size (three quarters on a null sink) and starts
    // playing at two thirds of what it keeps. Kept sizes between 1.5 and 2 pulls
    // never start; under 2 pulls leave no margin against underruns. 10 KiB keeps
    // ~2.2 pulls (44 ms) on a null sink: a new sound waits for the next tick and
    // the ~20-25 ms already queued. The mixer asks for more when a device keeps less.
    static constexpr int defaultBufferBytes = 10240;
    // The sink is stopped only after this much silence. It must exceed the sink's
    // latency (buffered samples are still to be heard), and a little more spares
    // restarting the stream between the quick jumps of a run.
    static constexpr int holdMilliseconds = 1500;

    explicit AudioMixer(QObject* parent = nullptr);
    ~AudioMixer() override;

    static QAudioFormat format();

    // Takes effect at the next start of the sink.
    void setBufferBytes(int bytes) { m_bufferBytes = bytes; }
    int bufferBytes() const { return m_bufferBytes; }

    std::shared_ptr<Voice> addVoice(std::vector<float> samples);
    void removeVoice(const std::shared_ptr<Voice>& voice);

    // Voice control from the main thread.
    void startVoice(const std::shared_ptr<Voice>& voice);
    void stopVoice(const std::shared_ptr<Voice>& voice);
    void rewindVoice(const std::shared_ptr<Voice>& voice);
    void setVoiceVolume(const std::shared_ptr<Voice>& voice, float volume);
    bool isVoicePlaying(const std::shared_ptr<Voice>& voice) const;
    std::size_t voicePosition(const std::shared_ptr<Voice>& voice) const;

    // True while the sink is started (pulling or about to).
    bool isSinkRunning() const;
    // How many times a sink was started; how many starts failed (no sound server, no device).
    int sinkStarts() const { return m_sinkStarts; }
    int sinkFailures() const { return m_sinkFailures; }

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override;

signals:
    void sinkRunningChanged(bool running);

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char* data, qint64 maxSize) override;

private:
    void ensureSink();
    bool startSink(int bufferBytes);
    void failAllVoices();
    void armIdleStop();
    void idleCheck();
    void stopSink();
    bool anyPlayingLocked() const;

    mutable QMutex m_lock;
    std::vector<std::shared_ptr<Voice>> m_voices;
    std::vector<float> m_mix; // scratch buffer, frames
    std::atomic<qint64> m_lastAudibleMs{0};
    QAudioSink* m_sink = nullptr;
    bool m_sinkRunning = false;
    QTimer m_idleTimer;
    int m_sinkStarts = 0;
    int m_sinkFailures = 0;
    int m_bufferBytes = defaultBufferBytes;
};

} // namespace vantrel
