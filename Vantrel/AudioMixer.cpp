#include "Vantrel/AudioMixer.h"

#include <QAudioDevice>
#include <QAudioSink>
#include <QMediaDevices>
#include <QMutexLocker>

#include <algorithm>
#include <chrono>

namespace vantrel {

namespace {

qint64 monotonicMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

constexpr qint64 frameBytes = AudioMixer::channels * static_cast<qint64>(sizeof(float));
// Qt 6.4's PulseAudio sink pulls 20 ms per tick of its timer.
constexpr qint64 pullBytes = AudioMixer::sampleRate / 50 * frameBytes;
constexpr qint64 marginBytes = 512; // 3 ms

} // namespace

AudioMixer::AudioMixer(QObject* parent) : QIODevice(parent) {
    // A loaded machine may need more room against underruns, at the cost of delay.
    bool ok = false;
    const int requested = qEnvironmentVariableIntValue("VANTREL_AUDIO_BUFFER_BYTES", &ok);
    if (ok && requested >= 4096 && requested <= 1 << 20) {
        m_bufferBytes = requested;
    }
    // Unbuffered: QIODevice would otherwise read 16 KiB (370 ms) ahead and delay every new sound.
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    m_idleTimer.setSingleShot(true);
    connect(&m_idleTimer, &QTimer::timeout, this, &AudioMixer::idleCheck);
}

AudioMixer::~AudioMixer() {
    if (m_sink) {
        m_sink->stop();
        delete m_sink;
        m_sink = nullptr;
    }
    QMutexLocker locker(&m_lock);
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
    QMutexLocker locker(&m_lock);
    m_voices.push_back(voice);
    return voice;
}

void AudioMixer::removeVoice(const std::shared_ptr<Voice>& voice) {
    QMutexLocker locker(&m_lock);
    voice->playing = false;
    voice->ended = nullptr;
    m_voices.erase(std::remove(m_voices.begin(), m_voices.end(), voice), m_voices.end());
}

void AudioMixer::startVoice(const std::shared_ptr<Voice>& voice) {
    {
        QMutexLocker locker(&m_lock);
        if (voice->position >= voice->samples.size()) {
            voice->position = 0;
        }
        voice->playing = true;
    }
    ensureSink();
}

void AudioMixer::stopVoice(const std::shared_ptr<Voice>& voice) {
    bool silent = false;
    {
        QMutexLocker locker(&m_lock);
        voice->playing = false;
        silent = !anyPlayingLocked();
    }
    if (silent) {
        armIdleStop();
    }
}

void AudioMixer::rewindVoice(const std::shared_ptr<Voice>& voice) {
    QMutexLocker locker(&m_lock);
    voice->position = 0;
}

void AudioMixer::setVoiceVolume(const std::shared_ptr<Voice>& voice, float volume) {
    QMutexLocker locker(&m_lock);
    voice->volume = volume;
}

bool AudioMixer::isVoicePlaying(const std::shared_ptr<Voice>& voice) const {
    QMutexLocker locker(&m_lock);
    return voice->playing;
}

std::size_t AudioMixer::voicePosition(const std::shared_ptr<Voice>& voice) const {
    QMutexLocker locker(&m_lock);
    return voice->position;
}

bool AudioMixer::isSinkRunning() const {
    return m_sinkRunning;
}

bool AudioMixer::anyPlayingLocked() const {
    return std::any_of(m_voices.begin(), m_voices.end(), [](const auto& v) { return v->playing; });
}

qint64 AudioMixer::bytesAvailable() const {
    // An endless stream: silence is data too while the sink runs.
    return m_bufferBytes + QIODevice::bytesAvailable();
}

qint64 AudioMixer::writeData(const char*, qint64) {
    return -1;
}

qint64 AudioMixer::readData(char* data, qint64 maxSize) {
    const qint64 frames = maxSize / frameBytes;
    if (frames <= 0) {
        return 0;
    }
    m_mix.assign(static_cast<std::size_t>(frames), 0.0f);
    bool audible = false;
    bool endedNow = false;
    bool silentAfter = false;
    {
        QMutexLocker locker(&m_lock);
        for (const auto& voice : m_voices) {
            if (!voice->playing) {
                continue;
            }
            const std::size_t left = voice->samples.size() - std::min(voice->position, voice->samples.size());
            const std::size_t n = std::min(left, static_cast<std::size_t>(frames));
            const float* in = voice->samples.data() + voice->position;
            for (std::size_t i = 0; i < n; ++i) {
                m_mix[i] += in[i] * voice->volume;
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
        silentAfter = !anyPlayingLocked();
    }
    auto* out = reinterpret_cast<float*>(data);
    for (qint64 i = 0; i < frames; ++i) {
        const float s = std::clamp(m_mix[static_cast<std::size_t>(i)], -1.0f, 1.0f);
        for (int c = 0; c < channels; ++c) {
            out[channels * i + c] = s;
        }
    }
    if (audible) {
        m_lastAudibleMs.store(monotonicMs());
    }
    if (endedNow && silentAfter) {
        QMetaObject::invokeMethod(this, &AudioMixer::armIdleStop, Qt::QueuedConnection);
    }
    return frames * frameBytes;
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
            // A sink that stops by itself has lost its server; sounding voices end.
            if (state == QAudio::StoppedState && m_sinkRunning && m_sink &&
                m_sink->error() != QAudio::NoError) {
                stopSink();
                failAllVoices();
            }
        });
    }
    if (!startSink(m_bufferBytes)) {
        return;
    }
    // The server keeps the requested size minus its own latency, which depends on
    // the device. Less than two pulls of room either stalls the stream (prebuffer
    // never reached) or leaves no margin against underruns: ask again with more.
    const qsizetype kept = m_sink->bufferSize();
    if (kept > 0 && kept < 2 * pullBytes + marginBytes) {
        m_sink->stop();
        // The server scales what it keeps (three quarters on a null sink); scale the request alike.
        m_bufferBytes = static_cast<int>((m_bufferBytes * (2 * pullBytes + marginBytes) + kept - 1) / kept);
        if (!startSink(m_bufferBytes)) {
            return;
        }
    }
    m_sinkRunning = true;
    m_lastAudibleMs.store(monotonicMs());
    emit sinkRunningChanged(true);
}

bool AudioMixer::startSink(int bufferBytes) {
    ++m_sinkStarts;
    m_sink->setBufferSize(bufferBytes);
    m_sink->start(this);
    // Without a sound server start() fails at once and says so only here.
    if (m_sink->error() != QAudio::NoError || m_sink->state() == QAudio::StoppedState) {
        ++m_sinkFailures;
        m_sink->deleteLater(); // a later start makes a fresh one, maybe on a new default device
        m_sink = nullptr;
        failAllVoices();
        return false;
    }
    return true;
}

void AudioMixer::failAllVoices() {
    QMutexLocker locker(&m_lock);
    for (const auto& voice : m_voices) {
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
    {
        QMutexLocker locker(&m_lock);
        if (anyPlayingLocked()) {
            return;
        }
    }
    const qint64 silentFor = monotonicMs() - m_lastAudibleMs.load();
    if (silentFor < holdMilliseconds) {
        m_idleTimer.start(static_cast<int>(holdMilliseconds - silentFor));
        return;
    }
    stopSink();
}

void AudioMixer::stopSink() {
    m_idleTimer.stop();
    if (!m_sinkRunning) {
        return;
    }
    m_sinkRunning = false;
    if (m_sink) {
        m_sink->stop();
    }
    emit sinkRunningChanged(false);
}

} // namespace vantrel
