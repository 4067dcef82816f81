#include "Vantrel/panel/NotchPanelController.h"

#include "Vantrel/Clock.h"
#include "Vantrel/GameStore.h"
#include "Vantrel/Logging.h"
#include "Vantrel/panel/NotchHoverMonitor.h"
#include "Vantrel/panel/NotchPanel.h"
#include "Vantrel/panel/PanelKeys.h"
#include "Vantrel/panel/PanelSpringAnimator.h"
#include "Vantrel/views/NotchView.h"

#include <QApplication>
#include <QCursor>
#include <QKeyEvent>
#include <QScreen>
#include <QSettings>
#include <QTimer>
#include <QWindow>

#include <algorithm>

namespace vantrel {

namespace {

// The game's own content: the notch view, which only reads the store. This is
// the one place where what the player asks for in it reaches the store and
// the controller.
QWidget* makeNotchView(NotchPanelController& controller) {
    GameStore& store = controller.store();
    auto* view = new NotchView(store);
    QObject::connect(view, &NotchView::actRequested, &store, &GameStore::act);
    QObject::connect(view, &NotchView::pauseRequested, &store, &GameStore::togglePause);
    QObject::connect(view, &NotchView::soundToggleRequested, &store,
                     [&store] { store.setSoundEnabled(!store.soundEnabled()); });
    QObject::connect(view, &NotchView::openRequested, &controller, [&controller] { controller.expand(); });
    QObject::connect(view, &NotchView::closeRequested, &controller,
                     [&controller] { controller.collapse(true); });
    QObject::connect(view, &NotchView::optionsRequested, &controller, [&controller](QPoint anchor) {
        if (controller.showOptions) {
            controller.showOptions(anchor);
        }
    });
    return view;
}

} // namespace

NotchPanelController::NotchPanelController(std::unique_ptr<QSettings> settings, const Clock& clock,
                                           platform::PlatformServices services,
                                           const PanelContentFactory& contentFactory, QObject* parent)
    : QObject(parent), m_store(std::make_unique<GameStore>(std::move(settings), clock)),
      m_services(std::move(services)), m_panel(std::make_unique<NotchPanel>(*m_services.windowTraits)),
      m_hoverMonitor(new NotchHoverMonitor(*m_services.pointer, clock, this)),
      m_springAnimator(new PanelSpringAnimator(clock, this)) {
    m_springAnimator->setReduceMotion(m_services.systemSignals->reduceMotion());
    m_panel->setContent(contentFactory ? contentFactory(*this) : makeNotchView(*this));

    selectScreen(false);
    layout(false);

    connect(m_hoverMonitor, &NotchHoverMonitor::visibilityChanged, this,
            &NotchPanelController::setPeekVisible);
    m_hoverMonitor->setEnabled(m_store->hoverToPeek());
    m_hoverMonitor->start();

    installKeyboardMonitor();

    auto* app = qGuiApp;
    connect(app, &QGuiApplication::screenAdded, this, [this](QScreen* screen) {
        watchScreen(screen);
        scheduleScreenChange();
    });
    connect(app, &QGuiApplication::screenRemoved, this, &NotchPanelController::scheduleScreenChange);
    connect(app, &QGuiApplication::primaryScreenChanged, this, &NotchPanelController::scheduleScreenChange);
    for (QScreen* screen : QGuiApplication::screens()) {
        watchScreen(screen);
    }
    connect(app, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state != Qt::ApplicationActive) {
            appDeactivated();
        }
    });
    connect(m_services.systemSignals.get(), &platform::SystemSignals::workspaceChanged, this,
            &NotchPanelController::spaceChanged);
    connect(m_services.systemSignals.get(), &platform::SystemSignals::sleeping, this,
            &NotchPanelController::sleeping);
    connect(m_store.get(), &GameStore::expandedChanged, this, [this] {
        m_panel->setCornerRadius(m_store->expanded() ? NotchPanel::expandedRadius
                                                     : NotchPanel::collapsedRadius);
    });
}

NotchPanelController::~NotchPanelController() {
    shutdown();
    // The panel's content may refer to the store: let it go first.
    m_panel.reset();
}

void NotchPanelController::watchScreen(QScreen* screen) {
    connect(screen, &QScreen::geometryChanged, this, &NotchPanelController::scheduleScreenChange);
    connect(screen, &QScreen::availableGeometryChanged, this, &NotchPanelController::scheduleScreenChange);
}

// Screens come and go in bursts (a monitor added changes the others' geometry
// too): handle the burst once, after Qt has finished updating its screen list.
void NotchPanelController::scheduleScreenChange() {
    if (m_screenChangePending || m_shutDown) {
        return;
    }
    m_screenChangePending = true;
    QTimer::singleShot(0, this, [this] {
        m_screenChangePending = false;
        screenChanged();
    });
}

