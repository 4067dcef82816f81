#include "Vantrel/audio/ArcadeAudio.h"

#include "Vantrel/platform/VectorState.h"
#include "VantrelCore/Chiptune.h"

namespace vantrel {

namespace {

bool isReward(ArcadeCue cue) {
    return cue == ArcadeCue::milestone || cue == ArcadeCue::record;
}

} // namespace

ArcadeAudio::ArcadeAudio(QObject* parent) : ArcadeAudio(renderCue, parent) {}

std::vector<uint8_t> ArcadeAudio::renderCue(ArcadeCue cue) {
    // The last paint may have left the vector unit in a state that makes the
    // synthesis' sines many times slower; see VectorState.h.
    platform::clearUpperVectorState();
    return Chiptune::waveData(cue);
}

ArcadeAudio::ArcadeAudio(WaveSource source, QObject* parent)
    : QObject(parent), m_source(std::move(source)), m_mixer(new AudioMixer(this)) {}

ArcadeAudio::ArcadeAudio(WaveSource source, std::unique_ptr<AudioSink> sink, const Clock& clock,
                         QObject* parent)
    : QObject(parent), m_source(std::move(source)), m_mixer(new AudioMixer(std::move(sink), clock, this)) {}

ArcadeAudio::~ArcadeAudio() {
    // Players go before the mixer they are voices of.
    m_activeReward = nullptr;
    m_players.clear();
}

WavPlayer* ArcadeAudio::cachedPlayer(ArcadeCue cue) const {
    const auto found = m_players.find(cue);
    return found == m_players.end() ? nullptr : found->second.get();
}

// Made on first use and kept; a cue whose player cannot be made stays silent this
// time and is tried again next time.
WavPlayer* ArcadeAudio::player(ArcadeCue cue) {
    if (WavPlayer* cached = cachedPlayer(cue)) {
        return cached;
    }
    const std::vector<uint8_t> wav = m_source(cue);
    std::unique_ptr<WavPlayer> made = WavPlayer::create(wav, *m_mixer);
    if (!made) {
        return nullptr;
    }
    made->setVolume(volume);
    WavPlayer* raw = made.get();
    m_players.emplace(cue, std::move(made));
    return raw;
}

void ArcadeAudio::play(ArcadeCue cue) {
    if (isReward(cue)) {
        m_rewardQueue.push_back(cue);
        playNextReward();
        return;
    }
    WavPlayer* p = player(cue);
    if (!p) {
        return;
    }
    // A jump after a crash starts a new run: cut the crash off. Never make a crash player for it.
    if (cue == ArcadeCue::jump) {
        if (WavPlayer* crash = cachedPlayer(ArcadeCue::crash)) {
            crash->stop();
        }
    }
    p->seekToStart();
    p->start();
}

void ArcadeAudio::playNextReward() {
    while (!m_activeReward && !m_rewardQueue.empty()) {
        const ArcadeCue cue = m_rewardQueue.front();
        m_rewardQueue.pop_front();
        WavPlayer* p = player(cue);
        if (!p) {
            continue; // skipped; the next one is tried at once
        }
        m_activeReward = p;
        // Queued: the notice is handled on this thread after the current work, and
        // disconnected automatically when this object goes.
        connect(p, &WavPlayer::finished, this, &ArcadeAudio::rewardFinished,
                static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::UniqueConnection));
        p->seekToStart();
        p->start();
    }
}

void ArcadeAudio::rewardFinished() {
    // A late notice for a player that has since been restarted changes nothing.
    if (m_activeReward && m_activeReward->isPlaying()) {
        return;
    }
    m_activeReward = nullptr;
    playNextReward();
}

void ArcadeAudio::stopAll() {
    m_rewardQueue.clear();
    for (auto& [cue, p] : m_players) {
        p->stop();
        p->seekToStart();
    }
    m_activeReward = nullptr;
}

} // namespace vantrel
