#pragma once

#include "Vantrel/views/DirectFrames.h"

#include <QColor>
#include <QWidget>

#include <functional>

namespace vantrel {

// A passive piece of a view (a score, a key hint, the speed meter) drawn by a
// function; it carries its own accessible name and tool tip.
class PaintedItem : public QWidget {
    Q_OBJECT

public:
    using Painter = std::function<void(QPainter&, const QRectF&)>;

    explicit PaintedItem(Painter painter, QWidget* parent = nullptr);

    void setAccessibleNameIfChanged(const QString& name);
    void setToolTipIfChanged(const QString& tip);

    // For an item that changes while a run runs and lies on a plain background:
    // it fills that colour itself, so its repaint does not repaint what is under it.
    void setOpaqueBackground(const QColor& color);

    // An opaque item that changes while a run runs can show each change
    // straight in the window (DirectFrames) instead of through Qt's repaint.
    void setFramePresenter(platform::FramePresenter* presenter);
    // Shows the item's new look: straight in the window where it can, else by update().
    void refresh();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintContent(QPainter& painter);

    Painter m_painter;
    QColor m_background;
    DirectFrames* m_direct = nullptr;
};

} // namespace vantrel
