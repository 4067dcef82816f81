#pragma once

#include "VantrelCore/ArcadeCue.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

// The game's sound effects, synthesised from short fixed note lists: no sound
// files, nothing random. Rendering is pure, so a cue always gives the same bits.
namespace vantrel::Chiptune {

inline constexpr int sampleRate = 44100; // samples per second, mono

// Renders a cue to mono 32-bit float samples at `sampleRate`. Not normalised:
// loud overlapping notes may leave [-1, 1]; the WAV writer clamps.
std::vector<float> samples(ArcadeCue cue);

// The cue as a complete 16-bit PCM mono WAV file image (44-byte header + data).
std::vector<uint8_t> waveData(ArcadeCue cue);

// Wraps float samples in a WAV image: values at or above 1 become 32767, the
// rest are clamped at -1, scaled by 32767 and truncated toward zero.
std::vector<uint8_t> waveData(std::span<const float> samples);

// The note lists and the renderer behind `samples`, open to tests and benchmarks.
namespace detail {

struct Note {
    double at;                     // start, seconds from the start of the sound
    double duration;               // seconds
    double midi;                   // pitch at the start (69 = A4 = 440 Hz)
    std::optional<double> endMIDI; // pitch at the end when it glides
    double gain;                   // peak amplitude, 1.0 = full scale
    bool triangle;                 // false: bright square-like, true: soft triangle-like
};

std::span<const Note> notes(ArcadeCue cue);

// Pitch of sample `i` of a note, in MIDI note numbers.
double pitchAt(const Note& note, int64_t i);

std::vector<float> render(std::span<const Note> notes);

} // namespace detail

} // namespace vantrel::Chiptune
