#pragma once

#include "Vantrel/audio/AudioSink.h"
#include "VantrelCore/Chiptune.h"

#include <algorithm>
#include <vector>

namespace vantrel::testing {

// A sound server in memory: it keeps what the mixer writes and plays it only
// when the test says time has passed, so the mixer's decisions can be stepped.
class RecordingAudioSink final : public AudioSink {
public:
    static constexpr qint64 bytesPerFrame = sizeof(float);
    static constexpr qint64 framesPerMs = Chiptune::sampleRate / 1000; // 44, rounded down

    bool start(int bufferBytes) override {
        ++starts;
        askedBytes.push_back(bufferBytes);
        if (!startSucceeds) {
            return false;
        }
        running = true;
        kept = keptBytes > 0 ? keptBytes : bufferBytes;
        held = kept - roomAtStart; // what the server still has to play from before, if anything
        return true;
    }
    void stop() override {
        ++stops;
        running = false;
    }
    qint64 bytesFree() const override { return running ? kept - held : 0; }
    qint64 bufferSize() const override { return running ? kept : 0; }
    void write(std::span<const float> samples) override {
        written.insert(written.end(), samples.begin(), samples.end());
        held += static_cast<qint64>(samples.size_bytes());
    }

    // The server plays `frames` frames of what it holds, making room for as many.
    void play(qint64 frames) { held = std::max<qint64>(0, held - frames * bytesPerFrame); }

    // Set by the test.
    bool startSucceeds = true;
    qint64 keptBytes = 0;   // what the server keeps; 0: what the mixer asked for
    qint64 roomAtStart = 0; // bytes free the moment the stream starts

    // Seen by the test.
    std::vector<float> written;
    std::vector<int> askedBytes; // the buffer each start asked for
    int starts = 0;
    int stops = 0;
    bool running = false;
    qint64 kept = 0;
    qint64 held = 0; // bytes written and not yet played
};

} // namespace vantrel::testing
