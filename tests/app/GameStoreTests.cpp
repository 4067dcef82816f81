#include "Vantrel/Clock.h"
#include "Vantrel/GameStore.h"
#include "Vantrel/audio/ArcadeAudio.h"

#include "GameStoreTestAccess.h"
#include "RunnerTestAccess.h"

#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using namespace vantrel;

namespace {

class GameStoreTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_dir.isValid()); }

    QString path() const { return m_dir.filePath(QStringLiteral("Vantrel-%1.conf").arg(m_fileIndex)); }

    // Each written file gets a new name: QSettings caches parsed files by
    // name, size and time, and two same-sized files written in the same second
    // would look unchanged to it.
    void writeFile(const QByteArray& content) {
        ++m_fileIndex;
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    QByteArray readFile() const {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    std::unique_ptr<QSettings> settings() const {
        return std::make_unique<QSettings>(path(), QSettings::IniFormat);
    }

    std::unique_ptr<GameStore> makeStore(uint64_t seed = 11) {
        auto store = std::make_unique<GameStore>(settings(), m_clock, seed);
        QObject::connect(store.get(), &GameStore::cuePlayed,
                         [this](ArcadeCue cue) { m_cues.push_back(cue); });
        return store;
    }

    std::unique_ptr<GameStore> crashedUnderAutopilot();

    // One frame of the clock, as the timer would deliver it.
    void frame(GameStore& store, double seconds = 1.0 / 60) {
        m_clock.advance(seconds);
        store.runFrame();
    }

    QTemporaryDir m_dir;
    int m_fileIndex = 0;
    ManualClock m_clock;
    std::vector<ArcadeCue> m_cues;
};

} // namespace

TEST_F(GameStoreTest, EmptyDefaults) {
    auto store = makeStore();
    EXPECT_EQ(store->best(), 0);
    EXPECT_FALSE(store->soundEnabled());
    EXPECT_FALSE(store->roomy());
    EXPECT_TRUE(store->hoverToPeek());
    EXPECT_EQ(store->notchWidth(), 180);
    EXPECT_EQ(store->notchHeight(), 32);
    EXPECT_TRUE(store->shortcutAvailable());
    EXPECT_FALSE(store->expanded());
    EXPECT_FALSE(store->peeking());
    EXPECT_FALSE(store->award().has_value());
    EXPECT_EQ(store->runner().phase(), RunPhase::ready);
    EXPECT_FALSE(store->clockRunning());
}

TEST_F(GameStoreTest, StoredPreferencesAreRead) {
    writeFile("[General]\nbestScore=321\nsoundEnabled=true\nroomy=true\nhoverToPeek=false\n");
    auto store = makeStore();
    EXPECT_EQ(store->best(), 321);
    EXPECT_TRUE(store->soundEnabled());
    EXPECT_TRUE(store->roomy());
    EXPECT_FALSE(store->hoverToPeek());
}

TEST_F(GameStoreTest, ShowTabIsTheFallbackForHoverToPeek) {
    writeFile("[General]\nshowTab=false\n");
    EXPECT_FALSE(makeStore()->hoverToPeek());
    writeFile("[General]\nhoverToPeek=true\nshowTab=false\n");
    EXPECT_TRUE(makeStore()->hoverToPeek());
    writeFile("[General]\nhoverToPeek=false\nshowTab=true\n");
    EXPECT_FALSE(makeStore()->hoverToPeek());
    writeFile("[General]\nhoverToPeek=maybe\nshowTab=false\n");
    EXPECT_FALSE(makeStore()->hoverToPeek());
    writeFile("[General]\nshowTab=7\n");
    EXPECT_TRUE(makeStore()->hoverToPeek());
}

