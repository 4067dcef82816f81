#pragma once

#include "VantrelCore/RunPhase.h"

#include <QColor>
#include <QPoint>
#include <QWidget>

class QVariantAnimation;

namespace vantrel {

class GameStore;
class PaintedButton;
class PaintedItem;
class PeekingDinoGlyph;
class RunwayView;

// The content of the notch panel: a black notch-shaped area that is just the
// notch while collapsed, shows the peeking dinosaur's head below it while
// peeking, and, expanded, holds the scores beside the notch, the runway and
// the control row. It keeps no state of its own and follows the store.
//
// The panel reacts to the requests: expanding on openRequested, collapsing on
// closeRequested, and showing the options menu at the given global position.
class NotchView : public QWidget {
    Q_OBJECT
    Q_PROPERTY(double shapeRadius READ shapeRadius WRITE setShapeRadius)

public:
    static constexpr double expandedRadius = 25;
    static constexpr double collapsedRadius = 13;
    static constexpr double runwayHeight = 110;
    static constexpr double roomyRunwayHeight = 140;
    static constexpr double controlRowHeight = 28;
    static constexpr double peekStripHeight = 16;

    // The panel's accent: sRGB (0.72, 0.91, 0.76). The runway keeps its own,
    // (0.7, 0.91, 0.76); the two differ on purpose.
    static QColor defaultMint();
    static QColor runwayMint();

    explicit NotchView(GameStore& store, QColor arcadeMint = defaultMint(), QWidget* parent = nullptr);
    ~NotchView() override;

    double shapeRadius() const { return m_radius; }
    void setShapeRadius(double radius);

    // Whether the radius follows `expanded` with an animation (when shown) or at once.
    void setAnimated(bool animated) { m_animated = animated; }

    // Texts of the elements that change with the state.
    QString peekToolTip() const;
    QString peekAccessibleName() const;

    RunwayView* runway() const { return m_runway; }

signals:
    void openRequested();
    void closeRequested();
    void optionsRequested(QPoint globalPos);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void buildScores();
    void buildControls();
    void relayout();
    void layoutExpanded();
    void layoutControlRow(double top);
    void syncTexts();
    void onExpandedChanged();
    void onRunnerChanged();
    QString spaceLabel() const;

    GameStore& m_store;
    QColor m_mint;
    double m_radius;
    bool m_animated = true;
    QVariantAnimation* m_radiusAnimation;
    RunPhase m_phase;

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
