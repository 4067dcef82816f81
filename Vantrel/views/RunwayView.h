#pragma once

#include "Vantrel/views/DirectFrames.h"
#include "Vantrel/views/RunwayPainter.h"
#include "VantrelCore/RunPhase.h"

#include <QColor>
#include <QString>
#include <QWidget>

#include <cstdint>

namespace vantrel {

class GameStore;
class PaintedButton;
class Runner;

// One frame of the game: the world as RunwayPainter draws it from the store's
// run, with the phase's card or the "READY..." text and the award or duck
// notice on top. It reads the store and never changes it: a click on the
// playfield while a run is running, or on the card in the other phases, is
// reported as actRequested.
class RunwayView : public QWidget {
    Q_OBJECT

public:
    static constexpr double worldWidth = RunwayPainter::worldWidth;
    static constexpr double groundMargin = RunwayPainter::groundMargin;

    RunwayView(const GameStore& store, QColor mint, QWidget* parent = nullptr);

    // The phase's texts, and the name of the playfield's accessible action.
    static QString headline(RunPhase phase, bool isNewBest);
    static QString subtitle(RunPhase phase, int64_t score);
    static QString actionName(RunPhase phase, int64_t score);
    QString accessibleActionName() const;

    // The notice over a running run ("NEW BEST!", "300 POINTS!", the duck
    // hint), or an empty string.
    QString notice() const;

    // Asks for the game action, as a click on the card or the playfield does.
    void performAction();

    // The landscape, obstacles, dinosaur and dust of `runner` (RunwayPainter::paintCanvas).
    static void paintCanvas(QPainter& painter, const Runner& runner, QSizeF size);

    // The card's rectangle in view coordinates (empty while running).
    QRectF cardRect() const;

    // Whether the view lies wholly on the panel's black body. It then paints
    // the black itself, so a frame repaints the runway alone and not the panel
    // under it; near the rounded corners (while the panel grows) it leaves the
    // background to the panel.
    void setOnBody(bool onBody);

    // While a run is running and the view lies on the body, each frame goes
    // through `presenter` straight into the window, past Qt's repaint cycle;
    // otherwise (and with none) the view repaints the ordinary way.
    void setFramePresenter(platform::FramePresenter* presenter) { m_direct->setPresenter(presenter); }

signals:
    // The player asked for the game action (start, jump, resume or retry).
    void actRequested();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    struct CardLines;

    void onRunnerChanged();
    void onOverlayChanged();
    void paintContent(QPainter& painter) const;
    void layoutCard();
    CardLines cardLines() const;
    void paintCard(QPainter& painter, const QRectF& rect) const;
    void paintOverlay(QPainter& painter) const;

    const GameStore& m_store;
    QColor m_mint;
    PaintedButton* m_card;
    DirectFrames* m_direct;
};

} // namespace vantrel
