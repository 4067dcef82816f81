#include "Vantrel/onboarding/OnboardingView.h"

#include "Vantrel/Clock.h"
#include "Vantrel/pixels/NotchWelcomeIllustration.h"
#include "Vantrel/platform/MotionPreference.h"

#include <QCheckBox>
#include <QEasingCurve>
#include <QFontDatabase>
#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>

namespace vantrel {

namespace {

// Small pixel icons in the sprite style, for the welcome page's feature rows.
// 12 x 12 cells, '#' filled.
const char* const pointerIcon[] = {
    "#...........", "##....#.....", "###.......#.", "####..#.....", "#####.......", "######......",
    "###.........", "#.##...#....", "...##.......", "...##...#...", "............", "............",
};
const char* const menuBarIcon[] = {
    "############", "#..........#", "############", "#..........#", "#..........#", "#..........#",
    "#..........#", "#..........#", "#..........#", "#..........#", "#..........#", "############",
};

class PixelIcon : public QWidget {
public:
    PixelIcon(const char* const* rows, int count, QWidget* parent = nullptr)
        : QWidget(parent), m_rows(rows), m_count(count) {
        setFixedSize(28, 28);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const double cell = 2;
        const QPointF origin((width() - cell * 12) / 2, (height() - cell * m_count) / 2);
        QPainterPath path;
        path.setFillRule(Qt::WindingFill);
        for (int row = 0; row < m_count; ++row) {
            for (int column = 0; m_rows[row][column] != '\0'; ++column) {
                if (m_rows[row][column] == '#') {
                    path.addRect(QRectF(origin.x() + column * cell, origin.y() + row * cell, cell, cell));
                }
            }
        }
        painter.fillPath(path, palette().color(QPalette::WindowText));
    }

private:
    const char* const* m_rows;
    int m_count;
};

QLabel* label(const QString& text, int pointSize, bool bold = false, QWidget* parent = nullptr) {
    auto* l = new QLabel(text, parent);
    QFont font = l->font();
    font.setPointSize(pointSize);
    font.setBold(bold);
    l->setFont(font);
    l->setWordWrap(true);
    l->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return l;
}

QWidget* heading(const QString& title, const QString& subtitle) {
    auto* box = new QWidget;
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    QLabel* t = label(title, 22, true);
    t->setObjectName("headingTitle");
    QLabel* s = label(subtitle, 13);
    s->setObjectName("headingSubtitle");
    layout->addWidget(t);
    layout->addWidget(s);
    return box;
}

QWidget* feature(const char* const* icon, const QString& title, const QString& text) {
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    layout->addWidget(new PixelIcon(icon, 12), 0, Qt::AlignTop);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(label(title, 13, true));
    texts->addWidget(label(text, 12));
    layout->addLayout(texts, 1);
    row->setAccessibleName(title);
    row->setAccessibleDescription(text);
    return row;
}

QWidget* keyRow(const QString& keys, const QString& title, const QString& text) {
    auto* row = new QWidget;
    row->setObjectName("keyRow");
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    auto* caps = new QLabel(keys);
    caps->setObjectName("keyCaps");
    caps->setAlignment(Qt::AlignCenter);
    caps->setMinimumWidth(130);
    caps->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    caps->setStyleSheet("QLabel { border: 1px solid palette(mid); border-bottom-width: 3px;"
                        " border-radius: 5px; padding: 3px 8px; background: palette(base); }");
    layout->addWidget(caps, 0, Qt::AlignTop);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    QLabel* t = label(title, 13, true);
    t->setObjectName("keyTitle");
    QLabel* d = label(text, 12);
    d->setObjectName("keyText");
    texts->addWidget(t);
    texts->addWidget(d);
    layout->addLayout(texts, 1);
    row->setAccessibleName(title);
    row->setAccessibleDescription(keys + QStringLiteral(": ") + text);
    return row;
}

} // namespace

OnboardingView::OnboardingView(bool shortcutAvailable, const Clock& clock, std::function<void(bool)> finish,
                               QWidget* parent)
    : QWidget(parent), m_clock(clock), m_finish(std::move(finish)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(32, 24, 32, 24);
    layout->setSpacing(18);

    // Header: product name, page title, and "1 / 2".
    auto* header = new QHBoxLayout;
    QLabel* product = label(QStringLiteral("Vantrel"), 13, true);
    product->setWordWrap(false);
    m_pageTitle = label(QString(), 13);
    m_pageTitle->setWordWrap(false);
    m_counter = new QLabel;
    QFont digits = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    digits.setPointSize(12);
    m_counter->setFont(digits);
    header->addWidget(product);
    header->addWidget(m_pageTitle);
    header->addStretch(1);
    header->addWidget(m_counter);
    layout->addLayout(header);

    m_pages = new QStackedWidget;
    m_pages->addWidget(makeWelcomePage());
    m_pages->addWidget(makeControlsPage(shortcutAvailable));
    layout->addWidget(m_pages, 1);

    auto* footer = new QHBoxLayout;
    m_back = new QPushButton(tr("Back"));
    m_back->setFlat(true);
    m_back->setCursor(Qt::PointingHandCursor);
    m_back->setStyleSheet("QPushButton { border: none; color: palette(link); text-decoration: underline; }");
    m_getStarted = new QPushButton(tr("Get started"));
    m_letsPlay = new QPushButton(QStringLiteral("Let\u2019s play"));
    for (QPushButton* primary : {m_getStarted, m_letsPlay}) {
        primary->setDefault(true);
        primary->setMinimumWidth(140);
    }
    footer->addWidget(m_back);
    footer->addStretch(1);
    footer->addWidget(m_getStarted);
    footer->addWidget(m_letsPlay);
    layout->addLayout(footer);

    connect(m_getStarted, &QPushButton::clicked, this, [this] { moveTo(1); });
    connect(m_back, &QPushButton::clicked, this, [this] { moveTo(m_step - 1); });
    connect(m_letsPlay, &QPushButton::clicked, this, [this] {
        if (m_finish) {
            m_finish(true);
        }
    });

    // Page changes fade the new page in: ease-in-out over 0.18 s, a frame
    // every 16 ms (about 60 Hz) while it lasts.
    m_fadeFrames.setTimerType(Qt::PreciseTimer);
    m_fadeFrames.setInterval(std::chrono::milliseconds(16));
    connect(&m_fadeFrames, &QTimer::timeout, this, &OnboardingView::runFrame);

    m_step = -1;
    moveTo(0);
    m_fadeFrames.stop();
    m_pages->currentWidget()->setGraphicsEffect(nullptr);
}

void OnboardingView::runFrame() {
    if (!m_fadeFrames.isActive()) {
        return;
    }
    const double progress =
        std::clamp((m_clock.now() - m_fadeStart) * 1000.0 / pageChangeMilliseconds, 0.0, 1.0);
    if (progress >= 1) {
        m_fadeFrames.stop();
        m_pages->currentWidget()->setGraphicsEffect(nullptr);
        return;
    }
    if (auto* effect = qobject_cast<QGraphicsOpacityEffect*>(m_pages->currentWidget()->graphicsEffect())) {
        effect->setOpacity(QEasingCurve(QEasingCurve::InOutQuad).valueForProgress(progress));
    }
}

QWidget* OnboardingView::currentPage() const {
    return m_pages->currentWidget();
}

QWidget* OnboardingView::makeWelcomePage() {
    auto* page = new QWidget;
    page->setObjectName("welcomePage");
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(18);
    layout->addWidget(new NotchWelcomeIllustration);
    layout->addWidget(heading(QStringLiteral("A tiny break.\nRight in your notch."),
                              QStringLiteral("Jump, duck, and beat your best while you wait.")));
    layout->addWidget(feature(pointerIcon, QStringLiteral("There when you want it"),
                              QStringLiteral("Hover just below your notch. Click the dinosaur to open.")));
    layout->addWidget(feature(menuBarIcon, QStringLiteral("Quietly out of the way"),
                              QStringLiteral("Lives in your menu bar. Escape takes you back to work.")));
    layout->addStretch(1);
    return page;
}

void OnboardingView::setShortcutText(const QString& text) {
    m_shortcutText->setText(text);
    if (QWidget* row = m_shortcutText->parentWidget()) {
        row->setAccessibleDescription(QStringLiteral("Alt+Super+Space: ") + text);
    }
}

QWidget* OnboardingView::makeControlsPage(bool shortcutAvailable) {
    auto* page = new QWidget;
    page->setObjectName("controlsPage");
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(16);
    layout->addWidget(heading(QStringLiteral("Small game.\nSimple controls."),
                              QStringLiteral("Your next high score is a few keys away.")));
    layout->addWidget(keyRow(QStringLiteral("Space / \u2191"), QStringLiteral("Jump"),
                             QStringLiteral("Hold a little longer for a higher jump.")));
    layout->addWidget(keyRow(QStringLiteral("\u2193"), QStringLiteral("Duck"),
                             QStringLiteral("Hold to duck. In the air, fall faster.")));
    layout->addWidget(keyRow(QStringLiteral("Esc"), QStringLiteral("Back to work"),
                             QStringLiteral("Close the game and return to your previous app.")));
    QWidget* shortcutRow =
        keyRow(QStringLiteral("Alt+Super+Space"), QStringLiteral("Open anywhere"),
               shortcutAvailable ? QStringLiteral("Or click the dinosaur in your menu bar.")
                                 : QStringLiteral("Shortcut unavailable. Use the menu bar dinosaur."));
    m_shortcutText = shortcutRow->findChild<QLabel*>("keyText");
    layout->addWidget(shortcutRow);
    layout->addStretch(1);
    QLabel* footnote =
        label(QStringLiteral("No notch? Your arcade sits at the top center of the screen.\n"
                             "Right-click the menu bar dinosaur for sound, size, and updates."),
              12);
    footnote->setObjectName("footnote");
    layout->addWidget(footnote);
    // Offered, never assumed: the autostart entry is written only if the user ticks this.
    m_launchAtLogin = new QCheckBox(QStringLiteral("Launch at Login"));
    m_launchAtLogin->setObjectName("launchAtLogin");
    QFont font = m_launchAtLogin->font();
    font.setPointSize(12);
    m_launchAtLogin->setFont(font);
    layout->addWidget(m_launchAtLogin);
    return page;
}

void OnboardingView::followMotionPreference(const platform::MotionPreference& motion) {
    setReduceMotion(motion.reduceMotion());
    connect(&motion, &platform::MotionPreference::changed, this,
            [this, &motion] { setReduceMotion(motion.reduceMotion()); });
}

void OnboardingView::moveTo(int step) {
    step = std::clamp(step, 0, pageCount - 1);
    if (step == m_step) {
        return;
    }
    m_step = step;
    m_fadeFrames.stop();
    if (QWidget* old = m_pages->currentWidget()) {
        old->setGraphicsEffect(nullptr);
    }
    m_pages->setCurrentIndex(step);
    m_pageTitle->setText(step == 0 ? QStringLiteral("Welcome") : QStringLiteral("How to play"));
    m_counter->setText(QStringLiteral("%1 / %2").arg(step + 1).arg(pageCount));
    m_back->setVisible(step > 0);
    m_getStarted->setVisible(step == 0);
    m_letsPlay->setVisible(step == pageCount - 1);
    (step == 0 ? m_getStarted : m_letsPlay)->setFocus();
    if (!m_reduceMotion) {
        auto* effect = new QGraphicsOpacityEffect;
        effect->setOpacity(0);
        m_pages->currentWidget()->setGraphicsEffect(effect);
        m_fadeStart = m_clock.now();
        m_fadeFrames.start();
    }
}

} // namespace vantrel
