// With no sound server at all the game must stay silent and keep working.
#include "AudioTestSupport.h"

#include "Vantrel/audio/ArcadeAudio.h"

#include <QCoreApplication>
#include <QTimer>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

using namespace vantrel;
using namespace vantrel::testing;

TEST(ArcadeAudioWithoutServer, StaysSilentAndKeepsWorking) {
    ArcadeAudio audio;
    int ticks = 0;
    QTimer heartbeat;
    QObject::connect(&heartbeat, &QTimer::timeout, [&] { ++ticks; });
    heartbeat.start(5);

    for (int round = 0; round < 3; ++round) {
        for (ArcadeCue cue : allArcadeCues) {
            audio.play(cue);
        }
        audio.play(ArcadeCue::milestone);
        // Failed playback ends at once, so the reward queue drains instead of sticking.
        ASSERT_TRUE(pumpUntil([&] { return !audio.activeReward() && audio.pendingRewards().empty(); }, 5000))
            << "round " << round;
    }
    for (ArcadeCue cue : allArcadeCues) {
        WavPlayer* p = audio.cachedPlayer(cue);
        ASSERT_NE(p, nullptr) << toString(cue); // the players themselves are fine
        EXPECT_FALSE(p->isPlaying()) << toString(cue);
    }
    EXPECT_FALSE(audio.mixer().isSinkRunning());
    EXPECT_GT(audio.mixer().sinkFailures(), 0);
    audio.stopAll();
    pump(50);
    EXPECT_GT(ticks, 5); // the event loop kept running throughout
}

int main(int argc, char** argv) {
    // A server address that cannot exist, and no starting one on demand.
    char dir[] = "/tmp/vantrel-nopulse-XXXXXX";
    if (!mkdtemp(dir)) {
        return 1;
    }
    const std::string conf = std::string(dir) + "/client.conf";
    std::ofstream(conf) << "autospawn = no\n";
    setenv("PULSE_SERVER", (std::string("unix:") + dir + "/no-such-socket").c_str(), 1);
    setenv("PULSE_CLIENTCONFIG", conf.c_str(), 1);
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    const int status = RUN_ALL_TESTS();
    std::error_code ignored;
    std::filesystem::remove_all(dir, ignored);
    return status;
}
