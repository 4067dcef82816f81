#include "Vantrel/pixels/NotchWelcomeIllustration.h"

#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <cstring>

namespace vantrel {

namespace {

// 40 columns by 25 rows: 'b' the screen's top bezel, '#' the notch hanging
// from it, 'm' the mint dinosaur standing just under the notch, 'e' its eye,
// 'g' the ground.
const char* const pictureRows[] = {
    "bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb", "bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb",
    "............################............", "............################............",
    "............################............", "............################............",
    "............################............", ".............##############.............",
    "....................mmmmmmmm............", "...................mmemmmmmmm...........",
    "...................mmmmmmmmmm...........", "...................mmmmmmmmmm...........",
    "...................mmmmm................", "...................mmmmmmmm.............",
    "..........m.......mmmmm.................", "..........mm....mmmmmmm.................",
    "..........mmm.mmmmmmmmmmm...............", "..........mmmmmmmmmmmmm.m...............",
    "...........mmmmmmmmmmm..................", "............mmmmmmmmm...................",
    ".............mmmmmmm....................", "..............mmm.mm....................",
    "..............mm...m....................", "..............m....mm...................",
    "gggggggggggggggggggggggggggggggggggggggg",
};

// The game's mint, as on the playfield.
const QColor mint = QColor::fromRgbF(0.72f, 0.91f, 0.76f);

constexpr int pictureRowCount = static_cast<int>(sizeof pictureRows / sizeof pictureRows[0]);

QPainterPath pathOf(char mark, double cell, QPointF origin) {
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    for (int row = 0; row < pictureRowCount; ++row) {
        const char* line = pictureRows[row];
        for (int column = 0; line[column] != '\0'; ++column) {
            if (line[column] == mark) {
                path.addRect(QRectF(origin.x() + column * cell, origin.y() + row * cell, cell, cell));
            }
        }
    }
    return path;
}

} // namespace

NotchWelcomeIllustration::NotchWelcomeIllustration(QWidget* parent) : QWidget(parent) {
    setMinimumHeight(preferredHeight);
    setMaximumHeight(preferredHeight);
    setAccessibleName(tr("A dinosaur peeking out of the notch"));
}

const char* const* NotchWelcomeIllustration::rows() {
    return pictureRows;
}
int NotchWelcomeIllustration::rowCount() {
    return pictureRowCount;
}
int NotchWelcomeIllustration::columnCount() {
    return static_cast<int>(std::strlen(pictureRows[0]));
}

QSize NotchWelcomeIllustration::sizeHint() const {
    return {columnCount() * 5, preferredHeight};
}

void NotchWelcomeIllustration::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // Whole device pixels per cell keep the squares crisp at every scale.
    const double ratio = devicePixelRatioF();
    const double fit = std::min(width() / double(columnCount()), height() / double(rowCount()));
    const double cell = std::max(1.0, std::floor(fit * ratio)) / ratio;
    const QPointF origin((width() - cell * columnCount()) / 2, (height() - cell * rowCount()) / 2);
    painter.fillPath(pathOf('b', cell, origin), QColor(58, 58, 60));
    painter.fillPath(pathOf('#', cell, origin), Qt::black);
    painter.fillPath(pathOf('m', cell, origin), mint);
    painter.fillPath(pathOf('e', cell, origin), Qt::black);
    painter.fillPath(pathOf('g', cell, origin), QColor(120, 120, 124));
}

} // namespace vantrel