TEST_F(GameStoreTest, GarbageValuesCountAsAbsentAndOtherKeysSurvive) {
    writeFile(
        "[General]\nbestScore=lots\nsoundEnabled=3\nroomy=@Variant(garbage\nhoverToPeek=\nunrelated=keep me\n"
        "[Other]\nvalue=42\n");
    auto store = makeStore();
    EXPECT_EQ(store->best(), 0);
    EXPECT_FALSE(store->soundEnabled());
    EXPECT_FALSE(store->roomy());
    EXPECT_TRUE(store->hoverToPeek());

    store->setRoomy(true);
    QSettings reread(path(), QSettings::IniFormat);
    EXPECT_EQ(reread.value("roomy").toString(), "true");
    EXPECT_EQ(reread.value("unrelated").toString(), "keep me");
    EXPECT_EQ(reread.value("Other/value").toInt(), 42);
    EXPECT_EQ(reread.value("bestScore").toString(), "lots"); // not ours to rewrite until a run ends
}

TEST_F(GameStoreTest, BinaryGarbageFileDoesNotCrash) {
    QByteArray junk;
    for (int i = 0; i < 4096; ++i) {
        junk.append(static_cast<char>((i * 167 + 13) % 256));
    }
    writeFile(junk);
    auto store = makeStore();
    EXPECT_EQ(store->best(), 0);
    store->act();
    EXPECT_EQ(store->runner().phase(), RunPhase::running);
    EXPECT_EQ(readFile(), junk); // nothing written yet

    // The first write replaces the unreadable file, but a copy keeps what was there.
    store->setRoomy(true);
    QFile copy(path() + ".unreadable");
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.readAll(), junk);
    EXPECT_EQ(QSettings(path(), QSettings::IniFormat).value("roomy").toString(), "true");

    // A second unreadable file does not overwrite the first copy.
    {
        QFile same(path());
        ASSERT_TRUE(same.open(QIODevice::WriteOnly | QIODevice::Truncate));
        same.write(junk + "more");
    }
    auto again = makeStore();
    QFile second(path() + ".unreadable-2");
    ASSERT_TRUE(second.open(QIODevice::ReadOnly));
    EXPECT_EQ(second.readAll(), junk + "more");
}

TEST_F(GameStoreTest, OutOfRangeBestIsAbsent) {
    writeFile("[General]\nbestScore=99999999999999999999999\n");
    EXPECT_EQ(makeStore()->best(), 0);
    writeFile("[General]\nbestScore=12.5\n");
    EXPECT_EQ(makeStore()->best(), 0);
    writeFile("[General]\nbestScore=-4\n");
    EXPECT_EQ(makeStore()->best(), -4);
}

TEST_F(GameStoreTest, PanelSizes) {
    auto store = makeStore();
    EXPECT_EQ(store->panelWidth(), 194);
    EXPECT_EQ(store->panelHeight(), 32);
    store->setPeeking(true);
    EXPECT_EQ(store->panelHeight(), 48);
    store->setExpanded(true);
    EXPECT_EQ(store->panelWidth(), 480);
    EXPECT_EQ(store->panelHeight(), 196);
    store->setRoomy(true);
    EXPECT_EQ(store->panelWidth(), 600);
    EXPECT_EQ(store->panelHeight(), 226);
    store->setRoomy(false);
    store->setNotchHeight(0);
    EXPECT_EQ(store->panelHeight(), 28 + 164);
}

TEST_F(GameStoreTest, PropertiesNotifyOnlyOnRealChanges) {
    auto store = makeStore();
    QSignalSpy roomy(store.get(), &GameStore::roomyChanged);
    QSignalSpy size(store.get(), &GameStore::panelSizeChanged);
    QSignalSpy peeking(store.get(), &GameStore::peekingChanged);
    store->setRoomy(false);
    store->setPeeking(false);
    store->setNotchWidth(180);
    EXPECT_EQ(roomy.count(), 0);
    EXPECT_EQ(size.count(), 0);
    EXPECT_EQ(peeking.count(), 0);
    // The unchanged value is still written through.
    EXPECT_EQ(QSettings(path(), QSettings::IniFormat).value("roomy").toString(), "false");
    store->setRoomy(true);
    store->setRoomy(true);
    EXPECT_EQ(roomy.count(), 1);
    EXPECT_EQ(size.count(), 1);
}

