#include "VantrelCore/Chiptune.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace vantrel::Chiptune {

namespace detail {

namespace {

constexpr double rate = sampleRate; // samples per second, for the arithmetic in double
constexpr double twoPi = 6.283185307179586;
constexpr double attackTime = 0.003;  // s, linear fade-in against clicks
constexpr double releaseTime = 0.035; // s, linear fade-out at the note's end
constexpr double decayDepth = 0.25;   // the level falls to 75 % by the note's end

// Three odd harmonics of a band-limited Fourier series. The divisors bring the
// peaks back to about 1 (the bare sums peak near 1.54 and 1.15).
constexpr double squareNorm = 1.54;
constexpr double triangleNorm = 1.15;

constexpr Note jumpNotes[] = {
    {0.0, 0.095, 72, 84, 0.13, false}, // upward octave chirp
};
constexpr Note duckNotes[] = {
    {0.0, 0.07, 67, 60, 0.10, true}, // short downward slide
};
constexpr Note milestoneNotes[] = {
    {0.0, 0.09, 84, std::nullopt, 0.19, false},
    {0.075, 0.09, 88, std::nullopt, 0.19, false},
    {0.15, 0.16, 91, std::nullopt, 0.19, false},
    {0.0, 0.28, 60, std::nullopt, 0.08, true}, // drone
};
constexpr Note recordNotes[] = {
    {0.0, 0.11, 72, std::nullopt, 0.19, false},  {0.09, 0.11, 76, std::nullopt, 0.19, false},
    {0.18, 0.11, 79, std::nullopt, 0.19, false}, {0.27, 0.13, 84, std::nullopt, 0.19, false},
    {0.38, 0.13, 88, std::nullopt, 0.19, false}, {0.49, 0.25, 91, std::nullopt, 0.19, false},
    {0.0, 0.30, 48, std::nullopt, 0.09, true},   {0.30, 0.44, 60, std::nullopt, 0.09, true}, // bass
};
// The falling gains are a deliberate decrescendo.
constexpr Note crashNotes[] = {
    {0.0, 0.10, 67, std::nullopt, 0.15, false},
    {0.075, 0.10, 64, std::nullopt, 0.14, false},
    {0.15, 0.18, 60, 48, 0.13, false}, // slides down an octave
};

} // namespace

std::span<const Note> notes(ArcadeCue cue) {
    switch (cue) {
    case ArcadeCue::jump:
        return jumpNotes;
    case ArcadeCue::duck:
        return duckNotes;
    case ArcadeCue::milestone:
        return milestoneNotes;
    case ArcadeCue::record:
        return recordNotes;
    case ArcadeCue::crash:
        return crashNotes;
    }
    return jumpNotes;
}

// The glide is linear in MIDI numbers, so exponential in frequency, and uses the
// note's own progress: the last sample stays just short of the end pitch.
double pitchAt(const Note& note, int64_t i) {
    const double t = static_cast<double>(i) / rate;
    const double p = t / note.duration;
    const double target = note.endMIDI.value_or(note.midi);
    return note.midi + (target - note.midi) * p;
}

std::vector<float> render(std::span<const Note> notes) {
    double maxEnd = 0;
    bool first = true;
    for (const Note& note : notes) {
        const double end = note.at + note.duration;
        if (first || end > maxEnd) {
            maxEnd = end;
            first = false;
        }
    }
    // One sample beyond the ceiling, which no note reaches: every sound ends on 0.
    const auto length = static_cast<int64_t>(std::ceil(maxEnd * rate)) + 1;
    std::vector<float> out(static_cast<std::size_t>(length), 0.0f);

    for (const Note& note : notes) {
        const auto start = static_cast<int64_t>(note.at * rate);
        const auto count = static_cast<int64_t>(note.duration * rate);
        const bool glides = note.endMIDI.has_value() && *note.endMIDI != note.midi;
        const double steadyFrequency = 440 * std::exp2((note.midi - 69) / 12);
        double phase = 0.0;
        for (int64_t i = 0; i < count; ++i) {
            const int64_t k = start + i;
            if (k < 0 || k >= length) {
                continue;
            }
            const double t = static_cast<double>(i) / rate;
            const double p = t / note.duration;
            // Without a glide m is exactly `midi` on every sample (midi + 0 * p), so the
            // frequency is computed once: same bits, a quarter of the work saved.
            const double f = glides ? 440 * std::exp2((pitchAt(note, i) - 69) / 12) : steadyFrequency;
            // Advanced before use, so even a note's first sample has a non-zero phase.
            phase += f * twoPi / rate;
            const double s1 = std::sin(phase);
            const double s3 = std::sin(3 * phase);
            const double s5 = std::sin(5 * phase);
            const double w =
                note.triangle ? (s1 - s3 / 9 + s5 / 25) / triangleNorm : (s1 + s3 / 3 + s5 / 5) / squareNorm;
            const double a = std::min(t / attackTime, 1.0);
            const double r = (note.duration - t) / releaseTime;
            const double e = r < 1 ? std::max(r * a, 0.0) : a;
            const double d = 1 - decayDepth * p;
            out[static_cast<std::size_t>(k)] += static_cast<float>(d * e * note.gain * w);
        }
    }
    return out;
}

} // namespace detail

namespace {

void putU32(std::vector<uint8_t>& out, uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) {
        out.push_back(static_cast<uint8_t>(value >> shift));
    }
}

void putU16(std::vector<uint8_t>& out, uint16_t value) {
    out.push_back(static_cast<uint8_t>(value));
    out.push_back(static_cast<uint8_t>(value >> 8));
}

void putTag(std::vector<uint8_t>& out, const char (&tag)[5]) {
    out.insert(out.end(), tag, tag + 4);
}

int16_t pcm16(float s) {
    if (s >= 1) {
        return 32767;
    }
    if (std::isnan(s)) {
        return 0;
    }
    // Symmetric scale: -1 and below give -32767, never -32768.
    const float v = std::max(s, -1.0f) * 32767.0f;
    return static_cast<int16_t>(v);
}

} // namespace

std::vector<float> samples(ArcadeCue cue) {
    return detail::render(detail::notes(cue));
}

std::vector<uint8_t> waveData(std::span<const float> samples) {
    constexpr uint64_t headerAfterRiffSize = 36;
    const uint64_t dataBytes = 2 * static_cast<uint64_t>(samples.size());
    if (dataBytes + headerAfterRiffSize > UINT32_MAX) {
        std::abort(); // the fixed sounds are far below 4 GiB
    }
    std::vector<uint8_t> out;
    out.reserve(44 + dataBytes);
    putTag(out, "RIFF");
    putU32(out, static_cast<uint32_t>(dataBytes + headerAfterRiffSize));
    putTag(out, "WAVE");
    putTag(out, "fmt ");
    putU32(out, 16);             // format chunk size
    putU16(out, 1);              // PCM
    putU16(out, 1);              // mono
    putU32(out, sampleRate);     // samples per second
    putU32(out, sampleRate * 2); // bytes per second
    putU16(out, 2);              // block align
    putU16(out, 16);             // bits per sample
    putTag(out, "data");
    putU32(out, static_cast<uint32_t>(dataBytes));
    for (float s : samples) {
        putU16(out, static_cast<uint16_t>(pcm16(s)));
    }
    return out;
}

std::vector<uint8_t> waveData(ArcadeCue cue) {
    const std::vector<float> rendered = samples(cue);
    return waveData(std::span<const float>(rendered));
}

} // namespace vantrel::Chiptune
