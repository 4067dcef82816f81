#pragma once

#include <QAbstractButton>

#include <functional>

namespace vantrel {

// A button whose label is drawn by a function, in one of two looks: plain
// (the label as it is) or quiet (QuietButtonStyle: dimmed while pressed). It
// never takes keyboard focus, so Space and the arrows stay with the game.
class PaintedButton : public QAbstractButton {
    Q_OBJECT

public:
    enum class Look { plain, quiet };
    using Label = std::function<void(QPainter&, const QRectF&)>;

    PaintedButton(Look look, Label label, QWidget* parent = nullptr);

    Look look() const { return m_look; }

    // Sets the accessible name and tool tip, touching them only when they change.
    void setAccessibleNameIfChanged(const QString& name);
    void setToolTipIfChanged(const QString& tip);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Look m_look;
    Label m_label;
};

} // namespace vantrel
