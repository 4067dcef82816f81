#pragma once

#include "VantrelCore/RunPhase.h"

#include <QColor>
#include <QString>
#include <QWidget>

#include <cstdint>
#include <functional>

namespace vantrel {

class GameStore;
class PaintedButton;
class Runner;
struct Obstacle;

// One frame of the game: landscape, obstacles and the dinosaur, drawn from the
// store's state, with the phase's card or the "READY..." text and the award or
// duck notice on top. The world is 440 points wide and scaled to the view's
// width; the ground lies 10 world points above the bottom edge. Clicks on the
// playfield perform the game action while a run is running; in the other
// phases the card is the button.
class RunwayView : public QWidget {
    Q_OBJECT

public:
    static constexpr double worldWidth = 440;
    static constexpr double groundMargin = 10; // world points below the ground line

    RunwayView(GameStore& store, std::function<void()> action, QColor mint, QWidget* parent = nullptr);

    // The phase's texts, and the name of the playfield's accessible action.
    static QString headline(RunPhase phase, bool isNewBest);
    static QString subtitle(RunPhase phase, int64_t score);
    static QString actionName(RunPhase phase, int64_t score);
    QString accessibleActionName() const;

    // The notice over a running run ("NEW BEST!", "300 POINTS!", the duck
    // hint), or an empty string.
    QString notice() const;

    // Performs the game action, as a click on the card or the playfield does.
    void performAction();

    // The landscape, obstacles, dinosaur and dust of `runner` for a canvas of
    // `size` view points, into a painter whose origin is the canvas's top-left.
    static void paintCanvas(QPainter& painter, const Runner& runner, QSizeF size);

    // The card's rectangle in view coordinates (empty while running).
    QRectF cardRect() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    struct CardLines;

    void onRunnerChanged();
    void layoutCard();
    CardLines cardLines() const;
    void paintCard(QPainter& painter, const QRectF& rect) const;
    void paintOverlay(QPainter& painter) const;

    GameStore& m_store;
    std::function<void()> m_action;
    QColor m_mint;
    PaintedButton* m_card;
    RunPhase m_shownPhase;
};

} // namespace vantrel