std::optional<PanelGeometry> NotchPanelController::geometry() const {
    if (m_selectedScreen.isNull()) {
        return std::nullopt;
    }
    QScreen* screen = m_selectedScreen.data();
    return PanelGeometry(ScreenFacts{QRectF(screen->geometry()), QRectF(screen->availableGeometry()),
                                     m_services.screenNotch->notchFor(screen)});
}

QPointF NotchPanelController::pointerPosition() const {
    return m_services.pointer->isActive() ? m_services.pointer->position() : QPointF(QCursor::pos());
}

void NotchPanelController::selectScreen(bool atPointer) {
    QScreen* chosen = nullptr;
    if (atPointer) {
        QPointF pointer = pointerPosition();
        for (QScreen* screen : QGuiApplication::screens()) {
            if (QRectF(screen->geometry()).contains(pointer)) {
                chosen = screen;
                break;
            }
        }
    }
    if (chosen == nullptr) {
        chosen = m_selectedScreen.data();
    }
    if (chosen == nullptr) {
        chosen = QGuiApplication::primaryScreen();
    }
    if (chosen == nullptr && !QGuiApplication::screens().isEmpty()) {
        chosen = QGuiApplication::screens().first();
    }
    m_selectedScreen = chosen;
    std::optional<PanelGeometry> geo = geometry();
    if (!geo) {
        return;
    }
    m_store->setNotchHeight(geo->notchHeight());
    m_store->setNotchWidth(geo->notchWidth());
    updateHoverGeometry();
}

void NotchPanelController::seedCollapsedFrame() {
    std::optional<PanelGeometry> geo = geometry();
    if (!geo) {
        return;
    }
    m_springAnimator->stop();
    m_panel->setGeometry(geo->collapsedFrame().toAlignedRect());
}

void NotchPanelController::layout(bool animated, std::function<void()> completion) {
    std::optional<PanelGeometry> geo = geometry();
    if (!geo) {
        return;
    }
    double width = std::min(m_store->panelWidth(), geo->maxPanelWidth());
    double height = m_store->panelHeight();
    m_springAnimator->move(m_panel.get(), geo->frame(width, height), animated, std::move(completion));
}

void NotchPanelController::updateHoverGeometry() {
    std::optional<PanelGeometry> geo = geometry();
    if (!geo) {
        return;
    }
    m_hoverMonitor->setTriggerRect(geo->triggerRect());
    m_hoverMonitor->setRetentionRect(geo->retentionRect());
}

bool NotchPanelController::isOwnWindow(quint64 window) const {
    const auto windows = QGuiApplication::allWindows();
    return std::any_of(windows.begin(), windows.end(),
                       [window](QWindow* w) { return w->handle() != nullptr && w->winId() == window; });
}

bool NotchPanelController::expand() {
    if (authorizePlay && !authorizePlay()) {
        qCDebug(lcPanel) << "expand refused: onboarding comes first";
        return false;
    }
    qCDebug(lcPanel) << "expand; expanded" << m_store->expanded() << "visible" << m_panel->isVisible();
    if (!m_store->expanded()) {
        quint64 active = m_services.activeWindow->current();
        if (active == 0) {
            m_previousWindow = 0;
        } else if (!isOwnWindow(active)) {
            m_previousWindow = active;
        }
        m_hadKeyboard = m_panel->isActiveWindow();
    }
    m_changingVisibility = true;
    selectScreen(true);
    m_store->setExpanded(true);
    m_store->setPeeking(false);
    m_hoverMonitor->setEnabled(false);
    m_panel->setAcceptsGameInput(true);
    if (!m_panel->isVisible()) {
        seedCollapsedFrame();
    }
    layout(true);
    m_panel->orderFront();
    m_panel->activateWindow();
    // Qt's own request may be refused as focus stealing; this one speaks for the user.
    m_services.activeWindow->activate(m_panel->winId());
    m_changingVisibility = false;
    return true;
}

void NotchPanelController::collapse(bool restoreFocus) {
    if (!m_store->expanded()) {
        return;
    }
    qCDebug(lcPanel) << "collapse; restore focus" << restoreFocus;
    m_changingVisibility = true;
    m_store->pause();
    m_store->setExpanded(false);
    m_store->setPeeking(false);
    m_panel->setAcceptsGameInput(false);
    m_hoverMonitor->setEnabled(m_store->hoverToPeek());
    m_hoverMonitor->suppressUntilExit();
    layout(true, [this] { hide(); });
    if (restoreFocus && m_previousWindow != 0 && m_services.activeWindow->exists(m_previousWindow)) {
        m_services.activeWindow->activate(m_previousWindow);
    }
    m_changingVisibility = false;
}

void NotchPanelController::toggle() {
    if (m_store->expanded()) {
        collapse(true);
    } else {
        expand();
    }
}

