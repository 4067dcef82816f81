#include "Vantrel/audio/AudioMixer.h"

#include "Vantrel/Logging.h"

#include <QAudioDevice>
#include <QAudioSink>
#include <QIODevice>
#include <QMediaDevices>

#include <algorithm>
#include <chrono>

namespace vantrel {

namespace {

qint64 monotonicMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

constexpr qint64 frameBytes = AudioMixer::channels * static_cast<qint64>(sizeof(float));
constexpr qint64 bytesPerMs = AudioMixer::sampleRate * frameBytes / 1000;

} // namespace

AudioMixer::AudioMixer(QObject* parent) : QObject(parent) {
    // A loaded machine may need more room against gaps, at the cost of delay.
    bool ok = false;
    const int requested = qEnvironmentVariableIntValue("VANTREL_AUDIO_BUFFER_BYTES", &ok);
    if (ok && requested >= 1024 && requested <= 1 << 20) {
        m_bufferBytes = requested;
    }
    m_idleTimer.setSingleShot(true);
    connect(&m_idleTimer, &QTimer::timeout, this, &AudioMixer::idleCheck);
    m_feedTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_feedTimer, &QTimer::timeout, this, &AudioMixer::feed);
}

AudioMixer::~AudioMixer() {
    m_feedTimer.stop();
    if (m_sink) {
        m_sink->stop();
        delete m_sink;
        m_sink = nullptr;
    }
    for (const auto& voice : m_voices) {
        voice->playing = false;
        voice->ended = nullptr;
    }
    m_voices.clear();
}

QAudioFormat AudioMixer::format() {
    // Mono float: the samples as rendered, no conversion; the server spreads it to its channels.
    QAudioFormat f;
    f.setSampleRate(sampleRate);
    f.setChannelCount(channels);
    f.setSampleFormat(QAudioFormat::Float);
    return f;
}

std::shared_ptr<AudioMixer::Voice> AudioMixer::addVoice(std::vector<float> samples) {
    auto voice = std::make_shared<Voice>();
    voice->samples = std::move(samples);
    m_voices.push_back(voice);
    return voice;
}

void AudioMixer::removeVoice(const std::shared_ptr<Voice>& voice) {
    voice->playing = false;
    voice->ended = nullptr;
    m_voices.erase(std::remove(m_voices.begin(), m_voices.end(), voice), m_voices.end());
}

void AudioMixer::startVoice(const std::shared_ptr<Voice>& voice) {
    if (voice->position >= voice->samples.size()) {
        voice->position = 0;
    }
    voice->playing = true;
    ensureSink();
    // Into whatever room the server has now, not at the next tick.
    feed();
}

void AudioMixer::stopVoice(const std::shared_ptr<Voice>& voice) {
    voice->playing = false;
    if (!anyPlaying()) {
        armIdleStop();
    }
}

void AudioMixer::rewindVoice(const std::shared_ptr<Voice>& voice) {
    voice->position = 0;
}

void AudioMixer::setVoiceVolume(const std::shared_ptr<Voice>& voice, float volume) {
    voice->volume = volume;
}

bool AudioMixer::isVoicePlaying(const std::shared_ptr<Voice>& voice) const {
    return voice->playing;
}

std::size_t AudioMixer::voicePosition(const std::shared_ptr<Voice>& voice) const {
    return voice->position;
}

bool AudioMixer::isSinkRunning() const {
    return m_sinkRunning;
}

bool AudioMixer::anyPlaying() const {
    return std::any_of(m_voices.begin(), m_voices.end(), [](const auto& v) { return v->playing; });
}

void AudioMixer::mix(float* out, std::size_t frames) {
    std::fill(out, out + frames, 0.0f);
    bool audible = false;
    bool endedNow = false;
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
    for (std::size_t i = 0; i < frames; ++i) {
        out[i] = std::clamp(out[i], -1.0f, 1.0f);
    }
    if (audible) {
        m_lastAudibleMs = monotonicMs();
    }
    if (endedNow && !anyPlaying()) {
        armIdleStop();
    }
}

