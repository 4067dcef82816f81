#include "Vantrel/audio/AudioMixer.h"

#include "Vantrel/Clock.h"
#include "Vantrel/Logging.h"
#include "Vantrel/audio/QtAudioSink.h"
#include "VantrelCore/Chiptune.h"

#include <QMetaObject>
#include <QThread>

#include <algorithm>
#include <cmath>
#include <span>

namespace vantrel {

namespace {

constexpr qint64 frameBytes = static_cast<qint64>(sizeof(float)); // mono float
constexpr qint64 bytesPerMs = Chiptune::sampleRate * frameBytes / 1000;

const Clock& steadyClock() {
    static const SteadyClock clock;
    return clock;
}

} // namespace

AudioMixer::AudioMixer(QObject* parent)
    : AudioMixer(std::make_unique<QtAudioSink>(), steadyClock(), Feeding::onAudioThread, parent) {}

AudioMixer::AudioMixer(std::unique_ptr<AudioSink> sink, const Clock& clock, QObject* parent)
    : AudioMixer(std::move(sink), clock, Feeding::onThisThread, parent) {}

AudioMixer::AudioMixer(std::unique_ptr<AudioSink> sink, const Clock& clock, Feeding feeding, QObject* parent)
    : QObject(parent), m_clock(clock), m_sink(std::move(sink)) {
    m_feeder = new QObject;
    m_idleTimer = new QTimer(m_feeder);
    m_idleTimer->setSingleShot(true);
    connect(m_idleTimer, &QTimer::timeout, m_feeder, [this] { idleCheck(); });
    m_feedTimer = new QTimer(m_feeder);
    m_feedTimer->setTimerType(Qt::PreciseTimer);
    connect(m_feedTimer, &QTimer::timeout, m_feeder, [this] { feed(); });
    connect(m_sink.get(), &AudioSink::starved, m_feeder, [this] {
        if (m_sinkRunning) {
            noteGap();
        }
    });
    connect(m_sink.get(), &AudioSink::lost, m_feeder, [this] {
        // Sounding voices end: nothing will play them.
        if (m_sinkRunning) {
            stopSink();
            failAllVoices();
        }
    });
    if (feeding == Feeding::onAudioThread) {
        m_thread = std::make_unique<QThread>();
        m_thread->setObjectName(QStringLiteral("vantrel-audio"));
        m_feeder->moveToThread(m_thread.get());
        // The sink makes its stream on first start, on this thread: the stream is the sink's child.
        m_sink->moveToThread(m_thread.get());
        // The thread sleeps in its event loop while nothing sounds: no timers run then.
        m_thread->start();
    }
}

AudioMixer::~AudioMixer() {
    if (m_thread) {
        // Everything queued before runs first; nothing is queued after.
        QMetaObject::invokeMethod(
            m_feeder, [this] { shutDownFeed(); }, Qt::BlockingQueuedConnection);
        m_thread->quit();
        m_thread->wait();
    } else {
        shutDownFeed();
    }
    delete m_feeder; // its thread has ended: it handles no more events
    std::lock_guard lock(m_voicesLock);
    for (const auto& voice : m_voices) {
        voice->playing = false;
        voice->ended = nullptr;
    }
    m_voices.clear();
}

void AudioMixer::shutDownFeed() {
    m_feedTimer->stop();
    m_idleTimer->stop();
    if (m_sinkRunning) {
        m_sinkRunning = false;
        m_sink->stop();
    }
    m_sink.reset(); // its stream goes on the thread that made it
}

void AudioMixer::onFeedThread(std::function<void()> work) {
    if (QThread::currentThread() == m_feeder->thread()) {
        work();
    } else {
        QMetaObject::invokeMethod(m_feeder, std::move(work), Qt::QueuedConnection);
    }
}

bool AudioMixer::isSettableBufferBytes(int bytes) {
    return bytes >= leastSettableBufferBytes && bytes <= mostSettableBufferBytes;
}

qint64 AudioMixer::nowMilliseconds() const {
    return static_cast<qint64>(std::llround(m_clock.now() * 1000.0));
}

std::shared_ptr<AudioMixer::Voice> AudioMixer::addVoice(std::vector<float> samples) {
    auto voice = std::make_shared<Voice>();
    voice->samples = std::move(samples);
    std::lock_guard lock(m_voicesLock);
    m_voices.push_back(voice);
    return voice;
}

void AudioMixer::removeVoice(const std::shared_ptr<Voice>& voice) {
    std::lock_guard lock(m_voicesLock);
    voice->playing = false;
    voice->ended = nullptr;
    m_voices.erase(std::remove(m_voices.begin(), m_voices.end(), voice), m_voices.end());
}

void AudioMixer::startVoice(const std::shared_ptr<Voice>& voice) {
    {
        std::lock_guard lock(m_voicesLock);
        if (voice->position >= voice->samples.size()) {
            voice->position = 0;
        }
        voice->playing = true;
    }
    // Into whatever room the server has now, not at the next tick.
    onFeedThread([this] {
        ensureSink();
        feed();
    });
}

void AudioMixer::stopVoice(const std::shared_ptr<Voice>& voice) {
    {
        std::lock_guard lock(m_voicesLock);
        voice->playing = false;
    }
    if (!anyPlaying()) {
        onFeedThread([this] { armIdleStop(); });
    }
}

void AudioMixer::rewindVoice(const std::shared_ptr<Voice>& voice) {
    std::lock_guard lock(m_voicesLock);
    voice->position = 0;
}

void AudioMixer::setVoiceVolume(const std::shared_ptr<Voice>& voice, float volume) {
    std::lock_guard lock(m_voicesLock);
    voice->volume = volume;
}

bool AudioMixer::isVoicePlaying(const std::shared_ptr<Voice>& voice) const {
    std::lock_guard lock(m_voicesLock);
    return voice->playing;
}

std::size_t AudioMixer::voicePosition(const std::shared_ptr<Voice>& voice) const {
    std::lock_guard lock(m_voicesLock);
    return voice->position;
}

bool AudioMixer::anyPlaying() const {
    std::lock_guard lock(m_voicesLock);
    return std::any_of(m_voices.begin(), m_voices.end(), [](const auto& v) { return v->playing; });
}

void AudioMixer::mix(float* out, std::size_t frames) {
    std::fill(out, out + frames, 0.0f);
    bool audible = false;
    bool endedNow = false;
    bool anyLeft = false;
    {
        // Held for one mix of a few voices (microseconds): the owning thread waits no longer.
        std::lock_guard lock(m_voicesLock);
        // A voice's `ended` may start or remove voices: walk a copy.
        const std::vector<std::shared_ptr<Voice>> voices = m_voices;
        for (const auto& voice : voices) {
            if (!voice->playing) {
                continue;
            }
            const std::size_t left = voice->samples.size() - std::min(voice->position, voice->samples.size());
            const std::size_t n = std::min(left, frames);
            const float* in = voice->samples.data() + voice->position;
            for (std::size_t i = 0; i < n; ++i) {
                out[i] += in[i] * voice->volume;
            }
            voice->position += n;
            audible = audible || n > 0;
            if (voice->position >= voice->samples.size()) {
                voice->playing = false;
                endedNow = true;
                if (voice->ended) {
                    voice->ended();
                }
            }
        }
        anyLeft = std::any_of(m_voices.begin(), m_voices.end(), [](const auto& v) { return v->playing; });
    }
    for (std::size_t i = 0; i < frames; ++i) {
        out[i] = std::clamp(out[i], -1.0f, 1.0f);
    }
    if (audible) {
        m_lastAudibleMs = nowMilliseconds();
    }
    if (endedNow && !anyLeft) {
        armIdleStop();
    }
}

void AudioMixer::feed() {
    if (!m_sinkRunning) {
        return;
    }
    const qint64 room = m_sink->bytesFree() / frameBytes * frameBytes;
    // All the room there is: the server has played everything it was given.
    if (m_fedSinceStart && room >= m_keptBytes) {
        noteGap();
    }
    m_fedSinceStart = true;
    if (room <= 0) {
        return;
    }
    const auto frames = static_cast<std::size_t>(room / frameBytes);
    m_mix.resize(frames);
    mix(m_mix.data(), frames);
    m_sink->write(std::span<const float>(m_mix.data(), frames));
}

void AudioMixer::noteGap() {
    ++m_underruns;
    // A gap in the silence of the hold is not heard: no reason to add delay. One
    // gap may be seen twice (by the sink and by the top-up): grow once per start.
    const bool heard = anyPlaying() || nowMilliseconds() - m_lastAudibleMs < heardGapMilliseconds;
    if (heard && !m_grewThisRun) {
        const int was = m_bufferBytes;
        m_bufferBytes = std::max(was, std::min(was * 3 / 2, maxBufferBytes));
        m_grewThisRun = true;
    }
    qCDebug(lcAudio) << "the stream ran dry" << (heard ? "in a sound" : "in silence")
                     << "; the next start asks for" << m_bufferBytes.load() << "bytes";
}

void AudioMixer::ensureSink() {
    m_idleTimer->stop();
    if (m_sinkRunning) {
        return;
    }
    ++m_sinkStarts;
    const int asked = m_bufferBytes;
    if (!m_sink->start(asked)) {
        ++m_sinkFailures;
        failAllVoices();
        return;
    }
    m_sinkRunning = true;
    m_lastAudibleMs = nowMilliseconds();
    m_fedSinceStart = false;
    m_grewThisRun = false;
    // Top up about four times per buffer the server keeps, so one late tick is no gap.
    m_keptBytes = m_sink->bufferSize() > 0 ? m_sink->bufferSize() : asked;
    m_feedIntervalMs = static_cast<int>(std::clamp<qint64>(m_keptBytes / bytesPerMs / 4, 2, 20));
    m_feedTimer->start(m_feedIntervalMs);
    qCDebug(lcAudio) << "sink started: asked for" << asked << "bytes, the server keeps" << m_keptBytes
                     << "; top-up every" << m_feedIntervalMs.load() << "ms";
}

void AudioMixer::failAllVoices() {
    std::lock_guard lock(m_voicesLock);
    for (const auto& voice : std::vector<std::shared_ptr<Voice>>(m_voices)) {
        if (voice->playing) {
            voice->playing = false;
            if (voice->ended) {
                voice->ended();
            }
        }
    }
}

void AudioMixer::armIdleStop() {
    if (m_sinkRunning) {
        m_idleTimer->start(holdMilliseconds);
    }
}

void AudioMixer::idleCheck() {
    if (!m_sinkRunning || anyPlaying()) {
        return;
    }
    const qint64 silentFor = nowMilliseconds() - m_lastAudibleMs;
    if (silentFor < holdMilliseconds) {
        m_idleTimer->start(static_cast<int>(holdMilliseconds - silentFor));
        return;
    }
    stopSink();
}

void AudioMixer::stopSink() {
    m_idleTimer->stop();
    m_feedTimer->stop();
    if (!m_sinkRunning) {
        return;
    }
    m_sinkRunning = false;
    qCDebug(lcAudio) << "sink stopped after silence";
    m_sink->stop();
}

} // namespace vantrel
