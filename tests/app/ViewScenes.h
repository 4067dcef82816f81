#pragma once

#include "GameStoreTestAccess.h"
#include "RunnerTestAccess.h"

#include "Vantrel/Clock.h"
#include "Vantrel/GameStore.h"

#include <QImage>
#include <QPainter>
#include <QSettings>
#include <QTemporaryDir>
#include <QWidget>

#include <memory>
#include <vector>

namespace vantrel::scenes {

// A run frozen at one moment, as the views would find it in the store.
struct Moment {
    RunPhase phase = RunPhase::running;
    double elapsed = 0.05; // Int(0.05 * 10) = 0: even stride, feetA
    double distance = 120;
    double height = 0;
    bool downHeld = false;
    double resumeGrace = 0;
    std::vector<Obstacle> obstacles = {};
};

inline Runner runnerAt(const Moment& m) {
    return Runner::posed({.phase = m.phase,
                          .elapsed = m.elapsed,
                          .distance = m.distance,
                          .height = m.height,
                          .downHeld = m.downHeld,
                          .resumeGrace = m.resumeGrace,
                          .obstacles = m.obstacles},
                         7);
}

inline Obstacle cactus(double x, double height, double width = 16, bool clustered = false) {
    return Obstacle{1, x, width, height, clustered, ObstacleKind::cactus, 0};
}

inline Obstacle flyer(double x, double elevation) {
    return Obstacle{2, x, 36, 22.5, false, ObstacleKind::pterodactyl, elevation};
}

// A store over a throw-away settings file and a hand-driven clock.
class StoreFixture {
public:
    StoreFixture()
        : m_store(std::make_unique<GameStore>(
              std::make_unique<QSettings>(m_dir.filePath("Vantrel.conf"), QSettings::IniFormat), m_clock,
              7)) {}

    GameStore& store() { return *m_store; }
    void setMoment(const Moment& m) { GameStoreTestAccess::setRunner(*m_store, runnerAt(m)); }

private:
    QTemporaryDir m_dir;
    ManualClock m_clock;
    std::unique_ptr<GameStore> m_store;
};

// Renders `widget` at `logical` size into a transparent image of `dpr`
// device pixels per point, with its children and without a window background.
inline QImage render(QWidget& widget, QSize logical, double dpr) {
    widget.resize(logical);
    QImage image((QSizeF(logical) * dpr).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(dpr);
    image.fill(Qt::transparent);
    // Through a painter, so the image's device pixel ratio scales the drawing.
    QPainter painter(&image);
    widget.render(&painter, QPoint(), QRegion(), QWidget::DrawChildren);
    painter.end();
    return image;
}

} // namespace vantrel::scenes
