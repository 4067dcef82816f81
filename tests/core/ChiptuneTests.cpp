#include "VantrelCore/Chiptune.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

using namespace vantrel;
using Chiptune::detail::Note;

constexpr double rate = Chiptune::sampleRate; // samples per second, for the arithmetic in double

namespace {

uint32_t u32At(const std::vector<uint8_t>& b, std::size_t at) {
    return uint32_t(b[at]) | uint32_t(b[at + 1]) << 8 | uint32_t(b[at + 2]) << 16 | uint32_t(b[at + 3]) << 24;
}

uint16_t u16At(const std::vector<uint8_t>& b, std::size_t at) {
    return static_cast<uint16_t>(b[at] | b[at + 1] << 8);
}

std::string tagAt(const std::vector<uint8_t>& b, std::size_t at) {
    return std::string(reinterpret_cast<const char*>(b.data() + at), 4);
}

int16_t pcmAt(const std::vector<uint8_t>& b, std::size_t index) {
    return static_cast<int16_t>(u16At(b, 44 + 2 * index));
}

bool sameBits(float a, float b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// A second, deliberately plain transcription of the synthesis rules, one note at
// a time, so the library's version is checked sample by sample against it.
std::vector<float> referenceRender(std::span<const Note> notes) {
    double maxEnd = 0;
    for (std::size_t n = 0; n < notes.size(); ++n) {
        if (n == 0 || notes[n].at + notes[n].duration > maxEnd) {
            maxEnd = notes[n].at + notes[n].duration;
        }
    }
    std::vector<float> out(static_cast<std::size_t>(std::ceil(maxEnd * rate)) + 1, 0.0f);
    for (const Note& note : notes) {
        const long start = static_cast<long>(note.at * rate);
        const long count = static_cast<long>(note.duration * rate);
        const double target = note.endMIDI ? *note.endMIDI : note.midi;
        double phase = 0;
        for (long i = 0; i < count; ++i) {
            if (start + i >= static_cast<long>(out.size())) {
                continue;
            }
            double t = i / rate;
            double p = t / note.duration;
            double m = note.midi + (target - note.midi) * p;
            double f = 440 * exp2((m - 69) / 12);
            phase += f * 6.283185307179586 / rate;
            double s1 = sin(phase), s3 = sin(3 * phase), s5 = sin(5 * phase);
            double w = note.triangle ? (s1 - s3 / 9 + s5 / 25) / 1.15 : (s1 + s3 / 3 + s5 / 5) / 1.54;
            double a = t / 0.003 < 1 ? t / 0.003 : 1;
            double r = (note.duration - t) / 0.035;
            double e = a;
            if (r < 1) {
                e = r * a > 0 ? r * a : 0;
            }
            double d = 1 - 0.25 * p;
            out[start + i] += static_cast<float>(d * e * note.gain * w);
        }
    }
    return out;
}

struct Row {
    double at, duration, midi;
    std::optional<double> endMIDI;
    double gain;
    bool triangle;
};

void expectTable(ArcadeCue cue, const std::vector<Row>& rows) {
    const auto notes = Chiptune::detail::notes(cue);
    ASSERT_EQ(notes.size(), rows.size()) << toString(cue);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(std::string(toString(cue)) + " row " + std::to_string(i));
        EXPECT_EQ(notes[i].at, rows[i].at);
        EXPECT_EQ(notes[i].duration, rows[i].duration);
        EXPECT_EQ(notes[i].midi, rows[i].midi);
        EXPECT_EQ(notes[i].endMIDI, rows[i].endMIDI);
        EXPECT_EQ(notes[i].gain, rows[i].gain);
        EXPECT_EQ(notes[i].triangle, rows[i].triangle);
    }
}

constexpr auto none = std::nullopt;

} // namespace

TEST(Chiptune, SampleRateIs44100) {
    EXPECT_EQ(Chiptune::sampleRate, 44100);
}

