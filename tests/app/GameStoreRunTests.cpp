// Where no sound server runs (as here) the cues' voices end at once; the
// reward queue (the fanfare on and the ones waiting) shows what stopping does.
//
// The store's run and its sound: what a new run and a pause stop, what a pause
// saves, and the frame clock's rate.

#include "Vantrel/Clock.h"
#include "Vantrel/GameStore.h"
#include "Vantrel/audio/ArcadeAudio.h"
#include "Vantrel/audio/WavPlayer.h"

#include "GameStoreTestAccess.h"
#include "RunnerTestAccess.h"

#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

using namespace vantrel;

namespace {

class GameStoreRunTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_dir.isValid()); }

    QString path() const { return m_dir.filePath(QStringLiteral("Vantrel.conf")); }
    void writeFile(const QByteArray& content) {
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    // What another reader of the settings file finds there now.
    qint64 bestOnDisk() const {
        return QSettings(path(), QSettings::IniFormat).value("bestScore").toLongLong();
    }

    std::unique_ptr<GameStore> makeStore() {
        return std::make_unique<GameStore>(std::make_unique<QSettings>(path(), QSettings::IniFormat), m_clock,
                                           11);
    }
    void frame(GameStore& store) {
        m_clock.advance(1.0 / 60);
        store.runFrame();
    }
    // The first hundred of a first run, with sound: a milestone fanfare on, the record waiting behind it.
    std::unique_ptr<GameStore> storeWithFanfare() {
        auto store = makeStore();
        store->setSoundEnabled(true);
        store->act();
        GameStoreTestAccess::setRunner(*store, GameStoreTestAccess::runnerNear(100, 0.5));
        frame(*store);
        return store;
    }
    static bool playing(GameStore& store, ArcadeCue cue) {
        WavPlayer* player = store.audio().cachedPlayer(cue);
        return player != nullptr && player->isPlaying();
    }
    static bool anyPlaying(GameStore& store) {
        for (ArcadeCue cue :
             {ArcadeCue::jump, ArcadeCue::duck, ArcadeCue::milestone, ArcadeCue::record, ArcadeCue::crash}) {
            if (playing(store, cue)) {
                return true;
            }
        }
        return store.audio().activeReward() != nullptr || !store.audio().pendingRewards().empty();
    }
    QTemporaryDir m_dir;
    ManualClock m_clock;
};

TEST_F(GameStoreRunTest, ANewRunStopsTheSoundsOfTheLastOne) {
    auto store = storeWithFanfare();
    ASSERT_NE(store->audio().activeReward(), nullptr);
    ASSERT_FALSE(store->audio().pendingRewards().empty());
    // The run ends while they still sound.
    GameStoreTestAccess::setRunner(*store, Runner::posed({.phase = RunPhase::over, .distance = 1212}, 3));
    ASSERT_NE(store->audio().activeReward(), nullptr);

    store->act(); // a new run
    EXPECT_EQ(store->runner().phase(), RunPhase::running);
    EXPECT_EQ(store->audio().activeReward(), nullptr);
    EXPECT_TRUE(store->audio().pendingRewards().empty());
    EXPECT_FALSE(playing(*store, ArcadeCue::milestone));
    EXPECT_FALSE(playing(*store, ArcadeCue::record));
}

TEST_F(GameStoreRunTest, AJumpIsNoNewRunAndKeepsTheFanfare) {
    auto store = storeWithFanfare();
    ASSERT_NE(store->audio().activeReward(), nullptr);
    // A jump in the middle of a run is no new run: the fanfare plays on.
    Runner grounded = store->runner();
    RunnerTestAccess::setHeight(grounded, 0);
    GameStoreTestAccess::setRunner(*store, grounded);
    store->act();
    EXPECT_NE(store->audio().activeReward(), nullptr);
}

TEST_F(GameStoreRunTest, PauseStopsEverySound) {
    auto store = storeWithFanfare();
    ASSERT_NE(store->audio().activeReward(), nullptr);
    ASSERT_FALSE(store->audio().pendingRewards().empty());

    store->pause();
    EXPECT_EQ(store->runner().phase(), RunPhase::paused);
    EXPECT_FALSE(anyPlaying(*store));
    // The pause key does the same.
    store->togglePause();
    ASSERT_EQ(store->runner().phase(), RunPhase::running);
    store->audio().play(ArcadeCue::milestone);
    store->audio().play(ArcadeCue::record);
    ASSERT_NE(store->audio().activeReward(), nullptr);
    store->togglePause();
    EXPECT_FALSE(anyPlaying(*store));
}