void AudioMixer::feed() {
    if (!m_sinkRunning || m_sink == nullptr || m_output == nullptr) {
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
    m_mix.resize(frames * channels);
    mix(m_mix.data(), frames);
    m_output->write(reinterpret_cast<const char*>(m_mix.data()), room);
}

void AudioMixer::noteGap() {
    ++m_underruns;
    // A gap in the silence of the hold is not heard: no reason to add delay. One
    // gap may be seen twice (by the sink and by the top-up): grow once per start.
    const bool heard = anyPlaying() || monotonicMs() - m_lastAudibleMs < 100;
    if (heard && !m_grewThisRun) {
        m_bufferBytes = std::max(m_bufferBytes, std::min(m_bufferBytes * 3 / 2, maxBufferBytes));
        m_grewThisRun = true;
    }
    qCDebug(lcAudio) << "the stream ran dry" << (heard ? "in a sound" : "in silence")
                     << "; the next start asks for" << m_bufferBytes << "bytes";
}

void AudioMixer::ensureSink() {
    m_idleTimer.stop();
    if (m_sinkRunning) {
        return;
    }
    if (!m_sink) {
        const QAudioDevice device = QMediaDevices::defaultAudioOutput();
        if (device.isNull()) {
            ++m_sinkFailures;
            failAllVoices();
            return;
        }
        m_sink = new QAudioSink(device, format(), this);
        connect(m_sink, &QAudioSink::stateChanged, this, [this](QAudio::State state) {
            // Pushed, the sink falls idle after starting only when the server ran dry.
            if (state == QAudio::IdleState && m_sinkRunning) {
                noteGap();
            }
            // A sink that stops by itself has lost its server; sounding voices end.
            if (state == QAudio::StoppedState && m_sinkRunning && m_sink &&
                m_sink->error() != QAudio::NoError) {
                stopSink();
                failAllVoices();
            }
        });
    }
    if (!startSink()) {
        return;
    }
    m_sinkRunning = true;
    m_lastAudibleMs = monotonicMs();
    m_fedSinceStart = false;
    m_grewThisRun = false;
    // Top up about four times per buffer the server keeps, so one late tick is no gap.
    m_keptBytes = m_sink->bufferSize() > 0 ? m_sink->bufferSize() : m_bufferBytes;
    m_feedTimer.start(static_cast<int>(std::clamp<qint64>(m_keptBytes / bytesPerMs / 4, 2, 20)));
    qCDebug(lcAudio) << "sink started: asked for" << m_bufferBytes << "bytes, the server keeps" << m_keptBytes
                     << "; top-up every" << m_feedTimer.interval() << "ms";
    emit sinkRunningChanged(true);
}

bool AudioMixer::startSink() {
    ++m_sinkStarts;
    m_sink->setBufferSize(m_bufferBytes);
    m_output = m_sink->start();
    // Without a sound server start() fails at once and says so only here.
    if (m_output == nullptr || m_sink->error() != QAudio::NoError ||
        m_sink->state() == QAudio::StoppedState) {
        ++m_sinkFailures;
        m_output = nullptr;
        m_sink->deleteLater(); // a later start makes a fresh one, maybe on a new default device
        m_sink = nullptr;
        failAllVoices();
        return false;
    }
    return true;
}

void AudioMixer::failAllVoices() {
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
        m_idleTimer.start(holdMilliseconds);
    }
}

void AudioMixer::idleCheck() {
    if (anyPlaying()) {
        return;
    }
    const qint64 silentFor = monotonicMs() - m_lastAudibleMs;
    if (silentFor < holdMilliseconds) {
        m_idleTimer.start(static_cast<int>(holdMilliseconds - silentFor));
        return;
    }
    stopSink();
}

void AudioMixer::stopSink() {
    m_idleTimer.stop();
    m_feedTimer.stop();
    if (!m_sinkRunning) {
        return;
    }
    m_sinkRunning = false;
    qCDebug(lcAudio) << "sink stopped after silence";
    m_output = nullptr; // the sink deletes its push device when it stops
    if (m_sink) {
        m_sink->stop();
    }
    emit sinkRunningChanged(false);
}

} // namespace vantrel