TEST_F(GameStoreTest, FirstRunCelebratesAtHundred) {
    auto store = makeStore();
    store->setSoundEnabled(true);
    store->act();
    ASSERT_EQ(m_cues, std::vector<ArcadeCue>{ArcadeCue::jump});
    Runner near = GameStoreTestAccess::runnerNear(100, 0.5);
    GameStoreTestAccess::setRunner(*store, near);
    m_cues.clear();
    frame(*store);
    ASSERT_EQ(store->runner().score(), 100);
    ASSERT_TRUE(store->award().has_value());
    EXPECT_EQ(*store->award(), ScoreAward::newBest());
    EXPECT_EQ(store->awardRemaining(), 1.7);
    EXPECT_TRUE(store->isNewBest());
    EXPECT_EQ(store->best(), 100);
    EXPECT_EQ(m_cues, (std::vector<ArcadeCue>{ArcadeCue::milestone, ArcadeCue::record}));
}

TEST_F(GameStoreTest, BannerCountsDownAndClearsOnlyOnNewRun) {
    writeFile("[General]\nbestScore=5000\n");
    auto store = makeStore();
    store->act();
    GameStoreTestAccess::setRunner(*store, GameStoreTestAccess::runnerNear(200, 0.5));
    frame(*store);
    ASSERT_EQ(store->award(), ScoreAward::milestone(200));
    EXPECT_EQ(store->awardRemaining(), 1.1);
    EXPECT_FALSE(store->isNewBest());
    frame(*store, 0.1);
    EXPECT_NEAR(store->awardRemaining(), 1.0, 1e-9);
    for (int i = 0; i < 100; ++i) {
        frame(*store, 0.02);
    }
    EXPECT_EQ(store->awardRemaining(), 0);
    EXPECT_EQ(store->award(), ScoreAward::milestone(200)); // stays until a new run
}

TEST_F(GameStoreTest, CrashWithScoreZeroIsNoRecord) {
    writeFile("[General]\nbestScore=-3\n");
    auto store = makeStore();
    store->setSoundEnabled(true);
    store->act();
    Runner runner(3);
    runner.start();
    RunnerTestAccess::clearObstacles(runner);
    RunnerTestAccess::addObstacle(runner, {0, Runner::dinoX, 16, 26, false, ObstacleKind::cactus, 0});
    GameStoreTestAccess::setRunner(*store, runner);
    m_cues.clear();
    frame(*store);
    ASSERT_EQ(store->runner().phase(), RunPhase::over);
    EXPECT_EQ(store->runner().score(), 0);
    EXPECT_FALSE(store->isNewBest());
    EXPECT_FALSE(store->clockRunning());
    EXPECT_EQ(m_cues, std::vector<ArcadeCue>{ArcadeCue::crash});
    EXPECT_EQ(QSettings(path(), QSettings::IniFormat).value("bestScore").toLongLong(), 0);
}

TEST_F(GameStoreTest, CrashAfterBeatingTheBestKeepsTheRecordOnDisk) {
    writeFile("[General]\nbestScore=40\n");
    auto store = makeStore();
    store->act();
    Runner runner = GameStoreTestAccess::runnerNear(45, 0);
    RunnerTestAccess::clearObstacles(runner);
    RunnerTestAccess::addObstacle(runner, {0, Runner::dinoX, 16, 26, false, ObstacleKind::cactus, 0});
    RunnerTestAccess::setHeight(runner, 0);
    RunnerTestAccess::setVelocity(runner, 0);
    GameStoreTestAccess::setRunner(*store, runner);
    frame(*store);
    ASSERT_EQ(store->runner().phase(), RunPhase::over);
    EXPECT_TRUE(store->isNewBest());
    EXPECT_EQ(store->best(), 45);
    // An independent reader sees the new best the moment the run has ended.
    QSettings independent(path(), QSettings::IniFormat);
    EXPECT_EQ(independent.value("bestScore").toLongLong(), 45);
}

