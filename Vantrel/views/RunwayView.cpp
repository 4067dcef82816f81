#include "Vantrel/views/RunwayView.h"

#include "Vantrel/GameStore.h"
#include "Vantrel/pixels/PixelDino.h"
#include "Vantrel/pixels/RetroFont.h"
#include "Vantrel/views/PaintedButton.h"
#include "Vantrel/views/ViewAccessibility.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace vantrel {

namespace {

QColor white(double opacity) {
    return QColor::fromRgbF(1, 1, 1, static_cast<float>(opacity));
}

// Pixel-font sizes of the overlay texts, in view points (they do not scale).
constexpr int headlineSize = 11;
constexpr int roomyHeadlineSize = 13;
constexpr int subtitleSize = 7;
constexpr int hintSize = 6;
constexpr int readySize = 10;
constexpr int awardSize = 7;
constexpr int duckHintSize = 6;

constexpr double cardLeading = 119;   // world points: the card starts right of the dinosaur
constexpr double cardBottom = 21;     // world points of padding under the card
constexpr double cardPaddingY = 12;   // view points above and below the card's texts
constexpr double cardLineSpacing = 4; // view points between the card's lines
constexpr double hintTopPadding = 5;
constexpr double readyBottomPadding = 20;
constexpr double noticeTop = 4;

constexpr double standingPixel = 1.7;
constexpr double speckSpacing = 27.3;
constexpr double cloudSpacing = 187;
constexpr double cloudWrap = 561;
constexpr double cloudDrift = 0.13; // of the ground's speed
constexpr double dustPeriod = 12;

QPen flatPen(const QColor& color, double width) {
    QPen pen(color, width);
    pen.setCapStyle(Qt::FlatCap);
    pen.setJoinStyle(Qt::MiterJoin);
    return pen;
}

void drawLandscape(QPainter& painter, double distance, double groundY) {
    // The ground: a one-point line on groundY + 0.5, filled as the rectangle it covers.
    // Qt strokes an antialiased line pixel by pixel and hands so many spans to its
    // worker threads that the handover cost more than drawing the rest of the frame.
    painter.fillRect(QRectF(0, groundY, RunwayView::worldWidth, 1), white(0.24));

    const QColor speck = white(0.2);
    const double speckShift = std::fmod(distance, speckSpacing);
    for (int i = 0; i <= 24; ++i) {
        const double x = i * speckSpacing - speckShift;
        const double y = groundY + (i % 2 == 0 ? 5 : 8);
        const double width = i % 3 == 0 ? 4 : 1.5;
        painter.fillRect(QRectF(x, y, width, 1), speck);
    }

    painter.setPen(flatPen(white(0.1), 1));
    const double cloudShift = std::fmod(distance * cloudDrift, cloudWrap);
    for (int i = 0; i <= 2; ++i) {
        const double x0 = i * cloudSpacing + 130 - cloudShift;
        const double top = i % 2 == 0 ? 15 : 29;
        const QPointF points[] = {
            {x0, top + 6},  {x0 + 6, top + 6},  {x0 + 6, top + 3},  {x0 + 11, top + 3}, {x0 + 11, top},
            {x0 + 18, top}, {x0 + 18, top + 3}, {x0 + 23, top + 3}, {x0 + 23, top + 6}, {x0 + 29, top + 6},
        };
        painter.drawPolyline(points, std::size(points));
    }
}

void addCactus(QPainterPath& path, double x, double h, double groundY) {
    const double t = groundY - h;
    path.addRect(QRectF(x + 6, t, 4, h));                  // trunk
    path.addRect(QRectF(x, t + 6, 3, 0.45 * h));           // left arm, upright
    path.addRect(QRectF(x + 2, groundY - 0.38 * h, 5, 3)); // left arm, joint
    path.addRect(QRectF(x + 13, t + 3, 3, 0.43 * h));      // right arm, upright
    path.addRect(QRectF(x + 9, groundY - 0.52 * h, 6, 3)); // right arm, joint
}

void drawCactus(QPainter& painter, const Obstacle& obstacle, double groundY) {
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    addCactus(path, obstacle.x, obstacle.height, groundY);
    if (obstacle.clustered) {
        const int n = std::max(static_cast<int>((obstacle.width - 2) / 14), 2);
        for (int i = 1; i <= n - 1; ++i) {
            addCactus(path, obstacle.x + 14.0 * i, 0.8 * obstacle.height, groundY);
        }
    }
    PixelDino::fillFigure(painter, path, white(0.82));
}

void drawDinosaur(QPainter& painter, const Runner& runner, double groundY) {
    const bool running = runner.phase() == RunPhase::running;
    const bool onGround = runner.height() <= 0;
    if (runner.downHeld() && onGround && running) {
        PixelDino::drawDucking(painter, QPointF(Runner::dinoX, groundY - Runner::duckHeight),
                               static_cast<int64_t>(runner.elapsed() * 12));
        return;
    }

    PixelDino::Rows feet = PixelDino::feetRest;
    if (running && onGround) {
        const bool even = (static_cast<int64_t>(runner.elapsed() * 10) & 1) == 0;
        feet = even ? PixelDino::Rows(PixelDino::feetA) : PixelDino::Rows(PixelDino::feetB);
    }
    const double top = groundY - Runner::dinoHeight - runner.height();
    PixelDino::fillFigure(painter, PixelDino::standingPath(feet, QPointF(Runner::dinoX, top), standingPixel),
                          QColor::fromRgbF(0.92f, 0.92f, 0.92f, 1));

    if (runner.phase() == RunPhase::over) {
        // An X over the eye (body row 2, column 10).
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

struct RunwayView::CardLines {
    QString headline;
    int headlineSize = 0;
    QColor headlineColor;
    QString subtitle;
    QString hint; // empty when there is none
};

RunwayView::RunwayView(GameStore& store, std::function<void()> action, QColor mint, QWidget* parent)
    : QWidget(parent), m_store(store), m_action(std::move(action)), m_mint(mint),
      m_shownPhase(store.runner().phase()) {
    installViewAccessibility();
    setObjectName(QStringLiteral("runway"));
    m_card = new PaintedButton(
        PaintedButton::Look::plain,
        [this](QPainter& painter, const QRectF& rect) { paintCard(painter, rect); }, this);
    m_card->setObjectName(QStringLiteral("card"));
    connect(m_card, &QAbstractButton::clicked, this, &RunwayView::performAction);

    connect(&m_store, &GameStore::runnerChanged, this, &RunwayView::onRunnerChanged);
    connect(&m_store, &GameStore::roomyChanged, this, &RunwayView::layoutCard);
    connect(&m_store, &GameStore::isNewBestChanged, this, &RunwayView::layoutCard);
    for (auto signal : {&GameStore::awardChanged, &GameStore::awardRemainingChanged,
                        &GameStore::duckHintRemainingChanged}) {
        connect(&m_store, signal, this, qOverload<>(&QWidget::update));
    }
    layoutCard();
}

QString RunwayView::headline(RunPhase phase, bool isNewBest) {
    switch (phase) {
    case RunPhase::ready:
        return QStringLiteral("READY, PLAYER?");
    case RunPhase::running:
        return {};
    case RunPhase::paused:
        return QStringLiteral("TAKE YOUR TIME");
    case RunPhase::over:
        return isNewBest ? QStringLiteral("NEW HIGH SCORE!") : QStringLiteral("ONE MORE RUN?");
    }
    return {};
}

QString RunwayView::subtitle(RunPhase phase, int64_t score) {
    switch (phase) {
    case RunPhase::ready:
        return QStringLiteral("SPACE TO START");
    case RunPhase::running:
        return {};
    case RunPhase::paused:
        return QStringLiteral("SPACE TO RESUME  /  R TO RESET");
    case RunPhase::over:
        return QString::number(score) + QStringLiteral(" PTS  /  SPACE TO RETRY");
    }
    return {};
}

QString RunwayView::actionName(RunPhase phase, int64_t score) {
    switch (phase) {
    case RunPhase::ready:
        return QStringLiteral("Start game");
    case RunPhase::running:
        return QStringLiteral("Jump");
    case RunPhase::paused:
        return QStringLiteral("Resume game");
    case RunPhase::over:
        return QStringLiteral("Play again. Score ") + QString::number(score);
    }
    return {};
}

QString RunwayView::accessibleActionName() const {
    return actionName(m_store.runner().phase(), m_store.runner().score());
}

QString RunwayView::notice() const {
    const Runner& runner = m_store.runner();
    if (runner.phase() != RunPhase::running || runner.resumeGrace() > 0) {
        return {};
    }
    if (m_store.awardRemaining() > 0 && m_store.award()) {
        const ScoreAward award = *m_store.award();
        return award.kind == ScoreAward::Kind::newBest
                   ? QStringLiteral("NEW BEST!")
                   : QString::number(award.hundred) + QStringLiteral(" POINTS!");
    }
    if (m_store.duckHintRemaining() > 0) {
        return QStringLiteral("↓ DUCK UNDER FLYERS");
    }
    return {};
}

void RunwayView::performAction() {
    if (m_action) {
        m_action();
    }
}

QRectF RunwayView::cardRect() const {
    return m_card->isVisibleTo(this) ? QRectF(m_card->geometry()) : QRectF();
}

void RunwayView::paintCanvas(QPainter& painter, const Runner& runner, QSizeF size) {
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
                                 static_cast<int64_t>(runner.elapsed() * 7));
        }
    }
    drawDinosaur(painter, runner, groundY);
    if (runner.phase() == RunPhase::running && runner.height() <= 0) {
        painter.fillRect(QRectF(36 - std::fmod(runner.distance(), dustPeriod), groundY - 2, 5, 1),
                         white(0.3));
    }
    painter.restore();
}

