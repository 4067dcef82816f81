#include "Vantrel/views/RunwayPainter.h"

#include "Vantrel/pixels/PixelDino.h"
#include "Vantrel/views/ViewPalette.h"
#include "VantrelCore/Runner.h"

#include <QImage>
#include <QPaintDevice>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace vantrel {

namespace {

// All in world points unless said otherwise.
constexpr double standingPixel = 1.7; // one pixel of the standing dinosaur
constexpr double speckSpacing = 27.3; // ground specks, one every this far
constexpr int speckCount = 25;        // enough to cover the 440-point world with one to spare
constexpr double speckNearDepth = 5;  // below the ground line, even specks
constexpr double speckFarDepth = 8;   // below the ground line, odd specks
constexpr double speckLongWidth = 4;  // every third speck
constexpr double speckShortWidth = 1.5;
constexpr double cloudSpacing = 187;
constexpr int cloudCount = 3;
constexpr double cloudFirstX = 130;
constexpr double cloudHighTop = 15; // even clouds
constexpr double cloudLowTop = 29;  // odd clouds
constexpr double cloudWidth = 29;
constexpr double cloudWrap = 561;   // three spacings: the clouds' cycle
constexpr double cloudDrift = 0.13; // of the ground's speed
constexpr double dustPeriod = 12;   // the dust puff repeats every this far
constexpr double dustX = 36;        // behind the dinosaur's heels
constexpr double dustWidth = 5;
constexpr double cactusSpacing = 14;         // between the cacti of a cluster
constexpr double clusterShrink = 0.8;        // height of the cluster's later cacti
constexpr double standingFeetFrequency = 10; // stride changes per second
constexpr double duckingFeetFrequency = 12;
constexpr double flyerWingFrequency = 7;

QPen flatPen(const QColor& color, double width) {
    QPen pen(color, width);
    pen.setCapStyle(Qt::FlatCap);
    pen.setJoinStyle(Qt::MiterJoin);
    return pen;
}

// One cloud: a 29 x 6 stepped outline one point thick whose left end is at x0,
// filled as the rectangles its stroke covers (flat ends, square corners). The
// rectangles only touch, so no corner is painted twice.
void fillCloud(QPainter& painter, double x0, double top, const QColor& color) {
    const QPointF points[] = {
        {x0, top + 6},  {x0 + 6, top + 6},  {x0 + 6, top + 3},  {x0 + 11, top + 3}, {x0 + 11, top},
        {x0 + 18, top}, {x0 + 18, top + 3}, {x0 + 23, top + 3}, {x0 + 23, top + 6}, {x0 + 29, top + 6},
    };
    constexpr int last = std::size(points) - 1;
    for (int i = 0; i < last; ++i) {
        const QPointF a = points[i];
        const QPointF b = points[i + 1];
        if (a.y() == b.y()) {
            // Horizontal runs reach half a point past each corner to fill it...
            const double left = std::min(a.x(), b.x()) - (i > 0 ? 0.5 : 0);
            const double right = std::max(a.x(), b.x()) + (i + 1 < last ? 0.5 : 0);
            painter.fillRect(QRectF(left, a.y() - 0.5, right - left, 1), color);
        } else {
            // ...and vertical ones stop where those begin.
            const double y0 = std::min(a.y(), b.y()) + 0.5;
            painter.fillRect(QRectF(a.x() - 0.5, y0, 1, std::abs(b.y() - a.y()) - 1), color);
        }
    }
}

// The landscape is antialiased (the sprites stay crisp): at a scale that is not
// whole, a one-point line covers parts of two pixel rows, and drawn aliased it
// becomes two full rows, twice as bright. Everything here is a rectangle filled
// on its own: Qt rasterises an antialiased rectangle directly, several times
// faster than an antialiased stroke or path of the same shape, and a one-point
// stroke of these straight runs covers exactly these rectangles.
void drawLandscape(QPainter& painter, double distance, double groundY) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, true);

    // The ground: a one-point line on groundY + 0.5.
    painter.fillRect(QRectF(0, groundY, RunwayPainter::worldWidth, 1), ViewPalette::white(0.24));

    const QColor speck = ViewPalette::white(0.2);
    const double speckShift = std::fmod(distance, speckSpacing);
    for (int i = 0; i < speckCount; ++i) {
        const double x = i * speckSpacing - speckShift;
        if (x >= RunwayPainter::worldWidth) {
            break;
        }
        const double y = groundY + (i % 2 == 0 ? speckNearDepth : speckFarDepth);
        const double width = i % 3 == 0 ? speckLongWidth : speckShortWidth;
        painter.fillRect(QRectF(x, y, width, 1), speck);
    }

    const QColor cloud = ViewPalette::white(0.1);
    const double cloudShift = std::fmod(distance * cloudDrift, cloudWrap);
    for (int i = 0; i < cloudCount; ++i) {
        const double x0 = i * cloudSpacing + cloudFirstX - cloudShift;
        if (x0 + cloudWidth > 0 && x0 < RunwayPainter::worldWidth) {
            fillCloud(painter, x0, i % 2 == 0 ? cloudHighTop : cloudLowTop, cloud);
        }
    }
    painter.restore();
}

