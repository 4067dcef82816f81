#pragma once

#include "Vantrel/audio/AudioMixer.h"
#include "Vantrel/audio/WavPlayer.h"
#include "VantrelCore/ArcadeCue.h"

#include <QObject>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace vantrel {

// Plays the game's sound cues. Actions (jump, duck, crash) sound at once and may
// overlap; rewards (milestone, record) queue so two fanfares never overlap.
// Whether sound is on at all is the caller's business. Main thread only: the
// mixer's feed thread only mixes what these players handed it.
class ArcadeAudio : public QObject {
    Q_OBJECT
public:
    // The WAV image for a cue; the game uses Chiptune::waveData.
    using WaveSource = std::function<std::vector<uint8_t>(ArcadeCue)>;

    // The game's cues on the sound server, mixed and fed on an audio thread: the
    // stream's timing is the server's, on the steady clock, whatever the game's clock.
    explicit ArcadeAudio(QObject* parent = nullptr);
    explicit ArcadeAudio(WaveSource source, QObject* parent = nullptr);
    // Into `sink`, fed on this thread, with the mixer's hold timed by `clock`
    // (which must outlive this): tests step both by hand.
    ArcadeAudio(WaveSource source, std::unique_ptr<AudioSink> sink, const Clock& clock,
                QObject* parent = nullptr);
    ~ArcadeAudio() override;

    // The game's source: the cue synthesised on this thread.
    static std::vector<uint8_t> renderCue(ArcadeCue cue);

    void play(ArcadeCue cue);
    void stopAll();

    // Read-only views for tests and diagnostics.
    WavPlayer* cachedPlayer(ArcadeCue cue) const;
    WavPlayer* activeReward() const { return m_activeReward; }
    std::vector<ArcadeCue> pendingRewards() const { return {m_rewardQueue.begin(), m_rewardQueue.end()}; }
    const AudioMixer& mixer() const { return *m_mixer; }
    AudioMixer& mixer() { return *m_mixer; }

    static constexpr float volume = 0.65f;

private:
    WavPlayer* player(ArcadeCue cue);
    void playNextReward();
    void rewardFinished();

    WaveSource m_source;
    AudioMixer* m_mixer;
    std::map<ArcadeCue, std::unique_ptr<WavPlayer>> m_players;
    std::deque<ArcadeCue> m_rewardQueue;
    WavPlayer* m_activeReward = nullptr;
};

} // namespace vantrel
