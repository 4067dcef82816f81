#include "Vantrel/panel/PanelScreens.h"

#include "Vantrel/platform/ScreenNotch.h"

#include <QGuiApplication>
#include <QTimer>

namespace vantrel {

PanelScreens::PanelScreens(const platform::ScreenNotch& notches, QObject* parent)
    : QObject(parent), m_notches(notches) {
    auto* app = qGuiApp;
    connect(app, &QGuiApplication::screenAdded, this, [this](QScreen* screen) {
        watch(screen);
        schedule();
    });
    connect(app, &QGuiApplication::screenRemoved, this, &PanelScreens::schedule);
    connect(app, &QGuiApplication::primaryScreenChanged, this, &PanelScreens::schedule);
    for (QScreen* screen : QGuiApplication::screens()) {
        watch(screen);
    }
}

void PanelScreens::watch(QScreen* screen) {
    connect(screen, &QScreen::geometryChanged, this, &PanelScreens::schedule);
    connect(screen, &QScreen::availableGeometryChanged, this, &PanelScreens::schedule);
}

void PanelScreens::schedule() {
    if (m_pending || m_stopped) {
        return;
    }
    m_pending = true;
    QTimer::singleShot(0, this, [this] {
        m_pending = false;
        if (!m_stopped) {
            emit changed();
        }
    });
}

void PanelScreens::stop() {
    m_stopped = true;
    disconnect(qGuiApp, nullptr, this, nullptr);
}

void PanelScreens::select(std::optional<QPointF> pointer) {
    QScreen* chosen = nullptr;
    if (pointer) {
        for (QScreen* screen : QGuiApplication::screens()) {
            if (QRectF(screen->geometry()).contains(*pointer)) {
                chosen = screen;
                break;
            }
        }
    }
    if (chosen == nullptr) {
        // QPointer: null once its screen is gone.
        chosen = m_selected.data();
    }
    if (chosen == nullptr) {
        chosen = QGuiApplication::primaryScreen();
    }
    if (chosen == nullptr && !QGuiApplication::screens().isEmpty()) {
        chosen = QGuiApplication::screens().first();
    }
    m_selected = chosen;
}

std::optional<PanelGeometry> PanelScreens::geometry() const {
    if (m_selected.isNull()) {
        return std::nullopt;
    }
    QScreen* screen = m_selected.data();
    return PanelGeometry(ScreenFacts{QRectF(screen->geometry()), QRectF(screen->availableGeometry()),
                                     m_notches.notchFor(screen)});
}

} // namespace vantrel