void RunwayView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const Runner& runner = m_store.runner();
    if (runner.phase() == RunPhase::paused) {
        // The whole canvas fades as one layer, so overlapping figures do not
        // show through each other.
        const double dpr = painter.device()->devicePixelRatioF();
        QImage layer((QSizeF(size()) * dpr).toSize(), QImage::Format_ARGB32_Premultiplied);
        layer.setDevicePixelRatio(dpr);
        layer.fill(Qt::transparent);
        {
            QPainter layerPainter(&layer);
            paintCanvas(layerPainter, runner, size());
        }
        painter.setOpacity(0.3);
        painter.drawImage(QPointF(0, 0), layer);
        painter.setOpacity(1);
    } else {
        paintCanvas(painter, runner, size());
    }
    paintOverlay(painter);
}

void RunwayView::paintOverlay(QPainter& painter) const {
    const Runner& runner = m_store.runner();
    if (runner.phase() != RunPhase::running) {
        return;
    }
    if (runner.resumeGrace() > 0) {
        const QString text = QStringLiteral("READY...");
        const QSizeF box = RetroFont::textSize(text, readySize);
        const double top = std::round((height() - box.height() - readyBottomPadding) / 2);
        RetroFont::drawText(painter, QPointF(std::round((width() - box.width()) / 2), top), text, readySize,
                            white(0.8));
        return;
    }
    const QString text = notice();
    if (text.isEmpty()) {
        return;
    }
    const bool award = m_store.awardRemaining() > 0 && m_store.award();
    const int size = award ? awardSize : duckHintSize;
    QColor color = m_mint;
    if (!award) {
        color.setAlphaF(0.8f * m_mint.alphaF());
    }
    const QSizeF box = RetroFont::textSize(text, size);
    RetroFont::drawText(painter, QPointF(std::round(width() - box.width()), noticeTop), text, size, color);
}

