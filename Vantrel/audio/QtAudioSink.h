#pragma once

#include "Vantrel/audio/AudioSink.h"

class QAudioSink;
class QIODevice;

namespace vantrel {

// The mixer's stream into Qt's QAudioSink on the default output device (PulseAudio
// on the desktop), in push mode: written samples go straight to the server.
class QtAudioSink final : public AudioSink {
    Q_OBJECT
public:
    explicit QtAudioSink(QObject* parent = nullptr);
    ~QtAudioSink() override;

    bool start(int bufferBytes) override;
    void stop() override;
    qint64 bytesFree() const override;
    qint64 bufferSize() const override;
    void write(std::span<const float> samples) override;

private:
    QAudioSink* m_sink = nullptr;
    QIODevice* m_output = nullptr; // the sink's push device while it runs
    bool m_running = false;
};

} // namespace vantrel