void NotchPanelController::hide() {
    if (!m_store->expanded() && !m_store->peeking()) {
        qCDebug(lcPanel) << "panel hidden";
        m_panel->orderOut();
    }
}

void NotchPanelController::setPeekVisible(bool visible) {
    if (m_store->expanded() || m_store->peeking() == visible) {
        return;
    }
    if (visible && !m_selectedScreen.isNull()) {
        // Over a full-screen window (a film, a game, a presentation) hovering never reveals the tab.
        QScreen* screen = m_selectedScreen.data();
        QRect pixels(screen->geometry().topLeft() * screen->devicePixelRatio(),
                     screen->geometry().size() * screen->devicePixelRatio());
        if (m_services.activeWindow->fullScreenOn(pixels)) {
            return;
        }
    }
    m_store->setPeeking(visible);
    if (visible) {
        if (!m_panel->isVisible()) {
            seedCollapsedFrame();
        }
        m_panel->orderFront();
        layout(true);
    } else {
        layout(true, [this] { hide(); });
    }
}

void NotchPanelController::updateLayout() {
    m_store->pause();
    m_hoverMonitor->setEnabled(m_store->hoverToPeek() && !m_store->expanded());
    if (m_store->expanded()) {
        layout(true);
    } else if (!m_store->hoverToPeek()) {
        setPeekVisible(false);
    }
}

void NotchPanelController::screenChanged() {
    if (m_shutDown) {
        return;
    }
    collapse(false);
    m_hoverMonitor->reset();
    // m_selectedScreen clears itself when its screen is gone; then the primary screen takes over.
    selectScreen(false);
    layout(false);
}

void NotchPanelController::spaceChanged() {
    collapse(false);
    m_hoverMonitor->suppressUntilExit();
}

void NotchPanelController::sleeping() {
    spaceChanged();
}

void NotchPanelController::windowDidResignKey() {
    qCDebug(lcPanel) << "panel lost the keyboard";
    if (!m_changingVisibility && m_hadKeyboard) {
        collapse(false);
    }
}

void NotchPanelController::appDeactivated() {
    qCDebug(lcPanel) << "application no longer active";
    if (!m_changingVisibility && m_hadKeyboard) {
        collapse(false);
    }
}

void NotchPanelController::installKeyboardMonitor() {
    qApp->installEventFilter(this);
    m_keyboardMonitor = true;
}

bool NotchPanelController::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
        return handleKey(watched, event);
    case QEvent::WindowActivate:
        if (watched == m_panel.get()) {
            qCDebug(lcPanel) << "panel has the keyboard";
            m_hadKeyboard = m_store->expanded();
        }
        return false;
    case QEvent::WindowDeactivate:
        if (watched == m_panel.get()) {
            windowDidResignKey();
        }
        return false;
    default:
        return false;
    }
}

bool NotchPanelController::handleKey(QObject* watched, QEvent* event) {
    auto* widget = qobject_cast<QWidget*>(watched);
    // Qt may leave the active window unset after a quick hide and show whose
    // focus-out it has not processed yet (its focus window never changed), so
    // the focus window counts too.
    const bool focused =
        m_panel->isActiveWindow() ||
        (m_panel->windowHandle() && QGuiApplication::focusWindow() == m_panel->windowHandle());
    if (widget == nullptr || widget->window() != m_panel.get() || !m_store->expanded() || !focused) {
        return false;
    }
    auto* key = static_cast<QKeyEvent*>(event);
    PanelKeyDecision decision =
        decidePanelKey(PanelKeyEvent{event->type() == QEvent::KeyPress, key->key(), key->nativeScanCode(),
                                     key->modifiers(), key->isAutoRepeat()});
    switch (decision.action) {
    case PanelKeyAction::none:
        break;
    case PanelKeyAction::act:
        m_store->act();
        break;
    case PanelKeyAction::releaseJump:
        m_store->releaseJump();
        break;
    case PanelKeyAction::duck:
        m_store->setDucking(true);
        break;
    case PanelKeyAction::stopDucking:
        m_store->setDucking(false);
        break;
    case PanelKeyAction::togglePause:
        m_store->togglePause();
        break;
    case PanelKeyAction::freshRun:
        m_store->freshRun();
        break;
    case PanelKeyAction::close:
        collapse(true);
        break;
    }
    return decision.handled;
}

void NotchPanelController::shutdown() {
    if (m_shutDown) {
        return;
    }
    m_shutDown = true;
    m_store->pause();
    m_springAnimator->stop();
    m_hoverMonitor->stop();
    if (m_keyboardMonitor) {
        qApp->removeEventFilter(this);
    }
    disconnect(qGuiApp, nullptr, this, nullptr);
    disconnect(m_services.systemSignals.get(), nullptr, this, nullptr);
}

} // namespace vantrel
