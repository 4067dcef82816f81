// Writes PNG images of the game's views in every state the drawing rules
// distinguish, at 1x and 2x, so a person can look at them:
//   vantrel-snapshot OUTPUT_DIR
#include "Vantrel/Clock.h"
#include "Vantrel/GameStore.h"
#include "Vantrel/pixels/DinoGlyph.h"
#include "Vantrel/pixels/RetroFont.h"
#include "Vantrel/views/NotchView.h"
#include "Vantrel/views/RunwayView.h"

#include <QApplication>
#include <QDir>
#include <QPainter>
#include <QSettings>
#include <QTemporaryDir>

#include <cstdio>
#include <memory>

using namespace vantrel;

namespace {

using Pose = Runner::Pose;
using Banners = GameStore::ShownBanners;

Obstacle cactus(double x, double height, double width = 16, bool clustered = false) {
    return Obstacle{1, x, width, height, clustered, ObstacleKind::cactus, 0};
}

Obstacle flyer(double x, double elevation) {
    return Obstacle{2, x, 36, 22.5, false, ObstacleKind::pterodactyl, elevation};
}

// A run a moment after the start: elapsed 0.05 s (int(0.05 * 10) = 0, the even
// stride) and 120 points in, changed by `change`.
template <typename Change> Pose running(Change change) {
    Pose pose{.phase = RunPhase::running, .elapsed = 0.05, .distance = 120};
    change(pose);
    return pose;
}
Pose running() {
    return running([](Pose&) {});
}

// A store over a throw-away settings file and a clock that never moves: the
// pictures show what the tool poses, nothing else.
class Stage {
public:
    Stage()
        : m_store(std::make_unique<QSettings>(m_dir.filePath(QStringLiteral("Vantrel.conf")),
                                              QSettings::IniFormat),
                  m_clock, 7) {}

    GameStore& store() { return m_store; }
    void show(const Pose& pose, const Banners& banners = {}) {
        m_store.showRun(Runner::posed(pose, 7), banners);
    }

private:
    QTemporaryDir m_dir;
    ManualClock m_clock;
    GameStore m_store;
};

struct Writer {
    QDir dir;
    int written = 0;
    bool failed = false;

