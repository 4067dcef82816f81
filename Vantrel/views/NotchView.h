#pragma once

#include "VantrelCore/RunPhase.h"

#include <QColor>
#include <QPoint>
#include <QWidget>

#include <cstdint>

class QVariantAnimation;

namespace vantrel {

class GameStore;
class PaintedButton;
class PaintedItem;
class PeekingDinoGlyph;
class RunwayView;

namespace platform {
class FramePresenter;
}

// The content of the notch panel: a black notch-shaped area that is just the
// notch while collapsed, shows the peeking dinosaur's head below it while
// peeking, and, expanded, holds the scores beside the notch, the runway and
// the control row; its measurements are PanelLayout's. It reads the store and
// never changes it: what the player asks for leaves it as a signal, wired to
// the store and the panel in one place (makeNotchView in NotchPanelController.cpp).
class NotchView : public QWidget {
    Q_OBJECT
    Q_PROPERTY(double shapeRadius READ shapeRadius WRITE setShapeRadius NOTIFY shapeRadiusChanged)

public:
    // The panel's accent and the runway's (ViewPalette).
    static QColor defaultMint();
    static QColor runwayMint();

    explicit NotchView(const GameStore& store, QColor arcadeMint = defaultMint(), QWidget* parent = nullptr);
    ~NotchView() override;

    double shapeRadius() const { return m_radius; }
    void setShapeRadius(double radius);

    // Whether the radius follows `expanded` with an animation (when shown) or at once.
    void setAnimated(bool animated) { m_animated = animated; }

    // Texts of the elements that change with the state.
    QString peekToolTip() const;
    QString peekAccessibleName() const;

    RunwayView* runway() const { return m_runway; }

    // The runway, the scores and the speed meter, which change while a run
    // runs, show their frames through `presenter` where they can (DirectFrames).
    void setFramePresenter(platform::FramePresenter* presenter);

signals:
    // The peek was clicked: expand the panel.
    void openRequested();
    // ESC BACK was clicked: collapse the panel.
    void closeRequested();
    // The options button was clicked: show the menu at this global position.
    void optionsRequested(QPoint globalPos);
    // The game action (start, jump, resume, retry): the Space hint, the card or the playfield.
    void actRequested();
    // The pause button: pause a running run, resume a paused one.
    void pauseRequested();
    // The sound button: turn sound on if it is off, off if it is on.
    void soundToggleRequested();
    // The corner radius of the painted outline changed, on every step of its animation.
    void shapeRadiusChanged(double radius);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void buildScores();
    void buildControls();
    void placeRunwayOnBody();
    void relayout();
    void layoutExpanded();
    void layoutControlRow(double top);
    void syncPhaseTexts();
    void syncBestText();
    void syncSoundTexts();
    void syncRunTexts();
    void onExpandedChanged();
    void onPhaseChanged();
    void onRunnerChanged();
    QString spaceLabel() const;

    const GameStore& m_store;
    QColor m_mint;
    double m_radius;
    bool m_animated = true;
    QVariantAnimation* m_radiusAnimation;
    // What the score and the speed meter show, so a frame that changes
    // neither repaints and renames nothing.
    int64_t m_shownScore = -1;
    int64_t m_shownSpeedLevel = -1;
    bool m_shownAward = false; // whether the current score shows in the accent colour

    PaintedButton* m_peekButton;
    PeekingDinoGlyph* m_peekGlyph;
    PaintedItem* m_bestScore;
    PaintedItem* m_currentScore;
    RunwayView* m_runway;
    PaintedButton* m_spaceHint;
    PaintedItem* m_downHint;
    PaintedItem* m_speedMeter;
    PaintedButton* m_pauseButton;
    PaintedButton* m_soundButton;
    PaintedButton* m_optionsButton;
    PaintedButton* m_escHint;
};

} // namespace vantrel