TEST(Chiptune, NoteTablesHoldTheExactValues) {
    expectTable(ArcadeCue::jump, {{0.0, 0.095, 72, 84, 0.13, false}});
    expectTable(ArcadeCue::duck, {{0.0, 0.07, 67, 60, 0.10, true}});
    expectTable(ArcadeCue::milestone, {{0.0, 0.09, 84, none, 0.19, false},
                                       {0.075, 0.09, 88, none, 0.19, false},
                                       {0.15, 0.16, 91, none, 0.19, false},
                                       {0.0, 0.28, 60, none, 0.08, true}});
    expectTable(ArcadeCue::record, {{0.0, 0.11, 72, none, 0.19, false},
                                    {0.09, 0.11, 76, none, 0.19, false},
                                    {0.18, 0.11, 79, none, 0.19, false},
                                    {0.27, 0.13, 84, none, 0.19, false},
                                    {0.38, 0.13, 88, none, 0.19, false},
                                    {0.49, 0.25, 91, none, 0.19, false},
                                    {0.0, 0.30, 48, none, 0.09, true},
                                    {0.30, 0.44, 60, none, 0.09, true}});
    expectTable(ArcadeCue::crash, {{0.0, 0.10, 67, none, 0.15, false},
                                   {0.075, 0.10, 64, none, 0.14, false},
                                   {0.15, 0.18, 60, 48, 0.13, false}});
}

TEST(Chiptune, SampleCounts) {
    EXPECT_EQ(Chiptune::samples(ArcadeCue::jump).size(), 4191u);
    EXPECT_EQ(Chiptune::samples(ArcadeCue::duck).size(), 3089u);
    EXPECT_EQ(Chiptune::samples(ArcadeCue::milestone).size(), 13672u);
    EXPECT_EQ(Chiptune::samples(ArcadeCue::record).size(), 32635u);
    EXPECT_EQ(Chiptune::samples(ArcadeCue::crash).size(), 14554u);
}

TEST(Chiptune, LengthIsOneBeyondTheCeilingOfTheLatestEnd) {
    // duck: 0.07 s at 44.1 kHz lands just above 3087; crash: 0.15 + 0.18 just below 0.33.
    EXPECT_GT(0.07 * rate, 3087.0);
    EXPECT_LT(0.15 + 0.18, 0.33);
    for (ArcadeCue cue : allArcadeCues) {
        double maxEnd = 0;
        for (const Note& n : Chiptune::detail::notes(cue)) {
            maxEnd = std::max(maxEnd, n.at + n.duration);
        }
        EXPECT_EQ(Chiptune::samples(cue).size(), static_cast<std::size_t>(std::ceil(maxEnd * rate)) + 1)
            << toString(cue);
    }
}

TEST(Chiptune, LastSampleOfEveryCueIsZero) {
    for (ArcadeCue cue : allArcadeCues) {
        const auto s = Chiptune::samples(cue);
        EXPECT_TRUE(sameBits(s.back(), 0.0f)) << toString(cue) << " ends on " << s.back();
        EXPECT_NE(s[s.size() - 3], 0.0f) << toString(cue); // but the sound reaches close to the end
    }
}

TEST(Chiptune, FirstSampleOfEveryNoteIsExactlyZero) {
    for (ArcadeCue cue : allArcadeCues) {
        EXPECT_TRUE(sameBits(Chiptune::samples(cue)[0], 0.0f)) << toString(cue);
        for (const Note& note : Chiptune::detail::notes(cue)) {
            const Note alone[] = {note};
            const auto s = Chiptune::detail::render(alone);
            const auto start = static_cast<std::size_t>(note.at * rate);
            EXPECT_TRUE(sameBits(s[start], 0.0f)) << toString(cue) << " note at " << note.at;
            // The phase is advanced before the first sample, so the next one already sounds.
            EXPECT_NE(s[start + 1], 0.0f);
            for (std::size_t k = 0; k < start; ++k) {
                ASSERT_EQ(s[k], 0.0f);
            }
        }
    }
}

