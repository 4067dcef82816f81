#include "Vantrel/views/RunwayView.h"

#include "Vantrel/GameStore.h"
#include "Vantrel/pixels/RetroFont.h"
#include "Vantrel/views/PaintedButton.h"
#include "Vantrel/views/ViewAccessibility.h"
#include "Vantrel/views/ViewPalette.h"

#include <QMouseEvent>
#include <QPainter>

#include <cmath>

namespace vantrel {

namespace {

// Pixel-font sizes of the overlay texts, in view points (they do not scale).
constexpr int headlineSize = 11;
constexpr int roomyHeadlineSize = 13;
constexpr int subtitleSize = 7;
constexpr int hintSize = 6;
constexpr int readySize = 10;
constexpr int awardSize = 7;
constexpr int duckHintSize = 6;

constexpr double cardLeading = 119;       // world points: the card starts right of the dinosaur
constexpr double cardBottom = 21;         // world points of padding under the card
constexpr double cardPaddingY = 12;       // view points above and below the card's texts
constexpr double cardLineSpacing = 4;     // view points between the card's lines
constexpr double hintTopPadding = 5;      // view points more above the ready card's key hint
constexpr double readyBottomPadding = 20; // view points: "READY..." sits this much above the centre, doubled
constexpr double noticeTop = 4;           // view points from the top to the award or duck notice

} // namespace

struct RunwayView::CardLines {
    QString headline;
    int headlineSize = 0;
    QColor headlineColor;
    QString subtitle;
    QString hint; // empty when there is none
};

RunwayView::RunwayView(const GameStore& store, QColor mint, QWidget* parent)
    : QWidget(parent), m_store(store), m_mint(mint), m_direct(new DirectFrames(*this)) {
    installViewAccessibility();
    setObjectName(QStringLiteral("runway"));
    m_card = new PaintedButton(
        PaintedButton::Look::plain,
        [this](QPainter& painter, const QRectF& rect) { paintCard(painter, rect); }, this);
    m_card->setObjectName(QStringLiteral("card"));
    connect(m_card, &QAbstractButton::clicked, this, &RunwayView::performAction);

    connect(&m_store, &GameStore::runnerChanged, this, &RunwayView::onRunnerChanged);
    connect(&m_store, &GameStore::phaseChanged, this, &RunwayView::layoutCard);
    connect(&m_store, &GameStore::roomyChanged, this, &RunwayView::layoutCard);
    connect(&m_store, &GameStore::isNewBestChanged, this, &RunwayView::layoutCard);
    for (auto signal : {&GameStore::awardChanged, &GameStore::awardRemainingChanged,
                        &GameStore::duckHintRemainingChanged}) {
        connect(&m_store, signal, this, &RunwayView::onOverlayChanged);
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
    emit actRequested();
}

QRectF RunwayView::cardRect() const {
    return m_card->isVisibleTo(this) ? QRectF(m_card->geometry()) : QRectF();
}

void RunwayView::paintCanvas(QPainter& painter, const Runner& runner, QSizeF size) {
    RunwayPainter::paintCanvas(painter, runner, size);
}

void RunwayView::setOnBody(bool onBody) {
    setAttribute(Qt::WA_OpaquePaintEvent, onBody);
}

void RunwayView::paintEvent(QPaintEvent*) {
    m_direct->painted();
    QPainter painter(this);
    paintContent(painter);
}

void RunwayView::paintContent(QPainter& painter) const {
    if (testAttribute(Qt::WA_OpaquePaintEvent)) {
        painter.fillRect(rect(), Qt::black);
    }
    RunwayPainter::paintFrame(painter, m_store.runner(), size());
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
                            ViewPalette::white(0.8));
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
    lines.headlineColor = phase == RunPhase::over && m_store.isNewBest() ? m_mint : ViewPalette::white(0.92);
    lines.subtitle = subtitle(phase, m_store.runner().score());
    if (phase == RunPhase::ready) {
        lines.hint = QStringLiteral("↑ JUMP   ↓ DUCK");
    }
    return lines;
}

void RunwayView::layoutCard() {
    const RunPhase phase = m_store.runner().phase();
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
    RetroFont::drawText(painter, QPointF(0, y), lines.subtitle, subtitleSize, ViewPalette::white(0.48));
    if (!lines.hint.isEmpty()) {
        y += RetroFont::textSize(lines.subtitle, subtitleSize).height() + cardLineSpacing + hintTopPadding;
        RetroFont::drawText(painter, QPointF(0, y), lines.hint, hintSize, ViewPalette::white(0.32));
    }
}

// Every frame while running. A change of phase re-lays the card through phaseChanged.
void RunwayView::onRunnerChanged() {
    if (m_store.runner().phase() == RunPhase::over) {
        m_card->update(); // the score line
    }
    // Straight to the window only while running (the card, a shown child, also keeps it out).
    const bool running = m_store.runner().phase() == RunPhase::running;
    if (!running || !m_direct->present([this](QPainter& painter) { paintContent(painter); })) {
        update();
    }
}

// The notices change on the store's tick before the runner does, so a frame
// presented on runnerChanged shows them; otherwise they repaint the view.
void RunwayView::onOverlayChanged() {
    if (!m_direct->presented() || m_store.runner().phase() != RunPhase::running) {
        update();
    }
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
