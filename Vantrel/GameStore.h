#pragma once

#include "Vantrel/AutopilotDriver.h"
#include "Vantrel/Preferences.h"

#include "VantrelCore/ArcadeCue.h"
#include "VantrelCore/Runner.h"
#include "VantrelCore/ScoreCelebrations.h"

#include <QObject>
#include <QTimer>

#include <memory>
#include <optional>

class QSettings;

namespace vantrel {

class ArcadeAudio;
class Clock;

// The single source of truth for the game: owns the run, drives it from a
// 60 Hz frame timer that runs only while a run is running, turns input into
// runner operations, raises sound cues and awards, and times the banner and
// the duck hint. Two parts it owns and speaks for: Preferences (the best score
// and the player's choices in QSettings) and the AutopilotDriver (watch mode).
// Everything else in the program talks to the store, never to those parts.
class GameStore : public QObject {
    Q_OBJECT
    Q_PROPERTY(qint64 best READ best WRITE setBest NOTIFY bestChanged)
    Q_PROPERTY(bool isNewBest READ isNewBest NOTIFY isNewBestChanged)
    Q_PROPERTY(double awardRemaining READ awardRemaining NOTIFY awardRemainingChanged)
    Q_PROPERTY(double duckHintRemaining READ duckHintRemaining NOTIFY duckHintRemainingChanged)
    Q_PROPERTY(bool expanded READ expanded WRITE setExpanded NOTIFY expandedChanged)
    Q_PROPERTY(bool peeking READ peeking WRITE setPeeking NOTIFY peekingChanged)
    Q_PROPERTY(double notchHeight READ notchHeight WRITE setNotchHeight NOTIFY notchHeightChanged)
    Q_PROPERTY(double notchWidth READ notchWidth WRITE setNotchWidth NOTIFY notchWidthChanged)
    Q_PROPERTY(bool soundEnabled READ soundEnabled WRITE setSoundEnabled NOTIFY soundEnabledChanged)
    Q_PROPERTY(bool roomy READ roomy WRITE setRoomy NOTIFY roomyChanged)
    Q_PROPERTY(bool hoverToPeek READ hoverToPeek WRITE setHoverToPeek NOTIFY hoverToPeekChanged)
    Q_PROPERTY(bool shortcutAvailable READ shortcutAvailable WRITE setShortcutAvailable NOTIFY
                   shortcutAvailableChanged)
    Q_PROPERTY(bool autopilot READ autopilot WRITE setAutopilot NOTIFY autopilotChanged)
    Q_PROPERTY(double panelWidth READ panelWidth NOTIFY panelSizeChanged)
    Q_PROPERTY(double panelHeight READ panelHeight NOTIFY panelSizeChanged)

public:
    // Settings keys (kept by Preferences).
    static constexpr const char* bestScoreKey = Preferences::bestScoreKey;
    static constexpr const char* soundEnabledKey = Preferences::soundEnabledKey;
    static constexpr const char* roomyKey = Preferences::roomyKey;
    static constexpr const char* hoverToPeekKey = Preferences::hoverToPeekKey;
    static constexpr const char* showTabKey = Preferences::showTabKey;

    static constexpr double framesPerSecond = 60;
    // How long each banner and the duck hint stay on show (seconds of play).
    static constexpr double milestoneBannerSeconds = 1.1;
    static constexpr double recordBannerSeconds = 1.7;
    static constexpr double duckHintSeconds = 2.3;

    // The store owns `settings`; `clock` must outlive it and times both the
    // frames and the autopilot's restart. A seed of 0 draws one from the
    // system's random source.
    GameStore(std::unique_ptr<QSettings> settings, const Clock& clock, uint64_t seed = 0,
              QObject* parent = nullptr);
    ~GameStore() override;

    const Runner& runner() const { return m_runner; }
    qint64 best() const { return m_best; }
    bool isNewBest() const { return m_isNewBest; }
    std::optional<ScoreAward> award() const { return m_award; }
    double awardRemaining() const { return m_awardRemaining; }
    double duckHintRemaining() const { return m_duckHintRemaining; }
    bool expanded() const { return m_expanded; }
    bool peeking() const { return m_peeking; }
    double notchHeight() const { return m_notchHeight; }
    double notchWidth() const { return m_notchWidth; }
    bool soundEnabled() const { return m_preferences.soundEnabled(); }
    bool roomy() const { return m_preferences.roomy(); }
    bool hoverToPeek() const { return m_preferences.hoverToPeek(); }
    bool shortcutAvailable() const { return m_shortcutAvailable; }
    double panelWidth() const;
    double panelHeight() const;

