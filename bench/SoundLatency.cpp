// Measures the delay from ArcadeAudio::play(jump) to the first sound at the sound
// server: a private PulseAudio server's null sink is recorded through a pipe whose
// chunks are timestamped on arrival, and each jump's onset in the recording is
// mapped back to wall time. parec's own capture delay (--latency-msec=2) makes the
// figures slight overestimates. The tests check what is heard; this is where how
// soon is measured, against the target below (exit status 2 when missed).
//   [VANTREL_AUDIO_BUFFER_BYTES=n] bench_sound_latency [plays]
#include "AudioTestSupport.h"
#include "PulseServer.h"

#include "Vantrel/audio/ArcadeAudio.h"
#include "VantrelCore/Chiptune.h"

#include <QCoreApplication>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <thread>

using namespace vantrel;
using namespace vantrel::testing;
using Steady = std::chrono::steady_clock;

namespace {

struct Chunk {
    Steady::time_point arrived;
    std::size_t endSample; // samples received so far, this chunk included
};

double ms(Steady::duration d) {
    return std::chrono::duration<double, std::milli>(d).count();
}

// The most the median delay from play(jump) to its first sound may be, in either state of the sink (ms).
constexpr double targetMs = 30;

// Prints the figures and returns the median (NaN without samples; a median may be
// slightly negative, as the capture delay is estimated).
double summary(const char* name, std::vector<double> values) {
    if (values.empty()) {
        std::printf("%-34s no samples\n", name);
        return std::nan("");
    }
    std::sort(values.begin(), values.end());
    const std::size_t p95 = std::min(values.size() - 1, (values.size() * 95 + 99) / 100 - 1);
    std::printf("%-34s n=%2zu  min %5.1f  median %5.1f  p95 %5.1f  max %5.1f ms\n", name, values.size(),
                values.front(), values[values.size() / 2], values[p95], values.back());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const int plays = argc > 1 ? std::max(1, std::atoi(argv[1])) : 20;
    PulseServer server;
    if (const std::string why = server.start(); !why.empty()) {
        std::fprintf(stderr, "cannot measure: %s\n", why.c_str());
        return 1;
    }
    server.useInThisProcess();

    int fds[2];
    if (pipe(fds) != 0) {
        return 1;
    }
    std::string device = std::string(PulseServer::sinkName) + ".monitor";
    const pid_t parec = spawnProcess({"parec", "-d", device, "--format=float32le",
                                      "--rate=" + std::to_string(Chiptune::sampleRate), "--channels=1",
                                      "--raw", "--latency-msec=2"},
                                     server.clientEnv(), "/dev/null", server.dir() + "/parec.log", fds[1]);
    if (parec < 0) {
        return 1;
    }
    close(fds[1]);

    std::mutex lock;
    std::vector<float> samples;
    std::vector<Chunk> chunks;
    std::thread reader([&] {
        std::vector<char> buffer(65536);
        std::size_t carry = 0;
        for (;;) {
            const ssize_t n = read(fds[0], buffer.data() + carry, buffer.size() - carry);
            const auto now = Steady::now();
            if (n <= 0) {
                return;
            }
            const std::size_t have = carry + static_cast<std::size_t>(n);
            const std::size_t whole = have / 4;
            std::lock_guard guard(lock);
            const std::size_t before = samples.size();
            samples.resize(before + whole);
            std::memcpy(samples.data() + before, buffer.data(), whole * 4);
            chunks.push_back({now, samples.size()});
            carry = have - whole * 4;
            std::memmove(buffer.data(), buffer.data() + whole * 4, carry);
        }
    });

    ArcadeAudio audio;
    // As in the program: a buffer asked for by the environment (bytes), to measure another size.
    bool ok = false;
    const int asked = qEnvironmentVariableIntValue("VANTREL_AUDIO_BUFFER_BYTES", &ok);
    if (ok && AudioMixer::isSettableBufferBytes(asked)) {
        audio.mixer().setBufferBytes(asked);
    }
    const int firstBuffer = audio.mixer().bufferBytes();
    pump(500); // the recording is running
    std::vector<Steady::time_point> warmPlays, coldPlays;
    // Cold: the sink has been stopped after silence (hold 1.5 s) and is started by the play.
    for (int i = 0; i < std::max(3, plays / 4); ++i) {
        pump(AudioMixer::holdMilliseconds + 400);
        coldPlays.push_back(Steady::now());
        audio.play(ArcadeCue::jump);
    }
    pump(300);
    // Warm: jumps 250 ms apart, as in a run, with the sink already running.
    for (int i = 0; i < plays; ++i) {
        warmPlays.push_back(Steady::now());
        audio.play(ArcadeCue::jump);
        pump(250);
    }
    pump(300);
    endProcess(parec, SIGINT);
    reader.join();
    close(fds[0]);

    std::lock_guard guard(lock);
    auto latencies = [&](const std::vector<Steady::time_point>& times) {
        std::vector<double> out;
        for (const auto played : times) {
            // The first chunk that arrived after the play call holds samples from about then on.
            auto first = std::find_if(chunks.begin(), chunks.end(),
                                      [&](const Chunk& c) { return c.arrived > played; });
            if (first == chunks.end() || first == chunks.begin()) {
                continue;
            }
            const std::size_t from = std::prev(first)->endSample;
            const std::ptrdiff_t onset = firstSound(samples, from);
            if (onset < 0) {
                continue;
            }
            const auto holding = std::find_if(chunks.begin(), chunks.end(), [&](const Chunk& c) {
                return c.endSample > static_cast<std::size_t>(onset);
            });
            const double behind =
                static_cast<double>(holding->endSample - 1 - static_cast<std::size_t>(onset)) /
                (Chiptune::sampleRate / 1000.0);
            out.push_back(ms(holding->arrived - played) - behind);
        }
        return out;
    };
    std::printf("play(jump) -> first sound at the server (PulseAudio null sink, buffer %d bytes requested, "
                "%d at the end)\n",
                firstBuffer, audio.mixer().bufferBytes());
    const double warm = summary("sink running (during a run)", latencies(warmPlays));
    const double cold = summary("sink stopped (first after silence)", latencies(coldPlays));
    const bool met = warm < targetMs && cold < targetMs; // false for NaN
    std::printf("target: median under %.0f ms in both states: %s\n", targetMs, met ? "met" : "missed");
    std::printf("underruns (gaps) while the sink ran: %d\n", audio.mixer().underruns());
    return met ? 0 : 2;
}
