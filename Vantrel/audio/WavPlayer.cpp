#include "Vantrel/audio/WavPlayer.h"

#include "VantrelCore/Chiptune.h"

#include <QMetaObject>

#include <algorithm>

#include <cstring>

namespace vantrel {

namespace {

uint32_t u32(std::span<const uint8_t> b, std::size_t at) {
    return uint32_t(b[at]) | uint32_t(b[at + 1]) << 8 | uint32_t(b[at + 2]) << 16 | uint32_t(b[at + 3]) << 24;
}

uint16_t u16(std::span<const uint8_t> b, std::size_t at) {
    return static_cast<uint16_t>(b[at] | b[at + 1] << 8);
}

bool tagIs(std::span<const uint8_t> b, std::size_t at, const char* tag) {
    return std::memcmp(b.data() + at, tag, 4) == 0;
}

} // namespace

WavPlayer::Decoded WavPlayer::decode(std::span<const uint8_t> wav) {
    Decoded result;
    if (wav.size() < 12 || !tagIs(wav, 0, "RIFF") || !tagIs(wav, 8, "WAVE")) {
        result.error = QStringLiteral("not a WAV file");
        return result;
    }
    // Walk the chunks; each is a tag, a 32-bit size and the body padded to an even length.
    std::optional<uint16_t> channels;
    std::size_t at = 12;
    while (at + 8 <= wav.size()) {
        const uint32_t size = u32(wav, at + 4);
        const std::size_t body = at + 8;
        if (size > wav.size() - body) {
            result.error = QStringLiteral("truncated WAV chunk");
            return result;
        }
        if (tagIs(wav, at, "fmt ")) {
            if (size < 16) {
                result.error = QStringLiteral("short format chunk");
                return result;
            }
            const uint16_t formatTag = u16(wav, body);
            channels = u16(wav, body + 2);
            const uint32_t rate = u32(wav, body + 4);
            const uint16_t bits = u16(wav, body + 14);
            if (formatTag != 1 || bits != 16) {
                result.error = QStringLiteral("only 16-bit PCM is supported");
                return result;
            }
            if (*channels != 1 && *channels != 2) {
                result.error = QStringLiteral("only mono or stereo is supported");
                return result;
            }
            if (rate != static_cast<uint32_t>(Chiptune::sampleRate)) {
                result.error = QStringLiteral("sample rate %1 Hz is not supported").arg(rate);
                return result;
            }
        } else if (tagIs(wav, at, "data")) {
            if (!channels) {
                result.error = QStringLiteral("data before the format chunk");
                return result;
            }
            const std::size_t frames = size / (2u * *channels);
            result.samples.resize(frames);
            for (std::size_t i = 0; i < frames; ++i) {
                float sum = 0;
                for (uint16_t c = 0; c < *channels; ++c) {
                    sum += static_cast<int16_t>(u16(wav, body + 2 * (i * *channels + c))) / 32767.0f;
                }
                result.samples[i] = sum / *channels;
            }
            return result;
        }
        at = body + size + (size & 1u);
    }
    result.error = QStringLiteral("no data chunk");
    return result;
}

std::unique_ptr<WavPlayer> WavPlayer::create(std::span<const uint8_t> wav, AudioMixer& mixer,
                                             QString* error) {
    Decoded decoded = decode(wav);
    if (!decoded.error.isEmpty()) {
        if (error) {
            *error = decoded.error;
        }
        return nullptr;
    }
    auto voice = mixer.addVoice(std::move(decoded.samples));
    return std::unique_ptr<WavPlayer>(new WavPlayer(std::move(voice), mixer));
}

WavPlayer::WavPlayer(std::shared_ptr<AudioMixer::Voice> voice, AudioMixer& mixer)
    : m_mixer(&mixer), m_voice(std::move(voice)), m_sampleCount(m_voice->samples.size()) {
    // Runs while the mixer writes the last samples, which the server plays a little
    // later; the notice is queued so that it never re-enters the mixer. The
    // destructor detaches the voice before this object goes.
    m_voice->ended = [this] { QMetaObject::invokeMethod(this, &WavPlayer::finished, Qt::QueuedConnection); };
}

WavPlayer::~WavPlayer() {
    if (m_mixer) {
        m_mixer->removeVoice(m_voice);
    }
}

void WavPlayer::setVolume(float volume) {
    m_volume = std::clamp(volume, 0.0f, 1.0f);
    if (m_mixer) {
        m_mixer->setVoiceVolume(m_voice, m_volume);
    }
}

void WavPlayer::seekToStart() {
    if (m_mixer) {
        m_mixer->rewindVoice(m_voice);
    }
}

void WavPlayer::start() {
    if (m_mixer) {
        m_mixer->startVoice(m_voice);
    }
}

void WavPlayer::stop() {
    if (m_mixer) {
        m_mixer->stopVoice(m_voice);
    }
}

bool WavPlayer::isPlaying() const {
    return m_mixer && m_mixer->isVoicePlaying(m_voice);
}

std::size_t WavPlayer::position() const {
    return m_mixer ? m_mixer->voicePosition(m_voice) : 0;
}

double WavPlayer::duration() const {
    return static_cast<double>(m_sampleCount) / Chiptune::sampleRate;
}

} // namespace vantrel