TEST(Chiptune, MatchesAPlainTranscriptionBitForBit) {
    for (ArcadeCue cue : allArcadeCues) {
        const auto got = Chiptune::samples(cue);
        const auto want = referenceRender(Chiptune::detail::notes(cue));
        ASSERT_EQ(got.size(), want.size());
        std::size_t differing = 0;
        for (std::size_t k = 0; k < got.size(); ++k) {
            differing += sameBits(got[k], want[k]) ? 0 : 1;
        }
        EXPECT_EQ(differing, 0u) << toString(cue);
    }
}

TEST(Chiptune, SecondSampleOfTheJumpWorkedByHand) {
    // i = 1: the phase holds the increments of samples 0 and 1; attack 1/132.3,
    // no release yet, decay 1 - 0.25 * (1/rate)/0.095.
    const double f0 = 440 * std::exp2((72.0 - 69) / 12);
    const double m1 = 72 + 12 * ((1 / rate) / 0.095);
    const double f1 = 440 * std::exp2((m1 - 69) / 12);
    const double phase = f0 * 6.283185307179586 / rate + f1 * 6.283185307179586 / rate;
    const double w = (std::sin(phase) + std::sin(3 * phase) / 3 + std::sin(5 * phase) / 5) / 1.54;
    const double a = (1 / rate) / 0.003;
    const double d = 1 - 0.25 * ((1 / rate) / 0.095);
    EXPECT_EQ(Chiptune::samples(ArcadeCue::jump)[1], static_cast<float>(d * a * 0.13 * w));
}

TEST(Chiptune, EnvelopeRisesIn3msAndFallsIn35ms) {
    // A lone constant note: away from the attack and release the level follows the decay only.
    const Note note[] = {{0.0, 0.2, 69, std::nullopt, 0.5, false}};
    const auto s = Chiptune::detail::render(note);
    auto peakIn = [&](std::size_t from, std::size_t to) {
        float peak = 0;
        for (std::size_t k = from; k < to; ++k) {
            peak = std::max(peak, std::fabs(s[k]));
        }
        return peak;
    };
    // 3 ms = 132.3 samples; the first cycle of 440 Hz (~100 samples) is still quiet.
    EXPECT_LT(peakIn(0, 60), 0.5 * 0.5);
    // Middle: gain x decay x the waveform's own peak (the three-term square tops out near 0.6).
    double wavePeak = 0;
    for (double x = 0; x < 6.283185307179586; x += 1e-4) {
        wavePeak = std::max(wavePeak, (std::sin(x) + std::sin(3 * x) / 3 + std::sin(5 * x) / 5) / 1.54);
    }
    EXPECT_NEAR(wavePeak, 0.61, 0.01);
    const float middle = peakIn(4000, 4500);
    EXPECT_NEAR(middle, 0.5 * (1 - 0.25 * 4250 / 8820.0) * wavePeak, 0.005);
    EXPECT_LE(peakIn(0, s.size()), 0.5f);
    // The last ~5 ms lie deep in the 35 ms release.
    EXPECT_LT(peakIn(8820 - 220, 8820), 0.1);
    EXPECT_EQ(peakIn(8820, s.size()), 0.0f);
}

TEST(Chiptune, JumpGlidesToJustBelowItsEndPitch) {
    const Note& jump = Chiptune::detail::notes(ArcadeCue::jump)[0];
    const auto count = static_cast<int64_t>(jump.duration * rate);
    EXPECT_EQ(Chiptune::detail::pitchAt(jump, 0), 72.0);
    const double last = Chiptune::detail::pitchAt(jump, count - 1);
    EXPECT_LT(last, 84.0);
    EXPECT_GT(last, 83.99);
    EXPECT_NEAR(Chiptune::detail::pitchAt(jump, count / 2), 78.0, 0.01);
    const Note& drone = Chiptune::detail::notes(ArcadeCue::milestone)[3];
    EXPECT_EQ(Chiptune::detail::pitchAt(drone, 10000), 60.0);
}