TEST_F(GameStoreRunTest, PauseSavesTheBestScore) {
    writeFile("[General]\nbestScore=10\n");
    auto store = makeStore();
    ASSERT_EQ(store->best(), 10);
    store->act();
    GameStoreTestAccess::setRunner(*store, GameStoreTestAccess::runnerNear(45, 0));
    frame(*store);
    ASSERT_EQ(store->runner().phase(), RunPhase::running);
    EXPECT_EQ(store->best(), 45);
    EXPECT_EQ(bestOnDisk(), 10) << "during a run the best is shown, not yet saved";
    store->pause();
    EXPECT_EQ(bestOnDisk(), 45);
    // A pause that finds nothing better leaves the file's best alone, never lower.
    store->act();
    store->pause();
    EXPECT_EQ(bestOnDisk(), 45);
}

TEST_F(GameStoreRunTest, PauseSavesTheRunsScoreEvenWhenTheShownBestLagsBehind) {
    writeFile("[General]\nbestScore=10\n");
    auto store = makeStore();
    store->act();
    // A run at 30 whose frame has not yet raised the best.
    GameStoreTestAccess::setRunner(*store, GameStoreTestAccess::runnerNear(30, 0));
    ASSERT_EQ(store->best(), 10);
    store->pause();
    EXPECT_EQ(store->best(), 30);
    EXPECT_EQ(bestOnDisk(), 30);
}

TEST_F(GameStoreRunTest, FramesComeSixtyTimesASecondOnTheRealClock) {
    // Whole-millisecond waits of 16 ms would make 62.5 frames a second, one in
    // twenty-five of them never seen on a 60 Hz screen.
    SteadyClock clock;
    GameStore store(std::make_unique<QSettings>(path(), QSettings::IniFormat), clock, 11);
    QSignalSpy frames(&store, &GameStore::runnerChanged);
    store.act();
    const double started = clock.now();
    QTest::qWait(1500);
    const double seconds = clock.now() - started;
    ASSERT_EQ(store.runner().phase(), RunPhase::running);
    EXPECT_LE(frames.count(), static_cast<int>(seconds * 60) + 1)
        << frames.count() << " frames in " << seconds << " s";
    EXPECT_GE(frames.count(), static_cast<int>(seconds * 30))
        << "a loaded machine drops frames, but not half";
}

TEST_F(GameStoreRunTest, TheFrameClockTicksSixtyTimesASecondOnTheMainThread) {
    auto store = makeStore();
    const QTimer& timer = GameStoreTestAccess::frameTimer(*store);
    // 1/60 s in whole milliseconds: 16 or 17, never a coarse timer that may drift by 5 %.
    EXPECT_NEAR(timer.interval(), 1000.0 / 60, 1.0);
    EXPECT_EQ(timer.timerType(), Qt::PreciseTimer);
    EXPECT_FALSE(timer.isSingleShot());
    EXPECT_EQ(timer.thread(), store->thread());
    EXPECT_FALSE(timer.isActive());
    store->act();
    EXPECT_TRUE(timer.isActive());
    EXPECT_NEAR(timer.interval(), 1000.0 / 60, 1.0);
    store->pause();
    EXPECT_FALSE(timer.isActive());
}

TEST_F(GameStoreRunTest, AFrameIsAnnouncedWithItsOwnBannersAndBest) {
    // Whoever draws on runnerChanged draws at once (straight to the window),
    // so the banners' time and the best must already be this frame's.
    auto store = makeStore();
    store->act();
    ASSERT_EQ(store->runner().phase(), RunPhase::running);
    GameStoreTestAccess::setAward(*store, ScoreAward::milestone(1), 1.0);
    GameStoreTestAccess::setDuckHintRemaining(*store, 2.0);
    GameStoreTestAccess::setRunner(*store, GameStoreTestAccess::runnerNear(99, 0));
    double awardSeen = -1;
    double duckSeen = -1;
    int64_t bestSeen = -1;
    QObject::connect(store.get(), &GameStore::runnerChanged, store.get(), [&] {
        awardSeen = store->awardRemaining();
        duckSeen = store->duckHintRemaining();
        bestSeen = store->best();
    });
    for (int i = 0; i < 30; ++i) {
        frame(*store);
        ASSERT_EQ(store->runner().phase(), RunPhase::running);
        EXPECT_EQ(awardSeen, store->awardRemaining()) << "frame " << i;
        EXPECT_EQ(duckSeen, store->duckHintRemaining()) << "frame " << i;
        EXPECT_EQ(bestSeen, store->best()) << "frame " << i;
    }
    EXPECT_NE(awardSeen, 1.0);
    EXPECT_GT(bestSeen, 99);
}

} // namespace
