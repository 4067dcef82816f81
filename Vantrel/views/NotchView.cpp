#include "Vantrel/views/NotchView.h"

#include "Vantrel/GameStore.h"
#include "Vantrel/panel/PanelLayout.h"
#include "Vantrel/pixels/NotchShape.h"
#include "Vantrel/pixels/PeekingDinoGlyph.h"
#include "Vantrel/pixels/PixelIcons.h"
#include "Vantrel/pixels/RetroFont.h"
#include "Vantrel/views/KeyHint.h"
#include "Vantrel/views/PaintedButton.h"
#include "Vantrel/views/PaintedItem.h"
#include "Vantrel/views/RunwayView.h"
#include "Vantrel/views/ViewPalette.h"

#include <QPainter>
#include <QVariantAnimation>

#include <algorithm>
#include <cmath>

namespace vantrel {

namespace {

using L = PanelLayout;

// The ordinary runway shows the world at one world point to the point.
static_assert(L::runwayWidth == RunwayPainter::worldWidth);

// The control row's items, in points; the row's height and the paddings are PanelLayout's.
constexpr int scoreTextSize = 8;       // pixel-font size of the scores
constexpr double controlSpacing = 8;   // between the key hints; half of it between the icon buttons
constexpr double iconButtonWidth = 16; // pause, sound, options

// The speed meter: five bars, bar i (from 1) is 3 wide and 2i + 3 high, 2 apart.
constexpr int speedLevels = 5;
constexpr double barWidth = 3;
constexpr double barSpacing = 2;
constexpr double barBaseHeight = 3; // bar i is barBaseHeight + i * barStep high
constexpr double barStep = 2;
constexpr double meterWidth = speedLevels * barWidth + (speedLevels - 1) * barSpacing;
constexpr double meterHeight = barBaseHeight + speedLevels * barStep;

constexpr int radiusAnimationMilliseconds = 250; // collapsed to expanded corners, ease-out

const QColor controlColor = ViewPalette::white(0.47);

QString fiveDigits(qint64 value) {
    return QString::asprintf("%05lld", static_cast<long long>(value));
}

// Draws `text` in the score font, vertically centred in `rect` and aligned
// to its right edge (trailing) or left edge (leading).
void drawScore(QPainter& painter, const QRectF& rect, const QString& text, const QColor& color,
               bool trailing) {
    const QSizeF box = RetroFont::textSize(text, scoreTextSize);
    const double x = trailing ? std::round(rect.right() - box.width()) : rect.left();
    RetroFont::drawText(painter, QPointF(x, std::round(rect.top() + (rect.height() - box.height()) / 2)),
                        text, scoreTextSize, color);
}

void drawIconCentred(QPainter& painter, const QRectF& rect, PixelIcon icon) {
    const QSizeF size = PixelIcons::size(icon);
    PixelIcons::draw(painter, icon,
                     QPointF(std::round(rect.left() + (rect.width() - size.width()) / 2),
                             std::round(rect.top() + (rect.height() - size.height()) / 2)),
                     controlColor);
}

} // namespace

QColor NotchView::defaultMint() {
    return ViewPalette::defaultMint();
}

QColor NotchView::runwayMint() {
    return ViewPalette::runwayMint();
}

NotchView::NotchView(const GameStore& store, QColor arcadeMint, QWidget* parent)
    : QWidget(parent), m_store(store), m_mint(arcadeMint),
      m_radius(store.expanded() ? L::expandedRadius : L::collapsedRadius),
      m_radiusAnimation(new QVariantAnimation(this)) {
    setObjectName(QStringLiteral("notchView"));
    m_radiusAnimation->setDuration(radiusAnimationMilliseconds);
    m_radiusAnimation->setEasingCurve(QEasingCurve::OutCubic);
    connect(m_radiusAnimation, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { setShapeRadius(value.toDouble()); });

    m_peekButton = new PaintedButton(
        PaintedButton::Look::plain, [](QPainter&, const QRectF&) {}, this);
    m_peekButton->setObjectName(QStringLiteral("peekButton"));
    m_peekGlyph = new PeekingDinoGlyph(m_peekButton);
    connect(m_peekButton, &QAbstractButton::clicked, this, &NotchView::openRequested);

    buildScores();
    m_runway = new RunwayView(m_store, runwayMint(), this);
    connect(m_runway, &RunwayView::actRequested, this, &NotchView::actRequested);
    buildControls();

    connect(&m_store, &GameStore::runnerChanged, this, &NotchView::onRunnerChanged);
    connect(&m_store, &GameStore::phaseChanged, this, &NotchView::onPhaseChanged);
    connect(&m_store, &GameStore::bestChanged, this, [this] {
        m_bestScore->refresh();
        syncBestText();
    });
    connect(&m_store, &GameStore::isNewBestChanged, m_bestScore, &PaintedItem::refresh);
    // The banner's time runs down on every frame; the score only changes colour as it starts and ends.
    m_shownAward = m_store.awardRemaining() > 0;
    connect(&m_store, &GameStore::awardRemainingChanged, this, [this] {
        if ((m_store.awardRemaining() > 0) != m_shownAward) {
            m_shownAward = !m_shownAward;
            m_currentScore->refresh();
        }
    });
    connect(&m_store, &GameStore::soundEnabledChanged, this, [this] {
        m_soundButton->update();
        syncSoundTexts();
    });
    connect(&m_store, &GameStore::shortcutAvailableChanged, this, &NotchView::syncPhaseTexts);
    connect(&m_store, &GameStore::expandedChanged, this, &NotchView::onExpandedChanged);
    for (auto signal : {&GameStore::peekingChanged, &GameStore::notchHeightChanged,
                        &GameStore::notchWidthChanged, &GameStore::roomyChanged}) {
        connect(&m_store, signal, this, &NotchView::relayout);
    }

    syncPhaseTexts();
    syncBestText();
    syncSoundTexts();
    syncRunTexts();
    relayout();
}

NotchView::~NotchView() = default;

void NotchView::setFramePresenter(platform::FramePresenter* presenter) {
    m_runway->setFramePresenter(presenter);
    for (PaintedItem* item : {m_bestScore, m_currentScore, m_speedMeter}) {
        item->setFramePresenter(presenter);
    }
}

void NotchView::buildScores() {
    m_bestScore = new PaintedItem(
        [this](QPainter& painter, const QRectF& rect) {
            drawScore(painter, rect, QStringLiteral("HI ") + fiveDigits(m_store.best()),
                      m_store.isNewBest() ? m_mint : ViewPalette::white(0.55), true);
        },
        this);
    m_bestScore->setObjectName(QStringLiteral("bestScore"));
    m_currentScore = new PaintedItem(
        [this](QPainter& painter, const QRectF& rect) {
            drawScore(painter, rect, fiveDigits(m_store.runner().score()),
                      m_store.awardRemaining() > 0 ? m_mint : ViewPalette::white(0.92), false);
        },
        this);
    m_currentScore->setObjectName(QStringLiteral("currentScore"));
    // Both lie on the body's black, between the ears: they paint it themselves.
    m_bestScore->setOpaqueBackground(Qt::black);
    m_currentScore->setOpaqueBackground(Qt::black);
}

void NotchView::buildControls() {
    m_spaceHint = new PaintedButton(
        PaintedButton::Look::quiet,
        [this](QPainter& painter, const QRectF& rect) {
            KeyHint::paint(painter, rect, QStringLiteral("SPACE"), spaceLabel(), controlColor);
        },
        this);
    m_spaceHint->setObjectName(QStringLiteral("spaceHint"));
    connect(m_spaceHint, &QAbstractButton::clicked, this, &NotchView::actRequested);

    m_downHint = new PaintedItem(
        [](QPainter& painter, const QRectF& rect) {
            KeyHint::paint(painter, rect, QStringLiteral("↓"), QStringLiteral("DUCK"), controlColor);
        },
        this);
    m_downHint->setObjectName(QStringLiteral("downHint"));
    m_downHint->setToolTip(QStringLiteral("Hold Down arrow to duck. Press Down in the air to drop faster."));
    m_downHint->setAccessibleName(QStringLiteral("↓ DUCK"));

    m_speedMeter = new PaintedItem(
        [this](QPainter& painter, const QRectF& rect) {
            const int64_t level = m_store.runner().speedLevel();
            const double bottom = std::floor(rect.top() + (rect.height() - meterHeight) / 2) + meterHeight;
            QColor lit = m_mint;
            lit.setAlphaF(0.7f * m_mint.alphaF());
            for (int i = 1; i <= speedLevels; ++i) {
                const double barHeight = barBaseHeight + i * barStep;
                const QRectF bar(rect.left() + (i - 1) * (barWidth + barSpacing), bottom - barHeight,
                                 barWidth, barHeight);
                painter.fillRect(bar, level >= i ? lit : ViewPalette::white(0.12));
            }
        },
        this);
    m_speedMeter->setObjectName(QStringLiteral("speedMeter"));
    m_speedMeter->setOpaqueBackground(Qt::black); // on the body, well above its rounded corners

    m_pauseButton = new PaintedButton(
        PaintedButton::Look::quiet,
        [this](QPainter& painter, const QRectF& rect) {
            drawIconCentred(painter, rect,
                            m_store.runner().phase() == RunPhase::paused ? PixelIcon::play
                                                                         : PixelIcon::pause);
        },
        this);
    m_pauseButton->setObjectName(QStringLiteral("pauseButton"));
    m_pauseButton->setToolTip(QStringLiteral("Pause or resume (P)"));
    connect(m_pauseButton, &QAbstractButton::clicked, this, &NotchView::pauseRequested);

    m_soundButton = new PaintedButton(
        PaintedButton::Look::quiet,
        [this](QPainter& painter, const QRectF& rect) {
            drawIconCentred(painter, rect,
                            m_store.soundEnabled() ? PixelIcon::speakerOn : PixelIcon::speakerOff);
        },
        this);
    m_soundButton->setObjectName(QStringLiteral("soundButton"));
    connect(m_soundButton, &QAbstractButton::clicked, this, &NotchView::soundToggleRequested);

    m_optionsButton = new PaintedButton(
        PaintedButton::Look::quiet,
        [](QPainter& painter, const QRectF& rect) { drawIconCentred(painter, rect, PixelIcon::ellipsis); },
        this);
    m_optionsButton->setObjectName(QStringLiteral("optionsButton"));
    m_optionsButton->setToolTip(QStringLiteral("Options"));
    m_optionsButton->setAccessibleName(QStringLiteral("Options"));
    connect(m_optionsButton, &QAbstractButton::clicked, this, [this] {
        emit optionsRequested(m_optionsButton->mapToGlobal(QPoint(0, m_optionsButton->height())));
    });

    m_escHint = new PaintedButton(
        PaintedButton::Look::quiet,
        [](QPainter& painter, const QRectF& rect) {
            KeyHint::paint(painter, rect, QStringLiteral("ESC"), QStringLiteral("BACK"), controlColor);
        },
        this);
    m_escHint->setObjectName(QStringLiteral("escHint"));
    m_escHint->setAccessibleName(QStringLiteral("Close game and return to work"));
    connect(m_escHint, &QAbstractButton::clicked, this, &NotchView::closeRequested);
}

QString NotchView::spaceLabel() const {
    switch (m_store.runner().phase()) {
    case RunPhase::paused:
        return QStringLiteral("RESUME");
    case RunPhase::over:
        return QStringLiteral("RETRY");
    case RunPhase::ready:
    case RunPhase::running:
        break;
    }
    return QStringLiteral("JUMP");
}

QString NotchView::peekToolTip() const {
    QString tip = m_store.runner().phase() == RunPhase::paused ? QStringLiteral("Click to resume")
                                                               : QStringLiteral("Click to play");
    if (m_store.shortcutAvailable()) {
        tip += QStringLiteral(" · Alt+Super+Space");
    }
    return tip;
}

QString NotchView::peekAccessibleName() const {
    return m_store.runner().phase() == RunPhase::paused ? QStringLiteral("Resume Vantrel")
                                                        : QStringLiteral("Play Vantrel");
}

// The texts that follow the phase (and the shortcut's availability).
void NotchView::syncPhaseTexts() {
    const bool paused = m_store.runner().phase() == RunPhase::paused;
    m_peekButton->setToolTipIfChanged(peekToolTip());
    m_peekButton->setAccessibleNameIfChanged(peekAccessibleName());
    m_spaceHint->setAccessibleNameIfChanged(paused ? QStringLiteral("Resume game")
                                                   : QStringLiteral("Jump or start game"));
    m_pauseButton->setAccessibleNameIfChanged(paused ? QStringLiteral("Resume") : QStringLiteral("Pause"));
}

void NotchView::syncBestText() {
    m_bestScore->setAccessibleNameIfChanged(QStringLiteral("Best score %1").arg(m_store.best()));
}

void NotchView::syncSoundTexts() {
    const QString sound =
        m_store.soundEnabled() ? QStringLiteral("Mute sound") : QStringLiteral("Enable sound");
    m_soundButton->setToolTipIfChanged(sound);
    m_soundButton->setAccessibleNameIfChanged(sound);
}

// The score and the speed level: repainted and renamed only when they change,
// which is a few times a second at most, not every frame.
void NotchView::syncRunTexts() {
    const int64_t score = m_store.runner().score();
    if (score != m_shownScore) {
        m_shownScore = score;
        m_currentScore->setAccessibleNameIfChanged(QStringLiteral("Current score %1").arg(score));
        m_currentScore->refresh();
    }
    const int64_t level = m_store.runner().speedLevel();
    if (level != m_shownSpeedLevel) {
        m_shownSpeedLevel = level;
        const QString speed = QStringLiteral("Speed level %1 of 5").arg(level);
        m_speedMeter->setToolTipIfChanged(speed);
        m_speedMeter->setAccessibleNameIfChanged(speed);
        m_speedMeter->refresh();
    }
}

void NotchView::onRunnerChanged() {
    syncRunTexts();
}

void NotchView::onPhaseChanged() {
    syncPhaseTexts();
    m_pauseButton->update();
    relayout(); // the Space hint's label changes width
}

void NotchView::onExpandedChanged() {
    const double target = m_store.expanded() ? L::expandedRadius : L::collapsedRadius;
    m_radiusAnimation->stop();
    if (m_animated && isVisible()) {
        m_radiusAnimation->setStartValue(m_radius);
        m_radiusAnimation->setEndValue(target);
        m_radiusAnimation->start();
    } else {
        setShapeRadius(target);
    }
    relayout();
}

void NotchView::setShapeRadius(double radius) {
    if (radius != m_radius) {
        m_radius = radius;
        placeRunwayOnBody();
        update();
        emit shapeRadiusChanged(m_radius);
    }
}

// The runway is on the body when the rounded corners start below it and the
// ears lie outside it.
void NotchView::placeRunwayOnBody() {
    const QRect r = m_runway->geometry();
    const double radius = NotchShape{m_radius}.effectiveRadius(height());
    m_runway->setOnBody(r.left() >= L::earWidth && r.right() + 1 <= width() - L::earWidth &&
                        r.bottom() + 1 + radius <= height());
}

void NotchView::resizeEvent(QResizeEvent*) {
    relayout();
}

void NotchView::relayout() {
    const bool expanded = m_store.expanded();
    for (QWidget* w : std::initializer_list<QWidget*>{m_bestScore, m_currentScore, m_runway, m_spaceHint,
                                                      m_downHint, m_speedMeter, m_pauseButton, m_soundButton,
                                                      m_optionsButton, m_escHint}) {
        w->setVisible(expanded);
    }
    if (expanded) {
        m_peekButton->hide();
        layoutExpanded();
    } else if (m_store.peeking()) {
        // Below the notch: the lip's strip with the head centred and bottom-aligned.
        const double top = std::max(0.0, m_store.notchHeight());
        m_peekButton->setGeometry(QRectF(0, top, width(), L::lipHeight).toAlignedRect());
        m_peekGlyph->setGeometry(QRectF(std::round((width() - L::peekGlyphWidth) / 2),
                                        L::lipHeight - L::peekGlyphHeight, L::peekGlyphWidth,
                                        L::peekGlyphHeight)
                                     .toAlignedRect());
        m_peekButton->show();
    } else {
        m_peekButton->hide();
    }
    update();
}

void NotchView::layoutExpanded() {
    const double w = width();
    const double rowHeight = L::scoreRowHeight(m_store.notchHeight());
    const double rowLeft = L::bodyPaddingX + L::scoresPaddingX;
    const double rowWidth = std::max(0.0, w - 2 * rowLeft);
    const double gap = std::max(0.0, m_store.notchWidth()) + L::notchGapExtra;
    const double side = std::max(0.0, (rowWidth - gap) / 2);
    m_bestScore->setGeometry(QRectF(rowLeft, L::bodyPaddingTop, side, rowHeight).toAlignedRect());
    m_currentScore->setGeometry(
        QRectF(rowLeft + side + gap, L::bodyPaddingTop, side, rowHeight).toAlignedRect());

    // The runway fills the width between the paddings; below the control row
    // PanelLayout leaves bodyPaddingBottom for the rounded corners.
    const double runwayTop = L::bodyPaddingTop + rowHeight;
    const double runwayHeight = L::runwayHeightFor(m_store.roomy());
    m_runway->setGeometry(
        QRectF(L::bodyPaddingX, runwayTop, std::max(0.0, w - 2 * L::bodyPaddingX), runwayHeight)
            .toAlignedRect());
    placeRunwayOnBody();
    layoutControlRow(runwayTop + runwayHeight + L::controlRowGap);
}

void NotchView::layoutControlRow(double top) {
    const double left = L::bodyPaddingX;
    const double right = width() - L::bodyPaddingX;
    auto place = [top](QWidget* item, double x, double itemWidth) {
        item->setGeometry(QRectF(x, top, itemWidth, L::controlRowHeight).toAlignedRect());
    };

    double x = left;
    const double spaceWidth = std::ceil(KeyHint::size(QStringLiteral("SPACE"), spaceLabel()).width());
    place(m_spaceHint, x, spaceWidth);
    x += spaceWidth + controlSpacing;
    place(m_downHint, x, std::ceil(KeyHint::size(QStringLiteral("↓"), QStringLiteral("DUCK")).width()));

    // From the trailing edge back: ESC, options, sound, pause, speed meter.
    double r = right;
    const double escWidth = std::ceil(KeyHint::size(QStringLiteral("ESC"), QStringLiteral("BACK")).width());
    r -= escWidth;
    place(m_escHint, r, escWidth);
    for (QWidget* button : {static_cast<QWidget*>(m_optionsButton), static_cast<QWidget*>(m_soundButton),
                            static_cast<QWidget*>(m_pauseButton)}) {
        r -= controlSpacing / 2 + iconButtonWidth;
        place(button, r, iconButtonWidth);
    }
    r -= controlSpacing + meterWidth;
    place(m_speedMeter, r, meterWidth);
}

void NotchView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.fillPath(NotchShape{m_radius}.path(QRectF(rect())), Qt::black);
}

} // namespace vantrel