TEST(Chiptune, JumpChirpRisesAnOctave) {
    // Count rising zero crossings in the first and the last 20 ms: the octave doubles them.
    const auto s = Chiptune::samples(ArcadeCue::jump);
    auto crossings = [&](std::size_t from, std::size_t to) {
        int n = 0;
        for (std::size_t k = from + 1; k < to; ++k) {
            n += (s[k - 1] < 0 && s[k] >= 0) ? 1 : 0;
        }
        return n;
    };
    // Expected: the frequency at each window's middle times 20 ms.
    auto expected = [](double middleSample) {
        const double m = 72 + 12 * (middleSample / rate / 0.095);
        return 440 * std::exp2((m - 69) / 12) * 0.02;
    };
    const int early = crossings(200, 200 + 882);
    const int late = crossings(3107, 3107 + 882);
    EXPECT_NEAR(early, expected(641), 1.5);
    EXPECT_NEAR(late, expected(3548), 1.5);
    EXPECT_GT(late, early * 1.5);
}

TEST(Chiptune, EmptyNoteListGivesOneZeroSample) {
    const auto s = Chiptune::detail::render({});
    ASSERT_EQ(s.size(), 1u);
    EXPECT_TRUE(sameBits(s[0], 0.0f));
    EXPECT_EQ(Chiptune::waveData(std::span<const float>(s)).size(), 46u);
}

TEST(Chiptune, NoteTooShortForOneSampleContributesNothing) {
    const Note tiny[] = {{0.0, 0.00002, 69, std::nullopt, 1.0, false}}; // 0.88 of a sample
    const auto s = Chiptune::detail::render(tiny);
    ASSERT_EQ(s.size(), 2u);
    EXPECT_EQ(s[0], 0.0f);
    EXPECT_EQ(s[1], 0.0f);
}

TEST(Chiptune, OverlappingNotesSumWithoutNormalising) {
    const Note loud[] = {{0.0, 0.05, 69, std::nullopt, 0.9, false},
                         {0.0, 0.05, 69, std::nullopt, 0.9, false}};
    const Note one[] = {loud[0]};
    const auto both = Chiptune::detail::render(loud);
    const auto single = Chiptune::detail::render(one);
    float peak = 0;
    for (std::size_t k = 0; k < both.size(); ++k) {
        ASSERT_EQ(both[k], single[k] + single[k]);
        peak = std::max(peak, std::fabs(both[k]));
    }
    EXPECT_GT(peak, 1.0f);
    // The WAV writer clips rather than wraps.
    const auto wav = Chiptune::waveData(std::span<const float>(both));
    for (std::size_t k = 0; k < both.size(); ++k) {
        if (both[k] >= 1) {
            ASSERT_EQ(pcmAt(wav, k), 32767);
        } else if (both[k] <= -1) {
            ASSERT_EQ(pcmAt(wav, k), -32767);
        } else {
            ASSERT_EQ(pcmAt(wav, k), static_cast<int16_t>(both[k] * 32767.0f));
        }
    }
}

TEST(Chiptune, SampleConversionClampsScalesAndTruncates) {
    const float in[] = {1.0f,  2.5f,      -1.0f, -3.0f,    0.5f,     -0.5f,
                        1e-5f, -0.99999f, 0.0f,  0.99999f, INFINITY, -INFINITY};
    const int16_t want[] = {32767, 32767, -32767, -32767, 16383, -16383, 0, -32766, 0, 32766, 32767, -32767};
    const auto wav = Chiptune::waveData(std::span<const float>(in));
    ASSERT_EQ(wav.size(), 44u + 2 * std::size(in));
    for (std::size_t k = 0; k < std::size(in); ++k) {
        EXPECT_EQ(pcmAt(wav, k), want[k]) << "sample " << in[k];
    }
}