TEST_F(GameStoreTest, LongTickPausesWithoutCrashSound) {
    auto store = makeStore();
    store->setSoundEnabled(true);
    store->act();
    GameStoreTestAccess::setRunner(*store, GameStoreTestAccess::runnerNear(30, 0));
    m_cues.clear();
    frame(*store, 0.3);
    EXPECT_EQ(store->runner().phase(), RunPhase::paused);
    EXPECT_FALSE(store->clockRunning());
    EXPECT_TRUE(m_cues.empty());
    EXPECT_EQ(store->best(), 30);
    EXPECT_EQ(QSettings(path(), QSettings::IniFormat).value("bestScore").toLongLong(), 30);
}

TEST_F(GameStoreTest, ResumeRestartsTheClockWithoutSimulatingPausedTime) {
    auto store = makeStore();
    store->act();
    frame(*store);
    store->togglePause();
    ASSERT_EQ(store->runner().phase(), RunPhase::paused);
    EXPECT_FALSE(store->clockRunning());
    const double elapsed = store->runner().elapsed();
    m_clock.advance(100); // a long pause
    store->togglePause();
    EXPECT_EQ(store->runner().phase(), RunPhase::running);
    EXPECT_TRUE(store->clockRunning());
    EXPECT_EQ(store->runner().resumeGrace(), 0.65);
    frame(*store);
    EXPECT_EQ(store->runner().elapsed(), elapsed); // still in the grace
    EXPECT_LT(store->runner().resumeGrace(), 0.65);
}

TEST_F(GameStoreTest, TogglePauseInOverDoesNothingAndActStartsFresh) {
    auto store = makeStore();
    store->act();
    Runner runner = GameStoreTestAccess::runnerNear(200, 0.5);
    GameStoreTestAccess::setRunner(*store, runner);
    frame(*store);
    ASSERT_TRUE(store->award().has_value());
    // Put a pterodactyl in front so the duck hint shows, then crash into it.
    Runner crash = store->runner();
    RunnerTestAccess::addObstacle(crash, {99, Runner::dinoX, 36, 22, false, ObstacleKind::pterodactyl, 6});
    GameStoreTestAccess::setRunner(*store, crash);
    frame(*store);
    ASSERT_EQ(store->runner().phase(), RunPhase::over);

    const Runner atCrash = store->runner();
    store->togglePause();
    EXPECT_EQ(store->runner(), atCrash);
    EXPECT_FALSE(store->clockRunning());

    store->act();
    EXPECT_EQ(store->runner().phase(), RunPhase::running);
    EXPECT_FALSE(store->award().has_value());
    EXPECT_EQ(store->awardRemaining(), 0);
    EXPECT_EQ(store->duckHintRemaining(), 0);
    EXPECT_FALSE(store->isNewBest());
    EXPECT_TRUE(store->clockRunning());
}

TEST_F(GameStoreTest, FirstFlyerShowsTheDuckHint) {
    auto store = makeStore();
    store->act();
    Runner runner = GameStoreTestAccess::runnerNear(260, 0);
    RunnerTestAccess::clearObstacles(runner); // an empty runway spawns at once: the certain first flyer
    GameStoreTestAccess::setRunner(*store, runner);
    frame(*store);
    ASSERT_EQ(store->runner().flyersSpawned(), 1);
    EXPECT_NEAR(store->duckHintRemaining(), 2.3 - 1.0 / 60, 1e-9);
    frame(*store);
    EXPECT_NEAR(store->duckHintRemaining(), 2.3 - 2.0 / 60, 1e-9);
}

TEST_F(GameStoreTest, DuckCueOnlyWhenDownTakesEffect) {
    auto store = makeStore();
    store->setSoundEnabled(true);
    store->setDucking(true); // ready: no effect
    EXPECT_TRUE(m_cues.empty());
    store->act();
    GameStoreTestAccess::setRunner(*store, GameStoreTestAccess::runnerNear(10, 0));
    m_cues.clear();
    store->setDucking(true);
    store->setDucking(true);
    store->setDucking(false);
    EXPECT_EQ(m_cues, std::vector<ArcadeCue>{ArcadeCue::duck});
}

