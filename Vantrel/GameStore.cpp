#include "Vantrel/GameStore.h"

#include "Vantrel/Clock.h"
#include "Vantrel/audio/ArcadeAudio.h"
#include "Vantrel/panel/PanelLayout.h"

#include <QRandomGenerator>
#include <QSettings>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace vantrel {

namespace {

uint64_t systemSeed() {
    uint64_t seed = 0;
    while (seed == 0) {
        seed = QRandomGenerator::system()->generate64();
    }
    return seed;
}

} // namespace

GameStore::GameStore(std::unique_ptr<QSettings> settings, const Clock& clock, uint64_t seed, QObject* parent)
    : QObject(parent), m_preferences(std::move(settings)), m_clock(clock),
      m_runner(seed != 0 ? seed : systemSeed()), m_best(m_preferences.best()),
      m_audio(new ArcadeAudio(this)) {
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(std::chrono::milliseconds(17));
    connect(&m_timer, &QTimer::timeout, this, &GameStore::tick);
}

GameStore::~GameStore() = default;

// The sizes and their sums are PanelLayout's.
double GameStore::panelWidth() const {
    return m_expanded ? PanelLayout::expandedWidthFor(roomy()) : PanelLayout::collapsedWidth(m_notchWidth);
}

double GameStore::panelHeight() const {
    return m_expanded ? PanelLayout::expandedHeight(m_notchHeight, roomy())
                      : PanelLayout::collapsedHeight(m_notchHeight, m_peeking);
}

// --- plain observable values -------------------------------------------------

void GameStore::setBest(qint64 best) {
    if (m_best != best) {
        m_best = best;
        emit bestChanged();
    }
}

void GameStore::setExpanded(bool expanded) {
    if (m_expanded != expanded) {
        m_expanded = expanded;
        emit expandedChanged();
        emit panelSizeChanged();
    }
}

void GameStore::setPeeking(bool peeking) {
    if (m_peeking != peeking) {
        m_peeking = peeking;
        emit peekingChanged();
        emit panelSizeChanged();
    }
}

void GameStore::setNotchHeight(double height) {
    if (m_notchHeight != height) {
        m_notchHeight = height;
        emit notchHeightChanged();
        emit panelSizeChanged();
    }
}

void GameStore::setNotchWidth(double width) {
    if (m_notchWidth != width) {
        m_notchWidth = width;
        emit notchWidthChanged();
        emit panelSizeChanged();
    }
}

void GameStore::setShortcutAvailable(bool available) {
    if (m_shortcutAvailable != available) {
        m_shortcutAvailable = available;
        emit shortcutAvailableChanged();
    }
}

void GameStore::setIsNewBest(bool value) {
    if (m_isNewBest != value) {
        m_isNewBest = value;
        emit isNewBestChanged();
    }
}

void GameStore::setAward(std::optional<ScoreAward> award) {
    if (m_award != award) {
        m_award = award;
        emit awardChanged();
    }
}

void GameStore::setAwardRemaining(double seconds) {
    if (m_awardRemaining != seconds) {
        m_awardRemaining = seconds;
        emit awardRemainingChanged();
    }
}

void GameStore::setDuckHintRemaining(double seconds) {
    if (m_duckHintRemaining != seconds) {
        m_duckHintRemaining = seconds;
        emit duckHintRemainingChanged();
    }
}

// --- persisted preferences ---------------------------------------------------

void GameStore::setSoundEnabled(bool enabled) {
    const bool changed = m_preferences.setSoundEnabled(enabled);
    if (!enabled) {
        m_audio->stopAll();
    }
    if (changed) {
        emit soundEnabledChanged();
    }
}

void GameStore::setRoomy(bool roomy) {
    if (m_preferences.setRoomy(roomy)) {
        emit roomyChanged();
        emit panelSizeChanged();
    }
}

void GameStore::setHoverToPeek(bool hover) {
    if (m_preferences.setHoverToPeek(hover)) {
        emit hoverToPeekChanged();
    }
}

void GameStore::persistBest() {
    setBest(std::max<qint64>(m_runner.score(), m_best));
    m_preferences.saveBest(m_best);
}

// --- the run -----------------------------------------------------------------

void GameStore::play(ArcadeCue cue) {
    m_audio->play(cue);
    emit cuePlayed(cue);
}

void GameStore::setWorldWidth(double width) {
    if (m_runner.worldWidth() != width) {
        m_runner.setWorldWidth(width);
        notifyRunnerChanged();
    }
}

void GameStore::playerTookOver() {
    if (m_autopilot.playerInput()) {
        emit autopilotChanged();
    }
}

void GameStore::setAutopilot(bool on) {
    if (on == autopilot()) {
        return;
    }
    if (!on) {
        m_autopilot.turnOff();
        emit autopilotChanged();
        return;
    }
    m_autopilot.turnOn();
    emit autopilotChanged();
    m_autopilot.takeTheRun();
}

void GameStore::act() {
    playerTookOver();
    const RunPhase phase = m_runner.phase();
    if (phase == RunPhase::ready || phase == RunPhase::over) {
        m_bestAtStart = m_best;
        setIsNewBest(false);
        m_celebrations = ScoreCelebrations(m_best);
        setAward(std::nullopt);
        setAwardRemaining(0);
        setDuckHintRemaining(0);
        m_audio->stopAll();
    }
    const Runner before = m_runner;
    m_runner.act();
    if (m_runner.jumps() != before.jumps() && soundEnabled()) {
        play(ArcadeCue::jump);
    }
    if (!(m_runner == before)) {
        notifyRunnerChanged();
    }
    startClock();
}