TEST(Chiptune, HeaderFields) {
    for (ArcadeCue cue : allArcadeCues) {
        SCOPED_TRACE(std::string(toString(cue)));
        const auto wav = Chiptune::waveData(cue);
        const auto n = static_cast<uint32_t>(Chiptune::samples(cue).size());
        ASSERT_EQ(wav.size(), 44u + 2 * n);
        EXPECT_EQ(tagAt(wav, 0), "RIFF");
        EXPECT_EQ(u32At(wav, 4), 2 * n + 36);
        EXPECT_EQ(tagAt(wav, 8), "WAVE");
        EXPECT_EQ(tagAt(wav, 12), "fmt ");
        EXPECT_EQ(u32At(wav, 16), 16u);
        EXPECT_EQ(u16At(wav, 20), 1u);
        EXPECT_EQ(u16At(wav, 22), 1u);
        EXPECT_EQ(u32At(wav, 24), static_cast<uint32_t>(Chiptune::sampleRate));
        EXPECT_EQ(u32At(wav, 28), 88200u);
        EXPECT_EQ(u16At(wav, 32), 2u);
        EXPECT_EQ(u16At(wav, 34), 16u);
        EXPECT_EQ(tagAt(wav, 36), "data");
        EXPECT_EQ(u32At(wav, 40), 2 * n);
    }
    // The jump header byte for byte: 4191 samples, 8382 data bytes.
    const auto jump = Chiptune::waveData(ArcadeCue::jump);
    const uint8_t header[44] = {'R', 'I', 'F',  'F',  0xe2, 0x20, 0,    0,    'W',  'A', 'V',
                                'E', 'f', 'm',  't',  ' ',  16,   0,    0,    0,    1,   0,
                                1,   0,   0x44, 0xac, 0,    0,    0x88, 0x58, 1,    0,   2,
                                0,   16,  0,    'd',  'a',  't',  'a',  0xbe, 0x20, 0,   0};
    EXPECT_EQ(std::memcmp(jump.data(), header, 44), 0);
}

TEST(Chiptune, WaveDataCarriesTheRenderedSamples) {
    for (ArcadeCue cue : allArcadeCues) {
        const auto s = Chiptune::samples(cue);
        const auto wav = Chiptune::waveData(cue);
        int16_t peak = 0;
        for (std::size_t k = 0; k < s.size(); ++k) {
            const auto want = static_cast<int16_t>(std::max(s[k], -1.0f) * 32767.0f);
            ASSERT_EQ(pcmAt(wav, k), want) << toString(cue) << " sample " << k;
            peak = std::max<int16_t>(peak, static_cast<int16_t>(std::abs(want)));
        }
        EXPECT_GT(peak, 2000) << toString(cue);  // audible, not silence
        EXPECT_LT(peak, 32767) << toString(cue); // the fixed tables never clip
    }
}

TEST(Chiptune, RepeatedRendersAreByteIdentical) {
    for (ArcadeCue cue : allArcadeCues) {
        const auto a = Chiptune::waveData(cue);
        const auto b = Chiptune::waveData(cue);
        EXPECT_EQ(a, b) << toString(cue);
        const auto sa = Chiptune::samples(cue);
        const auto sb = Chiptune::samples(cue);
        EXPECT_EQ(std::memcmp(sa.data(), sb.data(), sa.size() * sizeof(float)), 0);
    }
    EXPECT_NE(Chiptune::waveData(ArcadeCue::milestone), Chiptune::waveData(ArcadeCue::record));
}

TEST(Chiptune, CrashDecrescendo) {
    const auto notes = Chiptune::detail::notes(ArcadeCue::crash);
    EXPECT_GT(notes[0].gain, notes[1].gain);
    EXPECT_GT(notes[1].gain, notes[2].gain);
}