    // Draws the widget and its children over `backdrop`, so white-on-clear
    // figures are visible, at 1 and 2 device pixels per point.
    void write(const QString& name, QWidget& widget, QSize size, const QColor& backdrop) {
        widget.resize(size);
        for (const int dpr : {1, 2}) {
            QImage out(size * dpr, QImage::Format_ARGB32_Premultiplied);
            out.setDevicePixelRatio(dpr);
            out.fill(backdrop);
            {
                QPainter painter(&out);
                widget.render(&painter, QPoint(), QRegion(), QWidget::DrawChildren);
            }
            const QString file = dir.filePath(QStringLiteral("%1@%2x.png").arg(name).arg(dpr));
            if (out.save(file)) {
                ++written;
            } else {
                std::fprintf(stderr, "vantrel-snapshot: cannot write %s\n", qPrintable(file));
                failed = true;
            }
        }
    }
};

const Pose ready{};

void writeRunway(Writer& writer, const QColor& backdrop) {
    Stage stage;
    GameStore& store = stage.store();
    RunwayView runway(store, NotchView::runwayMint());
    // The runway alone, 440 x 110 points (scale 1).
    auto shot = [&](const QString& name, const Pose& pose, const Banners& banners = {}) {
        stage.show(pose, banners);
        writer.write(QStringLiteral("runway-") + name, runway, QSize(440, 110), backdrop);
    };
    shot(QStringLiteral("ready"), ready);
    shot(QStringLiteral("stride-a"), running());
    shot(QStringLiteral("stride-b"), running([](Pose& p) { p.elapsed = 0.15; }));
    shot(QStringLiteral("airborne"), running([](Pose& p) { p.height = 30; }));
    shot(QStringLiteral("duck-even"), running([](Pose& p) { p.downHeld = true; }));
    shot(QStringLiteral("duck-odd"), running([](Pose& p) {
             p.elapsed = 0.1;
             p.downHeld = true;
         }));
    shot(QStringLiteral("cactus"), running([](Pose& p) { p.obstacles = {cactus(200, 30)}; }));
    shot(QStringLiteral("cactus-cluster"),
         running([](Pose& p) { p.obstacles = {cactus(200, 30, 44, true)}; }));
    shot(QStringLiteral("flyer-wing-up"), running([](Pose& p) {
             p.elapsed = 0.1;
             p.obstacles = {flyer(220, 26)};
         }));
    shot(QStringLiteral("flyer-wing-down"), running([](Pose& p) {
             p.elapsed = 0.2;
             p.obstacles = {flyer(220, 26)};
         }));
    shot(QStringLiteral("paused"), running([](Pose& p) {
             p.phase = RunPhase::paused;
             p.obstacles = {cactus(200, 30)};
         }));
    shot(QStringLiteral("resume-grace"), running([](Pose& p) { p.resumeGrace = 0.4; }));
    store.setBest(50);
    shot(QStringLiteral("over"), running([](Pose& p) {
             p.phase = RunPhase::over;
             p.distance = 474;
             p.obstacles = {cactus(70, 30)};
         }));
    shot(QStringLiteral("over-new-best"), running([](Pose& p) {
             p.phase = RunPhase::over;
             p.distance = 1300;
         }),
         {.isNewBest = true});
    shot(QStringLiteral("award-milestone"), running([](Pose& p) { p.distance = 3600; }),
         {.award = ScoreAward::milestone(300), .awardRemaining = 1.0});
    shot(QStringLiteral("award-beats-duck-hint"), running([](Pose& p) { p.distance = 3600; }),
         {.award = ScoreAward::newBest(), .awardRemaining = 1.5, .duckHintRemaining = 2});
    shot(QStringLiteral("duck-hint"), running([](Pose& p) { p.obstacles = {flyer(300, 26)}; }),
         {.duckHintRemaining = 2});

    // The ready card at the roomy size and at twice the width.
    store.setRoomy(true);
    stage.show(ready);
    writer.write(QStringLiteral("runway-roomy-ready"), runway, QSize(560, 140), backdrop);
    writer.write(QStringLiteral("runway-880-ready"), runway, QSize(880, 220), backdrop);
}

void writeNotch(Writer& writer, const QColor& backdrop) {
    Stage stage;
    GameStore& store = stage.store();
    NotchView view(store);
    view.setAnimated(false);
    // At the panel's size for the store's state, as the panel shows it.
    auto shot = [&](const QString& name) {
        writer.write(QStringLiteral("notch-") + name, view,
                     QSize(static_cast<int>(store.panelWidth()), static_cast<int>(store.panelHeight())),
                     backdrop);
    };
    shot(QStringLiteral("collapsed"));
    store.setPeeking(true);
    shot(QStringLiteral("peeking"));
    store.setPeeking(false);
    store.setExpanded(true);
    store.setBest(1234);
    stage.show(ready);
    shot(QStringLiteral("expanded-ready"));
    store.setSoundEnabled(true);
    stage.show(running([](Pose& p) {
                   p.elapsed = 40;
                   p.distance = 2950;
                   p.obstacles = {cactus(180, 34), flyer(330, 30)};
               }),
               {.award = ScoreAward::milestone(200), .awardRemaining = 0.5});
    shot(QStringLiteral("expanded-running"));
    store.setSoundEnabled(false);
    stage.show(running([](Pose& p) {
        p.phase = RunPhase::paused;
        p.elapsed = 70;
        p.distance = 9000;
        p.obstacles = {cactus(200, 30)};
    }));
    shot(QStringLiteral("expanded-paused"));
    store.setBest(123456);
    stage.show({.phase = RunPhase::over,
                .elapsed = 300,
                .distance = 123456 * 12.0,
                .obstacles = {cactus(70, 30, 30, true)}},
               {.isNewBest = true});
    shot(QStringLiteral("expanded-over-new-best"));
    store.setRoomy(true);
    shot(QStringLiteral("expanded-roomy"));
    store.setRoomy(false);
    store.setNotchHeight(0);
    store.setNotchWidth(0);
    shot(QStringLiteral("expanded-no-notch"));
}

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
    writeRunway(writer, panelBlack);
    writeNotch(writer, desktop);

    // The onboarding glyph, scaled.
    DinoGlyph glyph(NotchView::defaultMint());
    writer.write(QStringLiteral("dino-glyph-36x40"), glyph, QSize(36, 40), panelBlack);

    std::printf("vantrel-snapshot: wrote %d images to %s\n", writer.written, argv[1]);
    return writer.failed ? 1 : 0;
}