TEST_F(GameStoreTest, BufferedJumpOnLandingPlaysJump) {
    auto store = makeStore();
    store->setSoundEnabled(true);
    store->act();
    GameStoreTestAccess::setRunner(*store, GameStoreTestAccess::runnerNear(10, 0));
    store->act(); // take off
    while (!(store->runner().velocity() < 0 && store->runner().height() < 8)) {
        frame(*store, 1.0 / 120);
    }
    store->act(); // buffered
    m_cues.clear();
    for (int i = 0; i < 10 && m_cues.empty(); ++i) {
        frame(*store, 1.0 / 120);
    }
    EXPECT_EQ(m_cues, std::vector<ArcadeCue>{ArcadeCue::jump});
    EXPECT_EQ(store->runner().jumps(), 2); // the take-off and the buffered one
}

TEST_F(GameStoreTest, SoundOffDuringRewardStopsItAndSilencesLaterCues) {
    auto store = makeStore();
    store->setSoundEnabled(true);
    store->act();
    GameStoreTestAccess::setRunner(*store, GameStoreTestAccess::runnerNear(100, 0.5));
    frame(*store);
    ASSERT_FALSE(m_cues.empty());
    store->setSoundEnabled(false);
    EXPECT_TRUE(store->audio().pendingRewards().empty());
    EXPECT_EQ(store->audio().activeReward(), nullptr);
    m_cues.clear();
    GameStoreTestAccess::setRunner(*store, GameStoreTestAccess::runnerNear(200, 0.5));
    frame(*store);
    EXPECT_TRUE(m_cues.empty());
    EXPECT_EQ(QSettings(path(), QSettings::IniFormat).value("soundEnabled").toString(), "false");
}

TEST_F(GameStoreTest, FreshRunPersistsAndStartsAtOnce) {
    auto store = makeStore();
    store->act();
    GameStoreTestAccess::setRunner(*store, GameStoreTestAccess::runnerNear(77, 0));
    frame(*store);
    store->freshRun();
    EXPECT_EQ(QSettings(path(), QSettings::IniFormat).value("bestScore").toLongLong(), 77);
    EXPECT_EQ(store->runner().phase(), RunPhase::running);
    EXPECT_EQ(store->runner().jumps(), 1);
    EXPECT_EQ(store->runner().distance(), 0);
    EXPECT_TRUE(store->clockRunning());
}

TEST_F(GameStoreTest, NoTimerRunsWithoutARunningRun) {
    auto store = makeStore();
    auto anyTimerActive = [&] {
        for (QTimer* timer : store->findChildren<QTimer*>()) {
            if (timer->isActive()) {
                return true;
            }
        }
        return store->clockRunning();
    };
    EXPECT_FALSE(anyTimerActive());
    store->act();
    EXPECT_TRUE(store->clockRunning());
    store->pause();
    EXPECT_FALSE(anyTimerActive());
    store->act();
    frame(*store, 0.3); // stall
    EXPECT_FALSE(anyTimerActive());
    store->act();
    Runner crash = store->runner();
    RunnerTestAccess::addObstacle(crash, {50, Runner::dinoX, 16, 26, false, ObstacleKind::cactus, 0});
    RunnerTestAccess::setHeight(crash, 0);
    GameStoreTestAccess::setRunner(*store, crash);
    // Through the resume grace in short frames (one long frame would be a stall).
    for (int i = 0; i < 120 && store->runner().phase() == RunPhase::running; ++i) {
        frame(*store);
    }
    EXPECT_EQ(store->runner().phase(), RunPhase::over);
    EXPECT_FALSE(anyTimerActive());
}

TEST_F(GameStoreTest, RealTimerDrivesTheRun) {
    SteadyClock steady;
    GameStore store(settings(), steady, 5);
    store.act();
    QSignalSpy ticks(&store, &GameStore::runnerChanged);
    ASSERT_TRUE(ticks.wait(1000));
    EXPECT_GT(store.runner().elapsed(), 0);
    store.pause();
    EXPECT_FALSE(store.clockRunning());
}

