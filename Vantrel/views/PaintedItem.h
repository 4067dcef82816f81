#pragma once

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

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Painter m_painter;
};

} // namespace vantrel
