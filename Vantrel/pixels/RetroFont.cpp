#include "Vantrel/pixels/RetroFont.h"

#include <QCoreApplication>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QHash>
#include <QPainter>
#include <QStaticText>
#include <algorithm>

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
};

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
        entry = new SizedFont{f, QFontMetricsF(f)};
    }
    return *entry;
}

} // namespace

QFont font(int pixelSize) {
    return sized(pixelSize).font;
}

QSizeF textSize(const QString& text, int pixelSize) {
    const SizedFont& s = sized(pixelSize);
    return QSizeF(s.metrics.horizontalAdvance(text), s.metrics.height());
}

void drawText(QPainter& painter, QPointF topLeft, const QString& text, int pixelSize, const QColor& color) {
    // Laid-out texts by size: a frame draws the same dozen strings, and shaping
    // them anew each time costs more than drawing them. Scores change, so the
    // cache is emptied when it grows past what a few seconds of play leave.
    QHash<QPair<int, QString>, QStaticText>& laidOut = laidOutCache();
    constexpr qsizetype maxEntries = 512;
    const SizedFont& s = sized(pixelSize);
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
    painter.setFont(s.font);
    painter.setPen(color);
    painter.drawStaticText(topLeft, *it);
}

} // namespace vantrel::RetroFont
