#pragma once

#include <QWidget>

namespace vantrel {

// The dinosaur's head and neck peeking out under the notch: rows 0 to 7 and
// columns 7 to 17 of the body at 1.5 points a pixel (16.5 x 12 points), white
// at opacity 0.7. It does not scale; a smaller frame cuts it off at the right
// and bottom. Decoration only: hidden from accessibility.
class PeekingDinoGlyph : public QWidget {
    Q_OBJECT

public:
    explicit PeekingDinoGlyph(QWidget* parent = nullptr);

    static constexpr int firstColumn = 7;
    static constexpr int rows = 8;

    // Paints the head with its top-left at the origin, clipped to `clip`.
    static void paintGlyph(QPainter& painter, const QRectF& clip);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace vantrel