    void setBest(qint64 best);
    void setExpanded(bool expanded);
    void setPeeking(bool peeking);
    void setNotchHeight(double height);
    void setNotchWidth(double width);
    void setSoundEnabled(bool enabled);
    void setRoomy(bool roomy);
    void setHoverToPeek(bool hover);
    void setShortcutAvailable(bool available);

    // The runway width the views show, in world points.
    void setWorldWidth(double width);

    // Player actions.
    void act();
    void pause();
    void togglePause();
    void freshRun();
    void setDucking(bool down);
    void releaseJump();

    // Watch mode: the autopilot plays, starting or resuming a run if needed,
    // and a new run follows a crash after a short look at it. Any player
    // input (act, ducking, pause, a fresh run) takes over and turns it off.
    bool autopilot() const { return m_autopilot.on(); }
    void setAutopilot(bool on);
    // The look at a crash before the next run, timed on the injected clock.
    static constexpr int autopilotRestartMilliseconds =
        static_cast<int>(AutopilotDriver::restartSeconds * 1000);
    // When that next run is due (seconds on the clock), while one is pending.
    std::optional<double> autopilotRestartDeadline() const { return m_autopilot.restartDeadline(); }

    // The frame timer: every 16 ms while a run is running, nothing otherwise.
    // Each frame advances the run by the clock's time since the last one.
    // Tests step it by hand with runFrame() instead of waiting.
    bool clockRunning() const { return m_timer.isActive(); }
    void runFrame();

    ArcadeAudio& audio() { return *m_audio; }

    // For tools that display a prepared moment (the snapshot tool), never for
    // play: shows `runner` as the current run with these banners, notifying
    // as play does. It plays no cue, starts no clock and records no best.
    struct ShownBanners {
        bool isNewBest = false;
        std::optional<ScoreAward> award = std::nullopt;
        double awardRemaining = 0;    // seconds
        double duckHintRemaining = 0; // seconds
    };
    void showRun(const Runner& runner, const ShownBanners& banners);

signals:
    // The run moved on (every frame while it runs).
    void runnerChanged();
    // The run's phase changed (ready, running, paused, over): far rarer than runnerChanged.
    void phaseChanged();
    void bestChanged();
    void isNewBestChanged();
    void awardChanged();
    void awardRemainingChanged();
    void duckHintRemainingChanged();
    void expandedChanged();
    void peekingChanged();
    void notchHeightChanged();
    void notchWidthChanged();
    void soundEnabledChanged();
    void roomyChanged();
    void hoverToPeekChanged();
    void shortcutAvailableChanged();
    void panelSizeChanged();
    // Every cue handed to the audio player, in order; only while sound is on.
    void cuePlayed(vantrel::ArcadeCue cue);
    void autopilotChanged();

private:
    // Lets tests put the store's run into a prepared state.
    friend struct GameStoreTestAccess;

    void notifyRunnerChanged();
    void startClock();
    void stopClock();
    void paceNextFrame(double now);
    void playerTookOver();
    void tick();
    void persistBest();
    void play(ArcadeCue cue);

    void setIsNewBest(bool value);
    void setAward(std::optional<ScoreAward> award);
    void setAwardRemaining(double seconds);
    void setDuckHintRemaining(double seconds);

    Preferences m_preferences;
    const Clock& m_clock;
    Runner m_runner;
    RunPhase m_notifiedPhase = m_runner.phase();
    qint64 m_best = 0;
    bool m_isNewBest = false;
    std::optional<ScoreAward> m_award;
    double m_awardRemaining = 0;
    double m_duckHintRemaining = 0;
    bool m_expanded = false;
    bool m_peeking = false;
    double m_notchHeight = 32;
    double m_notchWidth = 180;
    bool m_shortcutAvailable = true;
    QTimer m_timer;
    double m_lastTime = 0;
    double m_paceOrigin = 0; // when the frame clock started counting sixtieths
    int64_t m_pacedFrames = 0;
    qint64 m_bestAtStart = 0;
    ScoreCelebrations m_celebrations{0};
    ArcadeAudio* m_audio;
    AutopilotDriver m_autopilot{*this, m_clock};
};

} // namespace vantrel
