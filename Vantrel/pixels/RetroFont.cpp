#include "Vantrel/pixels/RetroFont.h"

#include <QCoreApplication>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QHash>
#include <QPainter>
#include <QStaticText>
#include <algorithm>
#include <array>

// The generated resource lives in this static library; its initialiser must be
// called by name, from the global namespace.
static void initPixelFontResource() {
    Q_INIT_RESOURCE(pixelfont);
}

namespace vantrel::RetroFont {

namespace {

struct Registration {
    bool available = false;
    QString family;
};

const Registration& registration() {
    static const Registration result = [] {
        initPixelFontResource();
        Registration r;
        const int id = QFontDatabase::addApplicationFont(QStringLiteral(":/fonts/PressStart2P-Regular.ttf"));
        const QStringList families = id >= 0 ? QFontDatabase::applicationFontFamilies(id) : QStringList();
        if (!families.isEmpty()) {
            r.available = true;
            r.family = families.first();
        } else {
            r.family = QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
        }
        return r;
    }();
    return result;
}

} // namespace

bool registerFont() {
    return registration().available;
}

bool available() {
    return registration().available;
}

QString family() {
    return registration().family;
}

namespace {

struct SizedFont {
    QFont font;
    QFontMetricsF metrics;
    // Printable ASCII: advances, and each character laid out on its own. The
    // pixel font has neither kerning nor ligatures, so a string of these is its
    // characters side by side, and a score that changes ten times a second
    // needs no shaping at all.
    std::array<qreal, 95> advances{};
    std::array<QStaticText, 95> characters;
};

bool plainAscii(const QString& text) {
    return registration().available && std::all_of(text.begin(), text.end(), [](QChar c) {
               return c.unicode() >= 0x20 && c.unicode() < 0x7f;
           });
}

// Fonts and metrics by pixel size, and laid-out texts: every frame draws the
// same few. Main thread only, like all drawing. Both caches are emptied when
// the application object goes away, while the font system still exists.
QHash<int, SizedFont*>& sizedCache() {
    static QHash<int, SizedFont*> cache;
    return cache;
}

QHash<QPair<int, QString>, QStaticText>& laidOutCache() {
    static QHash<QPair<int, QString>, QStaticText> cache;
    return cache;
}

void releaseCaches() {
    qDeleteAll(sizedCache());
    sizedCache().clear();
    laidOutCache().clear();
}

const SizedFont& sized(int pixelSize) {
    static const bool cleanupRegistered = [] {
        qAddPostRoutine(releaseCaches);
        return true;
    }();
    (void)cleanupRegistered;
    SizedFont*& entry = sizedCache()[pixelSize];
    if (entry == nullptr) {
        QFont f(family());
        f.setPixelSize(std::max(pixelSize, 1));
        f.setStyleHint(QFont::Monospace);
        // The pixel font's outlines sit on its own grid; hinting would bend them.
        f.setHintingPreference(QFont::PreferNoHinting);
        entry = new SizedFont{f, QFontMetricsF(f), {}, {}};
        for (char16_t c = 0x20; c < 0x7f; ++c) {
            entry->advances[c - 0x20] = entry->metrics.horizontalAdvance(QChar(c));
            QStaticText& character = entry->characters[c - 0x20];
            character.setText(QString(QChar(c)));
            character.setTextFormat(Qt::PlainText);
            character.setPerformanceHint(QStaticText::AggressiveCaching);
        }
    }
    return *entry;
}

} // namespace

QFont font(int pixelSize) {
    return sized(pixelSize).font;
}

QSizeF textSize(const QString& text, int pixelSize) {
    const SizedFont& s = sized(pixelSize);
    if (plainAscii(text)) {
        qreal width = 0;
        for (QChar c : text) {
            width += s.advances[c.unicode() - 0x20];
        }
        return QSizeF(width, s.metrics.height());
    }
    return QSizeF(s.metrics.horizontalAdvance(text), s.metrics.height());
}

void drawText(QPainter& painter, QPointF topLeft, const QString& text, int pixelSize, const QColor& color) {
    const SizedFont& s = sized(pixelSize);
    painter.setFont(s.font);
    painter.setPen(color);
    if (plainAscii(text)) {
        QPointF at = topLeft;
        for (QChar c : text) {
            painter.drawStaticText(at, s.characters[c.unicode() - 0x20]);
            at.rx() += s.advances[c.unicode() - 0x20];
        }
        return;
    }
    // Other texts (arrows come from a fall-back font) are laid out whole, once
    // per size: shaping them anew at each paint costs more than drawing them.
    QHash<QPair<int, QString>, QStaticText>& laidOut = laidOutCache();
    constexpr qsizetype maxEntries = 512;
    auto it = laidOut.find({pixelSize, text});
    if (it == laidOut.end()) {
        if (laidOut.size() >= maxEntries) {
            laidOut.clear();
        }
        QStaticText staticText(text);
        staticText.setTextFormat(Qt::PlainText);
        staticText.setPerformanceHint(QStaticText::AggressiveCaching);
        it = laidOut.insert({pixelSize, text}, staticText);
    }
    painter.drawStaticText(topLeft, *it);
}

} // namespace vantrel::RetroFont
