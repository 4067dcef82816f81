#pragma once

#include <QObject>

#include <span>

namespace vantrel {

// Where the mixer's stream goes: mono float at Chiptune::sampleRate. The mixer
// pushes: it asks how much room there is and writes that much; the sink never
// asks the mixer for samples. QtAudioSink is the sound server; tests record.
class AudioSink : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    // Opens the stream, asking the server to keep `bufferBytes` of it. False when
    // none can be opened (no sound server, no device); a later start tries afresh.
    virtual bool start(int bufferBytes) = 0;
    virtual void stop() = 0;
    // Bytes the stream takes now without waiting.
    virtual qint64 bytesFree() const = 0;
    // Bytes the server keeps for the running stream; 0 when it does not say.
    virtual qint64 bufferSize() const = 0;
    virtual void write(std::span<const float> samples) = 0;

signals:
    // The server played everything it was given: a gap, unless nothing sounds.
    void starved();
    // The stream stopped by itself: the server or the device went away.
    void lost();
};

} // namespace vantrel
