#pragma once

#include <QColor>
#include <QWidget>

namespace vantrel {

// The standing dinosaur (body and resting feet) scaled to its frame, keeping
// its 18 : 20 shape in the top-left corner; spare room stays empty at the
// right or bottom. Decoration only: hidden from accessibility.
class DinoGlyph : public QWidget {
    Q_OBJECT

public:
    explicit DinoGlyph(QColor color, QWidget* parent = nullptr);

    QColor color() const { return m_color; }
    void setColor(const QColor& color);

    // The pixel size for a canvas of `size`: the smaller of width / 18 and height / 20.
    static double pixelSize(QSizeF size);
    static void paintGlyph(QPainter& painter, QSizeF size, const QColor& color);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_color;
};

} // namespace vantrel
