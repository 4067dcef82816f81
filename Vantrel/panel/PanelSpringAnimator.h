#pragma once

#include "VantrelCore/DampedSpring.h"

#include <QObject>
#include <QPointer>
#include <QRectF>
#include <QTimer>

#include <functional>

class QWidget;

namespace vantrel {

class Clock;

// Moves the panel between its frames with two critically damped springs, one
// for the width and one for the height, so that the top edge and the
// horizontal centre stay exactly where the target has them during the whole
// movement. The 120 Hz frame timer runs only while something moves.
class PanelSpringAnimator : public QObject {
    Q_OBJECT

public:
    static constexpr double openingResponse = 0.3;  // seconds
    static constexpr double closingResponse = 0.24; // shrinking closes a little faster
    static constexpr double maxStep = 0.05;         // seconds; a late frame does not jump

    explicit PanelSpringAnimator(const Clock& clock, QObject* parent = nullptr);

    // Heads for `target`. Without animation (or with reduced motion) the panel
    // jumps there and `completion` runs before this returns; otherwise it runs
    // once when the movement settles. A redirected movement reports only its
    // last completion.
    void move(QWidget* panel, const QRectF& target, bool animated, std::function<void()> completion = {});
    // Ends any movement without calling the completion.
    void stop();

    void setReduceMotion(bool reduce) { m_reduceMotion = reduce; }
    bool reduceMotion() const { return m_reduceMotion; }

    bool running() const { return m_frameTimer.isActive(); }
    double response() const { return m_response; }
    QRectF target() const { return m_target; }
    const DampedSpring& width() const { return m_width; }
    const DampedSpring& height() const { return m_height; }

    // One animation frame; the frame timer calls it.
    void tick();

signals:
    // The panel's frame was set (one per animation frame, and once per instant move).
    void frameApplied();

private:
    void apply(const QRectF& frame);

    const Clock& m_clock;
    QPointer<QWidget> m_panel;
    DampedSpring m_width;
    DampedSpring m_height;
    QRectF m_target;
    QTimer m_frameTimer;
    double m_previousTime = 0;
    double m_response = openingResponse;
    std::function<void()> m_completion;
    bool m_reduceMotion = false;
};

} // namespace vantrel