RunwayView::CardLines RunwayView::cardLines() const {
    const RunPhase phase = m_store.runner().phase();
    CardLines lines;
    lines.headline = headline(phase, m_store.isNewBest());
    lines.headlineSize = m_store.roomy() ? roomyHeadlineSize : headlineSize;
    lines.headlineColor = phase == RunPhase::over && m_store.isNewBest() ? m_mint : white(0.92);
    lines.subtitle = subtitle(phase, m_store.runner().score());
    if (phase == RunPhase::ready) {
        lines.hint = QStringLiteral("↑ JUMP   ↓ DUCK");
    }
    return lines;
}

void RunwayView::layoutCard() {
    const RunPhase phase = m_store.runner().phase();
    m_shownPhase = phase;
    if (phase == RunPhase::running) {
        m_card->hide();
        update();
        return;
    }
    const CardLines lines = cardLines();
    double stack = RetroFont::textSize(lines.headline, lines.headlineSize).height() + cardLineSpacing +
                   RetroFont::textSize(lines.subtitle, subtitleSize).height();
    if (!lines.hint.isEmpty()) {
        stack += cardLineSpacing + hintTopPadding + RetroFont::textSize(lines.hint, hintSize).height();
    }
    const double s = width() / worldWidth;
    const double cardHeight = stack + 2 * cardPaddingY;
    const double top = std::round((height() - cardHeight - cardBottom * s) / 2);
    const double left = std::round(cardLeading * s);
    m_card->setGeometry(QRectF(left, top, std::max(0.0, width() - left), cardHeight).toAlignedRect());
    m_card->setAccessibleName(lines.headline);
    m_card->setAccessibleDescription(lines.subtitle);
    m_card->show();
    m_card->update();
    update();
}

void RunwayView::paintCard(QPainter& painter, const QRectF&) const {
    const CardLines lines = cardLines();
    double y = cardPaddingY;
    RetroFont::drawText(painter, QPointF(0, y), lines.headline, lines.headlineSize, lines.headlineColor);
    y += RetroFont::textSize(lines.headline, lines.headlineSize).height() + cardLineSpacing;
    RetroFont::drawText(painter, QPointF(0, y), lines.subtitle, subtitleSize, white(0.48));
    if (!lines.hint.isEmpty()) {
        y += RetroFont::textSize(lines.subtitle, subtitleSize).height() + cardLineSpacing + hintTopPadding;
        RetroFont::drawText(painter, QPointF(0, y), lines.hint, hintSize, white(0.32));
    }
}

void RunwayView::onRunnerChanged() {
    const RunPhase phase = m_store.runner().phase();
    if (phase != m_shownPhase) {
        layoutCard();
    } else if (phase == RunPhase::over) {
        m_card->update(); // the score line
    }
    update();
}

void RunwayView::resizeEvent(QResizeEvent*) {
    layoutCard();
}

void RunwayView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && m_store.runner().phase() == RunPhase::running) {
        performAction();
        event->accept();
        return;
    }
    QWidget::mousePressEvent(event);
}

} // namespace vantrel