// One cactus `h` high whose left arm starts at `x`: a 4-wide trunk and two
// 3-wide arms, their lengths and joints as fractions of the height.
void addCactus(std::vector<QRectF>& rects, double x, double h, double groundY) {
    const double t = groundY - h;
    rects.emplace_back(x + 6, t, 4, h);                  // trunk
    rects.emplace_back(x, t + 6, 3, 0.45 * h);           // left arm, upright
    rects.emplace_back(x + 2, groundY - 0.38 * h, 5, 3); // left arm, joint
    rects.emplace_back(x + 13, t + 3, 3, 0.43 * h);      // right arm, upright
    rects.emplace_back(x + 9, groundY - 0.52 * h, 6, 3); // right arm, joint
}

void drawCactus(QPainter& painter, const Obstacle& obstacle, double groundY) {
    thread_local std::vector<QRectF> rects;
    rects.clear();
    addCactus(rects, obstacle.x, obstacle.height, groundY);
    if (obstacle.clustered) {
        const int n = std::max(static_cast<int>((obstacle.width - 2) / cactusSpacing), 2);
        for (int i = 1; i <= n - 1; ++i) {
            addCactus(rects, obstacle.x + cactusSpacing * i, clusterShrink * obstacle.height, groundY);
        }
    }
    PixelDino::fillFigure(painter, rects, ViewPalette::white(0.82));
}

void drawDinosaur(QPainter& painter, const Runner& runner, double groundY) {
    const bool running = runner.phase() == RunPhase::running;
    const bool onGround = runner.height() <= 0;
    if (runner.downHeld() && onGround && running) {
        PixelDino::drawDucking(painter, QPointF(Runner::dinoX, groundY - Runner::duckHeight),
                               static_cast<int64_t>(runner.elapsed() * duckingFeetFrequency));
        return;
    }

    PixelDino::Rows feet = PixelDino::feetRest;
    if (running && onGround) {
        const bool even = (static_cast<int64_t>(runner.elapsed() * standingFeetFrequency) & 1) == 0;
        feet = even ? PixelDino::Rows(PixelDino::feetA) : PixelDino::Rows(PixelDino::feetB);
    }
    const double top = groundY - Runner::dinoHeight - runner.height();
    thread_local std::vector<QRectF> rects;
    rects.clear();
    PixelDino::addStanding(rects, feet, QPointF(Runner::dinoX, top), standingPixel);
    PixelDino::fillFigure(painter, rects, QColor::fromRgbF(0.92f, 0.92f, 0.92f, 1));

    if (runner.phase() == RunPhase::over) {
        // An X over the eye (body row 2, column 10): two strokes across a 3.4-point square.
        QPainterPath mark;
        mark.moveTo(65, top + 3.4);
        mark.lineTo(68.4, top + 6.8);
        mark.moveTo(68.4, top + 3.4);
        mark.lineTo(65, top + 6.8);
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing, true);
        painter.strokePath(mark, flatPen(Qt::black, 1.36));
        painter.restore();
    }
}

} // namespace

void RunwayPainter::paintCanvas(QPainter& painter, const Runner& runner, QSizeF size) {
    if (size.width() <= 0 || size.height() <= 0) {
        return;
    }
    const double s = size.width() / worldWidth;
    const double groundY = size.height() / s - groundMargin;

    painter.save();
    painter.scale(s, s);
    drawLandscape(painter, runner.distance(), groundY);
    for (const Obstacle& obstacle : runner.obstacles()) {
        if (obstacle.kind == ObstacleKind::cactus) {
            drawCactus(painter, obstacle, groundY);
        } else {
            PixelDino::drawFlyer(painter, QPointF(obstacle.x, groundY - obstacle.elevation - obstacle.height),
                                 static_cast<int64_t>(runner.elapsed() * flyerWingFrequency));
        }
    }
    drawDinosaur(painter, runner, groundY);
    if (runner.phase() == RunPhase::running && runner.height() <= 0) {
        painter.fillRect(QRectF(dustX - std::fmod(runner.distance(), dustPeriod), groundY - 2, dustWidth, 1),
                         ViewPalette::white(0.3));
    }
    painter.restore();
}

void RunwayPainter::paintFrame(QPainter& painter, const Runner& runner, QSizeF size) {
    if (runner.phase() != RunPhase::paused) {
        paintCanvas(painter, runner, size);
        return;
    }
    const double dpr = painter.device()->devicePixelRatioF();
    QImage layer((size * dpr).toSize(), QImage::Format_ARGB32_Premultiplied);
    layer.setDevicePixelRatio(dpr);
    layer.fill(Qt::transparent);
    {
        QPainter layerPainter(&layer);
        paintCanvas(layerPainter, runner, size);
    }
    painter.save();
    painter.setOpacity(pausedOpacity);
    painter.drawImage(QPointF(0, 0), layer);
    painter.restore();
}

} // namespace vantrel
