#pragma once

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

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Painter m_painter;
    QColor m_background;
};

} // namespace vantrel
