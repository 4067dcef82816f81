#pragma once

#include "VantrelCore/ArcadeCue.h"
#include "VantrelCore/Chiptune.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <cmath>
#include <functional>
#include <vector>

namespace vantrel::testing {

// Runs the event loop for `ms` milliseconds.
inline void pump(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

// Runs the event loop until `done` holds or `timeoutMs` passes; returns `done()`.
inline bool pumpUntil(const std::function<bool()>& done, int timeoutMs = 5000) {
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < timeoutMs) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QEventLoop loop;
        QTimer::singleShot(1, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return done();
}

// What the sound server should receive for a cue: the WAV's 16-bit samples,
// scaled back to +-1, at the player's volume.
inline std::vector<float> expectedSound(ArcadeCue cue, float volume) {
    const std::vector<uint8_t> wav = Chiptune::waveData(cue);
    std::vector<float> out((wav.size() - 44) / 2);
    for (std::size_t i = 0; i < out.size(); ++i) {
        const auto v = static_cast<int16_t>(wav[44 + 2 * i] | wav[45 + 2 * i] << 8);
        out[i] = v / 32767.0f * volume;
    }
    return out;
}

inline constexpr float silenceLevel = 1e-5f; // well below one 16-bit step (3e-5) at volume 0.65

inline std::ptrdiff_t firstSound(const std::vector<float>& s, std::size_t from = 0) {
    for (std::size_t i = from; i < s.size(); ++i) {
        if (std::fabs(s[i]) > silenceLevel) {
            return static_cast<std::ptrdiff_t>(i);
        }
    }
    return -1;
}

inline std::ptrdiff_t lastSound(const std::vector<float>& s, std::size_t from, std::size_t to) {
    std::ptrdiff_t last = -1;
    for (std::size_t i = from; i < std::min(to, s.size()); ++i) {
        if (std::fabs(s[i]) > silenceLevel) {
            last = static_cast<std::ptrdiff_t>(i);
        }
    }
    return last;
}

// Largest difference between the recording from `at` and `expected`.
inline float mismatch(const std::vector<float>& rec, std::size_t at, const std::vector<float>& expected,
                      std::size_t length) {
    float worst = 0;
    for (std::size_t i = 0; i < length && i < expected.size(); ++i) {
        const float got = at + i < rec.size() ? rec[at + i] : 0.0f;
        worst = std::max(worst, std::fabs(got - expected[i]));
    }
    return worst;
}

} // namespace vantrel::testing