TEST_F(GameStoreTest, AutopilotStartsARunAndPlaysIt) {
    auto store = makeStore(21);
    store->setSoundEnabled(true);
    QSignalSpy changed(store.get(), &GameStore::autopilotChanged);
    store->setAutopilot(true);
    EXPECT_TRUE(store->autopilot());
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(store->runner().phase(), RunPhase::running);
    EXPECT_TRUE(store->clockRunning());
    for (int i = 0; i < 60 * 40 && store->runner().phase() == RunPhase::running; ++i) {
        frame(*store);
    }
    // Forty seconds of play get past many obstacles, with sounds as for a player.
    EXPECT_EQ(store->runner().phase(), RunPhase::running);
    EXPECT_GT(store->runner().score(), 500);
    EXPECT_GT(store->runner().jumps(), 10);
    EXPECT_GT(std::count(m_cues.begin(), m_cues.end(), ArcadeCue::jump), 10);
    EXPECT_TRUE(store->autopilot());
}

TEST_F(GameStoreTest, AnyPlayerInputTakesOver) {
    auto store = makeStore(22);
    store->setAutopilot(true);
    frame(*store);
    store->setDucking(true);
    EXPECT_FALSE(store->autopilot());
    EXPECT_TRUE(store->runner().downHeld()); // the key still does what it does

    store->setAutopilot(true);
    store->act();
    EXPECT_FALSE(store->autopilot());

    store->setAutopilot(true);
    store->togglePause();
    EXPECT_FALSE(store->autopilot());
    EXPECT_EQ(store->runner().phase(), RunPhase::paused);

    store->setAutopilot(true); // resumes the paused run
    EXPECT_EQ(store->runner().phase(), RunPhase::running);
    store->freshRun();
    EXPECT_FALSE(store->autopilot());
}

// A store whose autopilot has just crashed into a cactus on the dinosaur's spot.
std::unique_ptr<GameStore> GameStoreTest::crashedUnderAutopilot() {
    auto store = makeStore(23);
    store->setAutopilot(true);
    Runner crash = store->runner();
    RunnerTestAccess::clearObstacles(crash);
    RunnerTestAccess::addObstacle(crash, {0, Runner::dinoX, 44, 29, true, ObstacleKind::cactus, 0});
    GameStoreTestAccess::setRunner(*store, crash);
    frame(*store);
    return store;
}

TEST_F(GameStoreTest, AutopilotStartsANewRunAfterACrash) {
    auto store = crashedUnderAutopilot();
    ASSERT_EQ(store->runner().phase(), RunPhase::over);
    EXPECT_FALSE(store->clockRunning());
    // A short look at the crash (1.5 s on the store's clock), then a new run.
    const double crashedAt = m_clock.now();
    ASSERT_EQ(store->autopilotRestartDeadline(), crashedAt + 1.5);
    m_clock.advance(1.499);
    EXPECT_EQ(store->runner().phase(), RunPhase::over);
    EXPECT_FALSE(store->clockRunning());
    m_clock.set(crashedAt + 1.5);
    ASSERT_EQ(store->runner().phase(), RunPhase::running);
    EXPECT_EQ(store->autopilotRestartDeadline(), std::nullopt);
    EXPECT_TRUE(store->autopilot());
    EXPECT_TRUE(store->clockRunning());
    EXPECT_EQ(store->runner().score(), 0); // a new run, not the crashed one resumed
}

TEST_F(GameStoreTest, TakingOverAfterACrashCancelsTheRestart) {
    auto store = crashedUnderAutopilot();
    ASSERT_EQ(store->runner().phase(), RunPhase::over);
    ASSERT_TRUE(store->autopilotRestartDeadline());
    store->setAutopilot(false);
    EXPECT_EQ(store->autopilotRestartDeadline(), std::nullopt);
    EXPECT_EQ(m_clock.pendingAlarms(), 0u);
    m_clock.advance(10);
    EXPECT_EQ(store->runner().phase(), RunPhase::over);
    EXPECT_FALSE(store->clockRunning());
}