void GameStore::pause() {
    playerTookOver();
    const Runner before = m_runner;
    m_runner.pause();
    stopClock();
    m_audio->stopAll();
    persistBest();
    if (!(m_runner == before)) {
        notifyRunnerChanged();
    }
}

void GameStore::togglePause() {
    switch (m_runner.phase()) {
    case RunPhase::running:
        pause();
        return;
    case RunPhase::paused:
        act();
        return;
    case RunPhase::ready:
    case RunPhase::over:
        return;
    }
}

void GameStore::freshRun() {
    playerTookOver();
    stopClock();
    persistBest();
    m_runner.reset();
    notifyRunnerChanged();
    act();
}

void GameStore::setDucking(bool down) {
    playerTookOver();
    const Runner before = m_runner;
    m_runner.setDucking(down);
    if (down && !before.downHeld() && m_runner.downHeld() && soundEnabled()) {
        play(ArcadeCue::duck);
    }
    if (!(m_runner == before)) {
        notifyRunnerChanged();
    }
}

void GameStore::releaseJump() {
    playerTookOver();
    // Only the runner's private jump-cut flag changes; nothing visible does.
    m_runner.releaseJump();
}

void GameStore::startClock() {
    if (m_timer.isActive() || m_runner.phase() != RunPhase::running) {
        return;
    }
    m_lastTime = m_clock.now();
    m_paceOrigin = m_lastTime;
    m_pacedFrames = 0;
    m_timer.setInterval(std::chrono::milliseconds(17));
    m_timer.start();
}

// Qt's timers count whole milliseconds, so a fixed 16 ms would draw 62.5
// frames a second: on a 60 Hz screen one in twenty-five is never seen. Each
// tick instead sets the wait to the next sixtieth of a second since the run's
// clock started (16 or 17 ms); a tick more than a frame late starts the count
// again rather than hurrying to catch up.
void GameStore::paceNextFrame(double now) {
    constexpr double frame = 1.0 / 60;
    ++m_pacedFrames;
    double wait = m_paceOrigin + static_cast<double>(m_pacedFrames + 1) * frame - now;
    if (wait < 0.001) {
        m_paceOrigin = now;
        m_pacedFrames = 0;
        wait = frame;
    }
    const int milliseconds = std::clamp(static_cast<int>(std::lround(wait * 1000)), 1, 17);
    if (milliseconds != m_timer.interval()) {
        m_timer.setInterval(std::chrono::milliseconds(milliseconds));
    }
}

void GameStore::stopClock() {
    m_timer.stop();
}

void GameStore::runFrame() {
    if (m_timer.isActive()) {
        tick();
    }
}

void GameStore::tick() {
    const double now = m_clock.now();
    const double delta = now - m_lastTime;
    m_lastTime = now;
    if (m_timer.isActive()) {
        paceNextFrame(now);
    }

    m_autopilot.steer();
    const int64_t jumpsBefore = m_runner.jumps();
    const int64_t flyersBefore = m_runner.flyersSpawned();
    m_runner.advance(delta);

    if (m_runner.jumps() > jumpsBefore && soundEnabled()) {
        play(ArcadeCue::jump); // a buffered jump taken on landing
    }
    // The banners and the best first, so that whoever draws on runnerChanged
    // draws this frame's.
    double duckHint = m_duckHintRemaining;
    if (flyersBefore == 0 && m_runner.flyersSpawned() >= 1) {
        duckHint = duckHintSeconds; // the run's first pterodactyl has just appeared
    }
    setDuckHintRemaining(std::max(duckHint - delta, 0.0));
    setAwardRemaining(std::max(m_awardRemaining - delta, 0.0));

    const int64_t score = m_runner.score();
    for (const ScoreAward& award : m_celebrations.update(score)) {
        const bool record = award.kind == ScoreAward::Kind::newBest;
        setAward(award);
        setAwardRemaining(record ? recordBannerSeconds : milestoneBannerSeconds);
        if (record) {
            setIsNewBest(true);
        }
        if (soundEnabled()) {
            play(record ? ArcadeCue::record : ArcadeCue::milestone);
        }
    }
    if (score > m_best) {
        setBest(score); // shown live, written when the clock stops
    }
    notifyRunnerChanged();

    if (m_runner.phase() == RunPhase::running) {
        return;
    }
    stopClock();
    persistBest();
    if (m_runner.phase() == RunPhase::over) {
        setIsNewBest(score > m_bestAtStart && score >= 1);
        if (soundEnabled()) {
            play(ArcadeCue::crash);
        }
        m_autopilot.runCrashed();
    }
}

void GameStore::showRun(const Runner& runner, const ShownBanners& banners) {
    setIsNewBest(banners.isNewBest);
    setAward(banners.award);
    setAwardRemaining(banners.awardRemaining);
    setDuckHintRemaining(banners.duckHintRemaining);
    m_runner = runner;
    notifyRunnerChanged();
}

void GameStore::notifyRunnerChanged() {
    emit runnerChanged();
    if (m_runner.phase() != m_notifiedPhase) {
        m_notifiedPhase = m_runner.phase();
        emit phaseChanged();
    }
}

} // namespace vantrel
