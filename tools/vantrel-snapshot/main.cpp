// Writes PNG images of the game's views in every state the drawing rules
// distinguish, at 1x and 2x, so a person can look at them:
//   vantrel-snapshot OUTPUT_DIR
#include "ViewScenes.h"

#include "Vantrel/pixels/DinoGlyph.h"
#include "Vantrel/pixels/RetroFont.h"
#include "Vantrel/views/NotchView.h"
#include "Vantrel/views/RunwayView.h"

#include <QApplication>
#include <QDir>
#include <QPainter>

#include <cstdio>
#include <functional>

using namespace vantrel;
using namespace vantrel::scenes;

namespace {

struct Writer {
    QDir dir;
    int written = 0;
    bool failed = false;

    // Composes the view over `backdrop` so white-on-clear figures are visible.
    void write(const QString& name, QWidget& widget, QSize size, const QColor& backdrop) {
        for (const double dpr : {1.0, 2.0}) {
            const QImage view = render(widget, size, dpr);
            QImage out(view.size(), QImage::Format_ARGB32_Premultiplied);
            out.setDevicePixelRatio(view.devicePixelRatio());
            out.fill(backdrop);
            {
                QPainter painter(&out);
                painter.drawImage(0, 0, view);
            }
            const QString file =
                dir.filePath(QStringLiteral("%1@%2x.png").arg(name).arg(static_cast<int>(dpr)));
            if (out.save(file)) {
                ++written;
            } else {
                std::fprintf(stderr, "vantrel-snapshot: cannot write %s\n", qPrintable(file));
                failed = true;
            }
        }
    }
};

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: vantrel-snapshot OUTPUT_DIR\n");
        return 2;
    }
    Writer writer{QDir(QString::fromLocal8Bit(argv[1]))};
    if (!writer.dir.mkpath(QStringLiteral("."))) {
        std::fprintf(stderr, "vantrel-snapshot: cannot create %s\n", argv[1]);
        return 1;
    }
    if (!RetroFont::registerFont()) {
        std::fprintf(stderr, "vantrel-snapshot: the pixel font is missing; texts use %s\n",
                     qPrintable(RetroFont::family()));
    }

    const QColor panelBlack(Qt::black);
    const QColor desktop(0xc8, 0xc8, 0xc8);

    // The runway alone, 440 x 110 points (scale 1).
    {
        StoreFixture fixture;
        GameStore& store = fixture.store();
        RunwayView runway(
            store, [] {}, NotchView::runwayMint());
        const QSize size(440, 110);
        auto shot = [&](const QString& name, const Moment& m) {
            fixture.setMoment(m);
            writer.write(QStringLiteral("runway-") + name, runway, size, panelBlack);
        };
        shot(QStringLiteral("ready"), {.phase = RunPhase::ready, .elapsed = 0, .distance = 0});
        shot(QStringLiteral("stride-a"), {.elapsed = 0.05});
        shot(QStringLiteral("stride-b"), {.elapsed = 0.15});
        shot(QStringLiteral("airborne"), {.height = 30});
        shot(QStringLiteral("duck-even"), {.elapsed = 0.05, .downHeld = true});
        shot(QStringLiteral("duck-odd"), {.elapsed = 0.1, .downHeld = true});
        shot(QStringLiteral("cactus"), {.obstacles = {cactus(200, 30)}});
        shot(QStringLiteral("cactus-cluster"), {.obstacles = {cactus(200, 30, 44, true)}});
        shot(QStringLiteral("flyer-wing-up"), {.elapsed = 0.1, .obstacles = {flyer(220, 26)}});
        shot(QStringLiteral("flyer-wing-down"), {.elapsed = 0.2, .obstacles = {flyer(220, 26)}});
        shot(QStringLiteral("paused"), {.phase = RunPhase::paused, .obstacles = {cactus(200, 30)}});
        shot(QStringLiteral("resume-grace"), {.resumeGrace = 0.4});
        store.setBest(50);
        shot(QStringLiteral("over"),
             {.phase = RunPhase::over, .distance = 474, .obstacles = {cactus(70, 30)}});
        GameStoreTestAccess::setIsNewBest(store, true);
        shot(QStringLiteral("over-new-best"), {.phase = RunPhase::over, .distance = 1300});
        GameStoreTestAccess::setIsNewBest(store, false);
        GameStoreTestAccess::setAward(store, ScoreAward::milestone(300), 1.0);
        shot(QStringLiteral("award-milestone"), {.distance = 3600});
        GameStoreTestAccess::setAward(store, ScoreAward::newBest(), 1.5);
        GameStoreTestAccess::setDuckHintRemaining(store, 2);
        shot(QStringLiteral("award-beats-duck-hint"), {.distance = 3600});
        GameStoreTestAccess::setAward(store, std::nullopt, 0);
        shot(QStringLiteral("duck-hint"), {.obstacles = {flyer(300, 26)}});
        GameStoreTestAccess::setDuckHintRemaining(store, 0);
        store.setRoomy(true);
        runway.resize(560, 140);
        writer.write(QStringLiteral("runway-roomy-ready"), runway, QSize(560, 140), panelBlack);
        fixture.setMoment({.phase = RunPhase::ready, .elapsed = 0, .distance = 0});
        writer.write(QStringLiteral("runway-880-ready"), runway, QSize(880, 220), panelBlack);
    }

    // The notch view in its three states.
    {
        StoreFixture fixture;
        GameStore& store = fixture.store();
        NotchView view(store);
        view.setAnimated(false);
        auto shot = [&](const QString& name) {
            writer.write(QStringLiteral("notch-") + name, view,
                         QSize(static_cast<int>(store.panelWidth()), static_cast<int>(store.panelHeight())),
                         desktop);
        };
        shot(QStringLiteral("collapsed"));
        store.setPeeking(true);
        shot(QStringLiteral("peeking"));
        store.setPeeking(false);
        store.setExpanded(true);
        store.setBest(1234);
        fixture.setMoment({.phase = RunPhase::ready, .elapsed = 0, .distance = 0});
        shot(QStringLiteral("expanded-ready"));
        fixture.setMoment({.elapsed = 40, .distance = 2950, .obstacles = {cactus(180, 34), flyer(330, 30)}});
        GameStoreTestAccess::setAward(store, ScoreAward::milestone(200), 0.5);
        store.setSoundEnabled(true);
        shot(QStringLiteral("expanded-running"));
        GameStoreTestAccess::setAward(store, std::nullopt, 0);
        store.setSoundEnabled(false);
        fixture.setMoment(
            {.phase = RunPhase::paused, .elapsed = 70, .distance = 9000, .obstacles = {cactus(200, 30)}});
        shot(QStringLiteral("expanded-paused"));
        GameStoreTestAccess::setIsNewBest(store, true);
        store.setBest(123456);
        fixture.setMoment({.phase = RunPhase::over,
                           .elapsed = 300,
                           .distance = 123456 * 12.0,
                           .obstacles = {cactus(70, 30, 30, true)}});
        shot(QStringLiteral("expanded-over-new-best"));
        store.setRoomy(true);
        shot(QStringLiteral("expanded-roomy"));
        store.setRoomy(false);
        store.setNotchHeight(0);
        store.setNotchWidth(0);
        shot(QStringLiteral("expanded-no-notch"));
    }

    // The onboarding glyph, scaled.
    {
        DinoGlyph glyph(QColor::fromRgbF(0.72f, 0.91f, 0.76f));
        writer.write(QStringLiteral("dino-glyph-36x40"), glyph, QSize(36, 40), panelBlack);
    }

    std::printf("vantrel-snapshot: wrote %d images to %s\n", writer.written, argv[1]);
    return writer.failed ? 1 : 0;
}
