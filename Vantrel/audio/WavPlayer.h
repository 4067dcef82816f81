#pragma once

#include "Vantrel/audio/AudioMixer.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace vantrel {

// Plays one in-memory WAV image as a voice of an AudioMixer. Accepts 16-bit PCM,
// mono or stereo (mixed down), at Chiptune::sampleRate, the rate the mixer streams at.
class WavPlayer : public QObject {
    Q_OBJECT
public:
    // The WAV image's samples as floats, or the reason it cannot be played.
    struct Decoded {
        std::vector<float> samples;
        QString error;
    };
    static Decoded decode(std::span<const uint8_t> wav);

    // Returns nothing (and the reason in `error`) when the image cannot be played.
    static std::unique_ptr<WavPlayer> create(std::span<const uint8_t> wav, AudioMixer& mixer,
                                             QString* error = nullptr);
    ~WavPlayer() override;

    void setVolume(float volume);
    float volume() const { return m_volume; }
    void seekToStart();
    void start(); // from the current position; from the start once it has played through
    void stop();  // keeps the position; no finished() for a stopped sound
    bool isPlaying() const;
    double duration() const; // seconds
    std::size_t sampleCount() const { return m_sampleCount; }
    std::size_t position() const; // samples already handed to the sound server

signals:
    // The last sample went to the sound server (it is heard a sink's latency later),
    // or playback failed. Always delivered through the event loop.
    void finished();

private:
    WavPlayer(std::shared_ptr<AudioMixer::Voice> voice, AudioMixer& mixer);

    QPointer<AudioMixer> m_mixer;
    std::shared_ptr<AudioMixer::Voice> m_voice;
    std::size_t m_sampleCount = 0;
    float m_volume = 1.0f;
};

} // namespace vantrel
